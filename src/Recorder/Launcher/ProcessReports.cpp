#include "Recorder/Launcher/ProcessReports.h"

#include <algorithm>
#include <fcntl.h>
#include <sstream>
#include <sys/mman.h>
#include <unistd.h>

#include "Recorder/Channel/Handshake.h"
#include "Recorder/Report.h"

namespace Recorder {
namespace {

void Add(ProcessReport& report, const std::string& what, const std::string& detail)
{
    if (what == Finding::Program)
        report.program = detail;
    else if (what == Finding::Library)
        report.libraries.push_back(detail);
    else if (what == Finding::Egl)
        report.egl = true;
    else if (what == Finding::DesktopContext)
        report.desktopContext = true;
    else if (what == Finding::Glx)
        report.glx = true;
    else if (what == Finding::Vulkan)
        report.vulkan = true;
    else if (what == Finding::Unwritten)
        report.unwritten = detail;
    else if (what == Finding::Part)
        report.parts.push_back(detail);
    else if (what == Finding::Cut)
        report.cut = detail;
    else if (what == Finding::Uncut)
        report.uncut = detail;
    else if (what == Finding::Frames)
        report.frames = detail;
}

} // namespace

bool ProcessReport::HasLibrary(std::string_view start) const
{
    return std::ranges::any_of(
        libraries, [start](const std::string& name) { return name.starts_with(start); });
}

ReportBox::ReportBox(const std::string& folder)
    : m_link(folder + "/" + ReportsName), m_file(memfd_create(ReportFileName, MFD_CLOEXEC))
{
    // The process that writes shares this descriptor, and programs have others of the same file.
    fcntl(m_file, F_SETFL, O_APPEND);
    const std::string file = "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(m_file);
    // One that is there already leads nowhere any more.
    unlink(m_link.c_str());
    [[maybe_unused]] const int isMade = symlink(file.c_str(), m_link.c_str());
}

ReportBox::~ReportBox()
{
    unlink(m_link.c_str());
    close(m_file);
}

std::vector<ProcessReport> ReportBox::Read() const
{
    std::string lines;
    char buffer[4096];
    for (ssize_t bytes = 0; (bytes = pread(m_file, buffer, sizeof buffer, static_cast<off_t>(lines.size()))) > 0;)
        lines.append(buffer, static_cast<std::size_t>(bytes));
    std::vector<ProcessReport> reports;
    std::istringstream all(lines);
    for (std::string text; std::getline(all, text);) {
        std::istringstream line(text);
        pid_t process = 0;
        std::string what;
        std::string detail;
        if (!(line >> process >> what))
            continue;
        std::getline(line >> std::ws, detail);
        auto report = std::ranges::find(reports, process, &ProcessReport::process);
        if (report == reports.end()) {
            report = reports.emplace(report);
            report->process = process;
        }
        Add(*report, what, detail);
    }
    return reports;
}

const ProcessReport* FindReport(const std::vector<ProcessReport>& reports, pid_t process)
{
    const auto found = std::ranges::find(reports, process, &ProcessReport::process);
    return found != reports.end() ? &*found : nullptr;
}

} // namespace Recorder
