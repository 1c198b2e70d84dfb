#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "Data/Records/CallArguments.h"
#include "Inspect/Place.h"

namespace Inspect {

struct ShaderSource {
    std::uint32_t shader = 0;
    /// GL_VERTEX_SHADER ...
    std::uint32_t type = 0;
    std::shared_ptr<const std::string> source;
};

/// The sources that programs were linked from, as the calls say. Contexts that do not share their objects are not told
/// apart: of two programs with one name, the one linked last counts.
class ProgramSources {
public:
    [[nodiscard]] static bool Concerns(Data::CallId call);
    void Follow(const Data::CallArguments& call, const Place& place);
    /// Those of the last time that the program was linked in front of the place; empty where it was not.
    [[nodiscard]] std::vector<ShaderSource> Of(std::uint32_t program, const Place& place) const;

private:
    std::map<std::uint32_t, ShaderSource> m_shaders;
    std::map<std::uint32_t, std::vector<std::uint32_t>> m_attached;
    /// By program, then by the place where it was linked.
    std::map<std::uint32_t, std::map<Place, std::vector<ShaderSource>>> m_linked;
};

} // namespace Inspect
