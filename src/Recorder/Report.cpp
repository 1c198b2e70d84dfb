#include "Recorder/Report.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <link.h>
#include <unistd.h>

#include "Recorder/Channel/Handshake.h"
#include "Recorder/Settings.h"

namespace Recorder {
namespace {

/// By the start of their names: ways to draw, and toolkits that choose one of them.
constexpr std::string_view DrawingLibraries[] = {"libGL.so", "libGLX.so", "libvulkan.so", "libgtk-3",
                                                 "libgtk-4", "libSDL2",   "libgstgl",     "libmpv"};

/// By the environment as it was at the start; empty: nobody is to be told.
char reportPath[4096];

/// The file, unless the link leads to another one by now: the process that had it open may have ended.
int OpenReport()
{
    char descriptor[64] = {};
    char file[64] = {};
    return readlink(reportPath, descriptor, sizeof descriptor - 1) > 0 &&
                   readlink(descriptor, file, sizeof file - 1) > 0 && std::strstr(file, ReportFileName) != nullptr
               ? open(descriptor, O_WRONLY | O_APPEND | O_CLOEXEC)
               : -1;
}

int ReportLibrary(dl_phdr_info* info, std::size_t, void*)
{
    std::string_view name = info->dlpi_name;
    name.remove_prefix(name.rfind('/') + 1);
    if (std::ranges::any_of(DrawingLibraries, [name](std::string_view start) { return name.starts_with(start); }))
        Report(Finding::Library, name);
    return 0;
}

void ReportOnce(std::atomic<bool>& isTold, const char* what) noexcept
{
    if (!isTold.exchange(true))
        Report(what, "");
}

/// Ahead of the program's own code: what it is linked to is loaded by now.
__attribute__((constructor)) void ReportProgram()
{
    const char* const folder = std::getenv(FolderVariable);
    if (folder != nullptr) {
        const int bytes = std::snprintf(reportPath, sizeof reportPath, "%s/%s", folder, ReportsName);
        reportPath[0] = bytes < static_cast<int>(sizeof reportPath) ? reportPath[0] : '\0';
        Report(Finding::Program, program_invocation_short_name);
        ReportLibraries();
    }
}

} // namespace

void Report(const char* what, std::string_view detail) noexcept
{
    const int savedErrno = errno;
    const int file = reportPath[0] != '\0' ? OpenReport() : -1;
    if (file >= 0) {
        char line[512];
        const int bytes = std::snprintf(line, sizeof line, "%d %s %.*s\n", static_cast<int>(getpid()), what,
                                        static_cast<int>(std::min<std::size_t>(detail.size(), 400)), detail.data());
        [[maybe_unused]] const ssize_t written = write(file, line, static_cast<std::size_t>(bytes));
        close(file);
    }
    errno = savedErrno;
}

void ReportLibraries() noexcept
{
    dl_iterate_phdr(&ReportLibrary, nullptr);
}

void ReportDesktopContext() noexcept
{
    static std::atomic<bool> isTold = false;
    if (!isTold.exchange(true)) {
        ReportLibraries();
        Report(Finding::DesktopContext, "");
    }
}

void ReportGlx() noexcept
{
    static std::atomic<bool> isTold = false;
    ReportOnce(isTold, Finding::Glx);
}

void ReportLookup(const char* name) noexcept
{
    static std::atomic<bool> vulkanIsTold = false;
    const std::string_view view = name;
    if (view.starts_with("glXCreate"))
        ReportGlx();
    else if (view == "vkCreateInstance" || view == "vkGetInstanceProcAddr")
        ReportOnce(vulkanIsTold, Finding::Vulkan);
}

} // namespace Recorder
