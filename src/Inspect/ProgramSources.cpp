#include "Inspect/ProgramSources.h"

#include <algorithm>
#include <cstring>
#include <optional>

namespace Inspect {

namespace {

using Data::CallId;

/// Strings behind a pointer, one after the other: offsets of 8 bytes each, then the zero-terminated texts.
std::shared_ptr<const std::string> Join(const Data::CallArguments& call, std::size_t strings, std::uint32_t count,
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
    case CallId::glCreateShaderProgramv:
    case CallId::glDeleteProgram:
        return true;
    default:
        return false;
    }
}

void ProgramSources::Follow(const Data::CallArguments& call, const Place& place)
{
    switch (call.Call()) {
    case CallId::glCreateShader:
        m_shaders[call.Returned()] = {call.Returned(), call.Unsigned(0), nullptr};
        break;
    case CallId::glShaderSource:
        m_shaders[call.Unsigned(0)].source = Join(call, 2, call.Unsigned(1), 3);
        break;
    case CallId::glAttachShader:
        m_attached[call.Unsigned(0)].push_back(call.Unsigned(1));
        break;
    case CallId::glDetachShader:
        std::erase(m_attached[call.Unsigned(0)], call.Unsigned(1));
        break;
    case CallId::glLinkProgram: {
        std::vector<ShaderSource>& linked = m_linked[call.Unsigned(0)][place];
        for (const std::uint32_t shader : m_attached[call.Unsigned(0)])
            linked.push_back(m_shaders[shader]);
        break;
    }
    case CallId::glCreateShaderProgramv:
        m_linked[call.Returned()][place] = {{0, call.Unsigned(0), Join(call, 2, call.Unsigned(1), {})}};
        break;
    case CallId::glDeleteProgram:
        m_attached.erase(call.Unsigned(0));
        break;
    default:
        break;
    }
}

std::vector<ShaderSource> ProgramSources::Of(std::uint32_t program, const Place& place) const
{
    const auto all = m_linked.find(program);
    if (all == m_linked.end())
        return {};
    const auto after = all->second.upper_bound(place);
    return after != all->second.begin() ? std::prev(after)->second : std::vector<ShaderSource>{};
}

} // namespace Inspect
