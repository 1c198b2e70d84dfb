// What is told of a recording at its end.
#pragma once

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "Recorder/Launcher/ProcessReports.h"
#include "Recorder/Launcher/Recording.h"
#include "Recorder/Launcher/Recordings.h"
#include "Util/ExitStatus.h"

namespace Recorder {

/// Takes the captures, those with frames first, and tells of them: of one in a line, of several in a table with a line
/// for each process.
class Conclusion {
public:
    /// `options` and `end`, which is that of the command, are borrowed; without a command both are empty.
    Conclusion(const RecordingOptions& options, const ProgramEnd& end, std::vector<ProcessReport> reports)
        : m_options(options), m_end(end), m_reports(std::move(reports))
    {
    }

    /// Why the capture could not be written whole; empty when it was.
    [[nodiscard]] std::string Unwritten(const Recording& recording) const;
    /// It has this name now, or could not get it because of `error`.
    void Add(const Recording& recording, const std::filesystem::path& name, const std::string& error);

    [[nodiscard]] bool IsEmpty() const { return m_captures.empty(); }
    /// Of a recording without captures. Answers the exit status.
    [[nodiscard]] int TellNothing() const;
    void Tell() const;
    /// All could be written whole and got their names.
    [[nodiscard]] bool WasWritten() const;
    /// Captures were cut out and have their names already.
    [[nodiscard]] bool HasParts() const;

private:
    struct Capture {
        Recording recording;
        std::filesystem::path name;
        /// Indented lines.
        std::string remarks;
    };

    [[nodiscard]] std::string WhyIncomplete(const Recording& recording) const;
    [[nodiscard]] std::string HowItEnded(const Recording& recording) const;
    [[nodiscard]] std::vector<const ProcessReport*> Unrecorded() const;
    [[nodiscard]] std::string OneCapture(const Capture& capture) const;
    [[nodiscard]] std::string Table() const;

    const RecordingOptions& m_options;
    const ProgramEnd& m_end;
    const std::vector<ProcessReport> m_reports;
    std::vector<Capture> m_captures;
    bool m_wasWritten = true;
};

/// "playback-record: MESSAGE" to stderr. Answers the status.
int Trouble(const std::string& message, Util::ExitStatus status);

} // namespace Recorder
