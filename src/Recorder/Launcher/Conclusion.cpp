#include "Recorder/Launcher/Conclusion.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "Recorder/Launcher/Explanation.h"

namespace Recorder {

namespace fs = std::filesystem;
using Util::ExitStatus;

namespace {

using Row = std::array<std::string, 7>;
/// The last columns are words, those before them numbers.
constexpr std::size_t FirstWord = 4;

std::string Aligned(const std::vector<Row>& rows)
{
    std::array<std::size_t, std::tuple_size_v<Row>> widths = {};
    for (const Row& row : rows)
        for (std::size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], row[i].size());
    std::string text;
    for (const Row& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            const std::string space(widths[i] - row[i].size(), ' ');
            const bool isLast = i + 1 == row.size();
            text += "  " + (i < FirstWord ? space + row[i] : isLast ? row[i] : row[i] + space);
        }
        text += "\n";
    }
    return text;
}

/// How a process drew that was not recorded; null when it did not.
const char* OtherWay(const ProcessReport& report)
{
    return report.desktopContext ? "desktop OpenGL"
           : report.glx          ? "desktop OpenGL on GLX"
           : report.vulkan       ? "Vulkan"
           : report.egl          ? "no OpenGL ES call"
                                 : nullptr;
}

} // namespace

int Trouble(const std::string& message, ExitStatus status)
{
    std::fprintf(stderr, "playback-record: %s\n", message.c_str());
    return static_cast<int>(status);
}

/// The library tells its own name of the file in front.
std::string Conclusion::Unwritten(const Recording& recording) const
{
    const ProcessReport* const report = FindReport(m_reports, recording.process);
    std::string why = report != nullptr ? report->unwritten : "";
    const std::string name = recording.file.string() + ": ";
    return why.starts_with(name) ? why.substr(name.size()) : why;
}

std::string Conclusion::WhyIncomplete(const Recording& recording) const
{
    if (const std::string unwritten = Unwritten(recording); !unwritten.empty())
        return "It ends early: " + unwritten;
    if (recording.isBusy)
        return "The process goes on, and writes to it until it ends.";
    const std::string how = recording.process != m_end.process ? "It was killed, or ended"
                            : m_end.signal != 0                ? "It ended"
                                                               : "It ended with status " + std::to_string(m_end.status);
    return how + " without its exit handlers, and wrote its capture itself: calls of the last half second may be "
                 "missing.";
}

std::string Conclusion::HowItEnded(const Recording& recording) const
{
    if (recording.isBusy)
        return "goes on";
    if (recording.summary.end.isKnown)
        return Data::Describe(recording.summary.end);
    if (recording.process == m_end.process && m_end.signal != 0)
        return "ended by signal " + std::to_string(m_end.signal);
    if (recording.process == m_end.process)
        return "ended with status " + std::to_string(m_end.status);
    return recording.summary.isComplete ? "ended" : "was killed, or its capture could not be written whole";
}

void Conclusion::Add(const Recording& recording, const fs::path& name, const std::string& error)
{
    std::string remarks;
    const ProcessReport* const report = FindReport(m_reports, recording.process);
    if (report != nullptr && !report->cut.empty())
        remarks += "  " + report->cut + "\n";
    else if (m_options.wanted.NeedsCut() && !recording.isBusy && (report == nullptr || report->parts.empty()))
        remarks +=
            "  Nothing was cut out of it, since the process wrote its capture itself; playback-trim does that.\n";
    if (!recording.summary.isComplete)
        remarks += "  " + WhyIncomplete(recording) + "\n";
    remarks += DescribeMissing(recording.summary);
    remarks += error.empty() ? "" : "  " + error + "\n";
    m_captures.push_back({recording, name, remarks});
    m_wasWritten = m_wasWritten && Unwritten(recording).empty() && error.empty();
}

bool Conclusion::WasWritten() const
{
    return m_wasWritten && std::ranges::all_of(
                               m_reports, [](const auto& report) { return report.uncut.empty(); });
}

bool Conclusion::HasParts() const
{
    return std::ranges::any_of(
        m_reports, [](const auto& report) { return !report.parts.empty(); });
}

int Conclusion::TellNothing() const
{
    const auto unwritten =
        std::ranges::find_if(m_reports, [](const auto& report) { return !report.unwritten.empty(); });
    const bool isWriting = unwritten != m_reports.end();
    const auto drawing = std::ranges::find_if(m_reports, [](const auto& report) { return !report.frames.empty(); });
    return Trouble("NOTHING WAS RECORDED: " +
                       (isWriting ? unwritten->unwritten
                        : drawing != m_reports.end()
                            ? drawing->program + " had " + drawing->frames + " frames, and none of them was asked for"
                            : WhyNothingRecorded(m_options, m_end, m_reports)),
                   isWriting ? ExitStatus::NotWritten : ExitStatus::Differed);
}

/// Processes that called EGL, or drew in another way, and of which there is no capture.
std::vector<const ProcessReport*> Conclusion::Unrecorded() const
{
    std::vector<const ProcessReport*> others;
    for (const ProcessReport& report : m_reports) {
        const bool isRecorded = std::ranges::any_of(
            m_captures, [&](const Capture& capture) { return capture.recording.process == report.process; });
        if (!isRecorded && OtherWay(report) != nullptr)
            others.push_back(&report);
    }
    return others;
}

std::string Conclusion::OneCapture(const Capture& capture) const
{
    const Recording& recording = capture.recording;
    std::string text = Describe(capture.name.string(), recording.summary);
    if (recording.process != m_end.process) {
        text += "  It is of " + recording.program + ", process " + std::to_string(recording.process) +
                (m_options.command.empty() ? ".\n" : "; " + m_options.command[0] + " itself made no OpenGL ES call.\n");
    }
    if (recording.summary.end.isKnown)
        text += "  " + recording.program + " " + Data::Describe(recording.summary.end) + ".\n";
    return text + capture.remarks;
}

std::string Conclusion::Table() const
{
    std::vector<Row> rows = {{"frames", "calls", "size", "process", "program", "capture", "end"}};
    std::string remarks;
    for (const auto& [recording, name, text] : m_captures) {
        const Summary& summary = recording.summary;
        rows.push_back({std::to_string(summary.frames), std::to_string(summary.calls), SizeText(summary.fileBytes),
                        std::to_string(recording.process), recording.program, name.string(), HowItEnded(recording)});
        remarks += text.empty() ? "" : "  " + name.string() + ":\n" + text;
    }
    for (const ProcessReport* const report : Unrecorded())
        rows.push_back({"-", "-", "-", std::to_string(report->process), report->program, "-", OtherWay(*report)});
    return std::to_string(m_captures.size()) + " of " + std::to_string(rows.size() - 1) +
           " processes were recorded; those with frames come first:\n" + Aligned(rows) + remarks;
}

void Conclusion::Tell() const
{
    const bool isOne = m_captures.size() == 1 && Unrecorded().empty();
    std::fputs(("playback-record: " + (isOne ? OneCapture(m_captures.front()) : Table())).c_str(), stderr);
}

} // namespace Recorder
