#include "Playback/Statistics/StatsBin.h"

#include <string_view>
#include <utility>

#include "Interfaces/Core.h"
#include "Playback/Statistics/StatsReport.h"

namespace Playback {

namespace {

/// A key of a category; `initial` is null where the key gets its value later.
struct CategoryKey {
    std::string_view captureType;
    const char* category;
    const char* key;
    const char* initial;
};

constexpr CategoryKey CategoryKeys[] = {
#include "Playback/StatsCategories.inc"
};

} // namespace

StatsBin::StatsBin(std::string captureFileName) : m_captureFileName(std::move(captureFileName)) {}

StatsBin::~StatsBin()
{
    LogXml();
}

void StatsBin::SetCaptureType(const std::string& type)
{
    m_captureType = type;
    m_statsText.reset(std::fopen("stats.txt", "w"));
    m_statistics.try_emplace("file_name", "stats.xml");
    if (type != "GL" && type != "DX") {
        PLAYBACK_LOG(Warning, General, "src/Playback/StatsBin", "Unhandled m_captureType = %s", type.c_str());
        return;
    }
    StatsCategories categories;
    for (const CategoryKey& key : CategoryKeys) {
        if (key.captureType != type)
            continue;
        if (key.initial)
            m_statistics[key.key] = key.initial;
        categories[key.category].emplace_back(key.key);
    }
    for (auto& [name, keys] : categories)
        m_categories[name] = std::move(keys);
}

void StatsBin::SetCurrentGlThreadId(std::uint32_t threadId)
{
    m_currentThread = threadId;
    if (m_threads.try_emplace(threadId, true).second)
        m_surfacesOfThread[threadId] = 0;
}

void StatsBin::IncrementSurfaceCountForActiveGlThread()
{
    ++m_surfacesOfThread[m_currentThread];
    IncrementGlTotalSurfaceCount();
}

void StatsBin::CompleteThreadData()
{
    m_statistics["One_Thread_Has_Multiple_Surfaces"] = "0";
    m_statistics["Total_Threads"] = std::to_string(m_threads.size());
    m_statistics["Total_Surfaces"] = std::to_string(m_totalSurfaces);
    for (const auto& [thread, surfaces] : m_surfacesOfThread)
        if (surfaces >= 2)
            m_statistics["One_Thread_Has_Multiple_Surfaces"] = "1";
}

void StatsBin::LogXml()
{
    if (m_captureType == "GL")
        CompleteThreadData();
    m_reportError = WriteGroupedReport(m_captureFileName + ".xml", m_categories, m_statistics);
    const std::string flatError = WriteFlatReport(m_captureFileName + "_flat.xml", m_categories, m_statistics);
    if (m_reportError.empty())
        m_reportError = flatError;
}

} // namespace Playback
