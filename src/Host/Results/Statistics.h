#pragma once

#include <memory>
#include <string>
#include <vector>

namespace Data {
class CaptureFile;
} // namespace Data

namespace Playback {
class EGLStatsAdapter;
class GLStatsAdapter;
class StatsBin;
} // namespace Playback

namespace Host {

/// What a run with -stats has in the place of the engine: the statistics adapters and their store. Needs no driver.
class Statistics {
public:
    /// Which of the reports cannot be written, and why; empty when both can.
    [[nodiscard]] static std::string ReportFault(const std::string& captureFile);
    /// The same of the text files in the current folder, a line each. The reports do without them.
    [[nodiscard]] static std::vector<std::string> TextFaults();

    /// Registers the adapters with the capture, which outlives this object. The reports are named after `captureFile`
    /// and lie beside it; the text files are in the current folder.
    Statistics(Data::CaptureFile& capture, const std::string& captureFile);
    /// Writes the reports.
    ~Statistics();
    Statistics(const Statistics&) = delete;
    Statistics& operator=(const Statistics&) = delete;

    /// Writes the reports and ends the text files, at the end of the run. A line for each file that could not be
    /// written whole, and is gone.
    [[nodiscard]] std::vector<std::string> Finish();
    /// For the terminal: where the reports are once this object is gone.
    [[nodiscard]] static std::string Report(const std::string& captureFile);

private:
    std::unique_ptr<Playback::StatsBin> m_store;
    std::unique_ptr<Playback::GLStatsAdapter> m_glAdapter;
    std::unique_ptr<Playback::EGLStatsAdapter> m_eglAdapter;
};

} // namespace Host
