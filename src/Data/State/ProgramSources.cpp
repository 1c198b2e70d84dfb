#include "Data/State/ProgramSources.h"

#include <algorithm>
#include <cstring>
#include <optional>

namespace Data {

namespace {

/// Strings behind a pointer, one after the other: offsets of 8 bytes each, then the zero-terminated texts.
std::shared_ptr<const std::string> Join(const CallArguments& call, std::size_t strings, std::uint32_t count,
                                        std::optional<std::size_t> lengths)
{
    const auto contents = call.Contents(strings);
    auto joined = std::make_shared<std::string>();
    std::uint64_t offset = 0;
    for (std::size_t i = 0; i < count && (i + 1) * sizeof offset <= contents.size(); ++i) {
        std::memcpy(&offset, contents.data() + i * sizeof offset, sizeof offset);
        if (offset >= contents.size())
            break;
        const char* const text = reinterpret_cast<const char*>(contents.data() + offset);
        std::size_t length = strnlen(text, contents.size() - offset);
        if (lengths && i < call.ElementCount(*lengths))
            if (const auto wanted = static_cast<std::int32_t>(call.Element(*lengths, i)); wanted >= 0)
                length = std::min(length, static_cast<std::size_t>(wanted));
        joined->append(text, length);
    }
    return joined;
}

} // namespace

bool ProgramSources::Concerns(CallId call)
{
    switch (call) {
    case CallId::glCreateShader:
    case CallId::glShaderSource:
    case CallId::glAttachShader:
    case CallId::glDetachShader:
    case CallId::glLinkProgram:
    case CallId::glProgramBinary:
    case CallId::glProgramBinaryOES:
    case CallId::glCreateShaderProgramv:
    case CallId::glDeleteProgram:
        return true;
    default:
        return false;
    }
}

std::uint32_t ProgramSources::Follow(const CallArguments& call)
{
    switch (call.Call()) {
    case CallId::glCreateShader:
        m_shaders[call.Returned()] = {call.Returned(), call.Unsigned(0), nullptr};
        return 0;
    case CallId::glShaderSource:
        m_shaders[call.Unsigned(0)].source = Join(call, 2, call.Unsigned(1), 3);
        return 0;
    case CallId::glAttachShader:
        m_attached[call.Unsigned(0)].push_back(call.Unsigned(1));
        return 0;
    case CallId::glDetachShader:
        std::erase(m_attached[call.Unsigned(0)], call.Unsigned(1));
        return 0;
    case CallId::glLinkProgram: {
        std::vector<ShaderSource>& linked = m_linked[call.Unsigned(0)];
        linked.clear();
        for (const std::uint32_t shader : m_attached[call.Unsigned(0)])
            linked.push_back(m_shaders[shader]);
        return call.Unsigned(0);
    }
    case CallId::glProgramBinary:
    case CallId::glProgramBinaryOES:
        m_linked[call.Unsigned(0)].clear();
        return call.Unsigned(0);
    case CallId::glCreateShaderProgramv:
        m_linked[call.Returned()] = {{0, call.Unsigned(0), Join(call, 2, call.Unsigned(1), {})}};
        return call.Returned();
    case CallId::glDeleteProgram:
        m_attached.erase(call.Unsigned(0));
        return 0;
    default:
        return 0;
    }
}

const std::vector<ShaderSource>& ProgramSources::Of(std::uint32_t program) const
{
    static const std::vector<ShaderSource> none;
    const auto linked = m_linked.find(program);
    return linked != m_linked.end() ? linked->second : none;
}

} // namespace Data
