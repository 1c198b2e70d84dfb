#include "Playback/Statistics/FeatureLog.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace Playback {

FeatureLog::FeatureLog(StatsBin* store, const char* textFile, char first)
    : m_store(store), m_statistics(store ? store->GetMap() : nullptr), m_text(std::fopen(textFile, "w")), m_first(first)
{
    if (store)
        store->SetCaptureType("GL");
}

void FeatureLog::InitializeExtnMap(std::span<const ExtensionFunction> functions)
{
    for (const ExtensionFunction& function : functions)
        m_extensions[function.key] = function.extension;
}

void FeatureLog::SetThread(std::uint32_t threadId)
{
    if (m_store)
        m_store->SetCurrentGlThreadId(threadId);
}

std::string_view FeatureLog::Get(std::string_view key) const
{
    if (!m_statistics)
        return "";
    const auto found = m_statistics->find(key);
    return found != m_statistics->end() ? std::string_view(found->second) : "";
}

void FeatureLog::Set(std::string_view key, std::string_view value)
{
    if (!m_statistics)
        return;
    const auto found = m_statistics->lower_bound(key);
    if (found != m_statistics->end() && found->first == key)
        found->second = value;
    else
        m_statistics->emplace_hint(found, key, value);
}

void FeatureLog::Note(std::string_view line)
{
    if (m_text)
        std::fwrite(line.data(), 1, line.size(), m_text.get());
}

std::string FeatureLog::CloseText()
{
    if (!m_text)
        return "";
    errno = 0;
    const bool isWhole = std::ferror(m_text.get()) == 0;
    const bool isClosed = std::fclose(m_text.release()) == 0;
    return isWhole && isClosed ? "" : errno != 0 ? std::strerror(errno) : "a write failed";
}

void FeatureLog::Increment(std::string_view key)
{
    // 32 bits, which wrap around.
    const auto count = static_cast<std::uint32_t>(std::strtol(std::string(Get(key)).c_str(), nullptr, 10));
    Set(key, std::to_string(static_cast<std::int32_t>(count + 1)));
}

void FeatureLog::LogIncrementDrawCount()
{
    Increment("number_of_draws");
}

void FeatureLog::LogBlockingCallUsed(std::string_view function)
{
    Increment("Blocking_" + std::string(function) + "_Times");
}

void FeatureLog::LogNonBlockingCallUsed(std::string_view function)
{
    Increment("NonBlocking_" + std::string(function) + "_Times");
}

void FeatureLog::LogItemTypeUsed(std::string_view key, std::string_view item)
{
    if (!m_statistics)
        return;
    const auto [list, isNew] = m_statistics->try_emplace(std::string(key), item);
    if (!isNew)
        list->second.append(",").append(item);
}

void FeatureLog::LogTextureTypeUsed(std::string_view item)
{
    Note("'Texture' Buffer With Format '" + std::string(item) + "'\n");
    LogItemTypeUsed("texture_type", item);
}

void FeatureLog::LogShaderTypeUsed(std::string_view item)
{
    Note("'" + std::string(item) + "' Shader Used\n");
    LogItemTypeUsed("shader_type", item);
}

void FeatureLog::LogQueryTypeUsed(std::string_view item)
{
    Note("Query '" + std::string(item) + "' Used\n");
    LogItemTypeUsed("query_type", item);
}

void FeatureLog::LogCapTypeUsed(std::string_view item)
{
    LogItemTypeUsed("cap_type", item);
}

void FeatureLog::LogExtensionCall(std::string_view handler)
{
    constexpr std::string_view Prefix = "Process_";
    const std::size_t at = handler.find(Prefix);
    if (at == std::string_view::npos || at + Prefix.size() == handler.size())
        return;
    std::string key(handler.substr(at + Prefix.size()));
    key.front() = m_first;
    const auto found = m_extensions.find(key);
    if (!m_statistics || found == m_extensions.end())
        return;
    const std::string& extension = found->second;
    if (!m_seenExtensions.try_emplace(extension, true).second)
        return;
    // The newest one comes first, the other way round than in lists of items.
    const auto [extensions, isFirst] = m_statistics->try_emplace("GL_Extensions", extension);
    if (!isFirst)
        extensions->second.insert(0, extension + ",");
}

} // namespace Playback
