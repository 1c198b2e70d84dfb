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
    /// As above, of captures that were cut out.
    std::vector<std::string> parts;
    std::string cut;
    std::string uncut;
    /// How many frames there were, as a number.
    std::string frames;

    /// A library whose name starts so is loaded.
    [[nodiscard]] bool HasLibrary(std::string_view start) const;
};

/// Where processes tell, as long as it lives: a file in memory, and a link to it in the folder of the captures. Without
/// it there are fewer explanations, and that is all.
class ReportBox {
public:
    explicit ReportBox(const std::string& folder);
    ~ReportBox();
    ReportBox(const ReportBox&) = delete;
    ReportBox& operator=(const ReportBox&) = delete;

    [[nodiscard]] int Descriptor() const { return m_file; }
    /// What was told so far, in the order in which the processes began. Lines that mean nothing are left out.
    [[nodiscard]] std::vector<ProcessReport> Read() const;

private:
    const std::string m_link;
    const int m_file;
};

/// Null when that process told nothing.
[[nodiscard]] const ProcessReport* FindReport(const std::vector<ProcessReport>& reports, pid_t process);

} // namespace Recorder
