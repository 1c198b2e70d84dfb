// What the recorded processes told, by process.
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace Recorder {

struct ProcessReport {
    pid_t process = 0;
    /// The program's name; the last one of a process that became another program.
    std::string program;
    /// File names of libraries by which programs draw.
    std::vector<std::string> libraries;
    /// As Finding has them.
    bool egl = false;
    bool desktopContext = false;
    bool glx = false;
    bool vulkan = false;
    std::string unwritten;

    /// A library whose name starts so is loaded.
    [[nodiscard]] bool HasLibrary(std::string_view start) const;
};

/// In the order in which the processes began. Lines that mean nothing are left out.
[[nodiscard]] std::vector<ProcessReport> ReadReports(const std::string& lines);

/// Null when that process told nothing.
[[nodiscard]] const ProcessReport* FindReport(const std::vector<ProcessReport>& reports, pid_t process);

} // namespace Recorder
