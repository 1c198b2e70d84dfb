#pragma once

#include <cstdint>
#include <cstdio>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace Playback {

/// Statistics as text under text keys. Counts and sizes are decimal, uses of a feature "False" or "True".
using StatsMap = std::map<std::string, std::string, std::less<>>;
/// The keys that a report has, in order, by the name of the element around them.
using StatsCategories = std::map<std::string, std::vector<std::string>>;

/// The statistics of one capture, which the statistics adapters fill. Writes the reports when it is destroyed.
class StatsBin {
public:
    /// The reports are called `captureFileName`, directory included, with ".xml" and "_flat.xml" appended.
    explicit StatsBin(std::string captureFileName);
    ~StatsBin();
    StatsBin(const StatsBin&) = delete;
    StatsBin& operator=(const StatsBin&) = delete;

    void SetCaptureFileName(std::string captureFileName) { m_captureFileName = std::move(captureFileName); }
    /// Sets the keys of a type of capture, "GL" or "DX", to their initial values, also when they had others, and their
    /// categories. Keys without an initial value keep what they have. Opens "stats.txt", which stays empty.
    void SetCaptureType(const std::string& type);

    /// Lives as long as the store.
    StatsMap* GetMap() { return &m_statistics; }

    /// The captured thread that the following calls come from.
    void SetCurrentGlThreadId(std::uint32_t threadId);
    void IncrementSurfaceCountForActiveGlThread();
    void IncrementGlTotalSurfaceCount() { ++m_totalSurfaces; }

    /// Writes the grouped and the flat report. Does not report a file that cannot be written: ReportError tells.
    void LogXml();
    /// "PATH: REASON" of the last LogXml; empty when both reports were written.
    [[nodiscard]] const std::string& ReportError() const { return m_reportError; }

private:
    struct CloseFile {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };

    void CompleteThreadData();

    std::string m_captureFileName;
    std::string m_captureType;
    std::string m_reportError;
    std::unique_ptr<std::FILE, CloseFile> m_statsText;
    StatsMap m_statistics;
    StatsCategories m_categories;
    /// Surfaces made before any thread is announced count for thread 0.
    std::uint32_t m_currentThread = 0;
    std::uint32_t m_totalSurfaces = 0;
    std::map<std::uint32_t, bool> m_threads;
    std::map<std::uint32_t, std::uint32_t> m_surfacesOfThread;
};

} // namespace Playback
