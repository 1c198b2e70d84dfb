#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "Data/Records/CallArguments.h"

namespace Data {

struct ShaderSource {
    /// 0 where the program was made of a source at once.
    std::uint32_t shader = 0;
    /// GL_VERTEX_SHADER ...
    std::uint32_t type = 0;
    /// Null where none was given.
    std::shared_ptr<const std::string> source;
};

/// The sources that programs were linked from, as the calls say. Contexts that do not share their objects are not told
/// apart: of two programs with one name, the one linked last counts.
class ProgramSources {
public:
    [[nodiscard]] static bool Concerns(CallId call);
    /// The program that the call links, or loads from a binary; 0 for another call.
    std::uint32_t Follow(const CallArguments& call);
    /// Those of the last time that the program was linked; empty where it was not, and where it came from a binary.
    [[nodiscard]] const std::vector<ShaderSource>& Of(std::uint32_t program) const;

private:
    std::map<std::uint32_t, ShaderSource> m_shaders;
    std::map<std::uint32_t, std::vector<std::uint32_t>> m_attached;
    std::map<std::uint32_t, std::vector<ShaderSource>> m_linked;
};

} // namespace Data
