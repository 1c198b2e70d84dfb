#pragma once

#include <cstdint>
#include <map>

#include "Data/Records/CallArguments.h"
#include "Data/State/DrawTargets.h"

namespace Inspect {

/// What is bound that tells the passes of a frame apart, as the calls say.
struct Bound {
    std::uint32_t framebuffer = 0; ///< that is drawn to
    std::uint32_t program = 0;
};

/// Follows it for each context.
class Bindings {
public:
    /// To be told of each call, with the context that it belongs to.
    void Follow(const Data::CallArguments& call, std::uint32_t context);
    [[nodiscard]] Bound Of(std::uint32_t context) const;

private:
    Data::DrawTargets m_targets;
    /// In use, by context.
    std::map<std::uint32_t, std::uint32_t> m_programs;
};

} // namespace Inspect
