#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "Data/Records/Actions.h"
#include "Tools/Info/StateText.h"

namespace Inspect {

/// The call that state is there for.
struct StateUser {
    Data::ActionKind kind = Data::ActionKind::None;
    /// Its line, with function and arguments.
    std::string text = {};
    /// What the program in use reads, where that is known.
    bool isProgramKnown = false;
    /// Texture units, with what is looked at there: "GL_TEXTURE_2D" ...
    std::set<std::pair<std::uint32_t, std::string>> samplers = {};
    std::set<std::uint32_t> attributes = {};
};

struct UnusedState {
    /// Both empty for the context's own state.
    Tools::StateSnapshot::Object object;
    std::string state;
    /// "GL_BLEND is off".
    std::string why;
};

/// The values of the context and of its vertex array that were set and have no part in what the call does. Of calls
/// that are no draw, clear, blit or dispatch that is not known: none.
[[nodiscard]] std::vector<UnusedState> FindUnused(const Tools::StateSnapshot& snapshot, const StateUser& user);

} // namespace Inspect
