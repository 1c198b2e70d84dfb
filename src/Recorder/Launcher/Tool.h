// Frames that are cut out of files by playback-trim, while this process goes on.
#pragma once

#include <filesystem>
#include <string>
#include <sys/types.h>
#include <vector>

namespace Recorder {

/// The programs that cut and verify, found by the place of this one.
struct CutTools {
    std::filesystem::path trim;
    std::filesystem::path playback;
};
/// Null paths in it where they are missing.
[[nodiscard]] CutTools FindCutTools();

/// A program of ours at work in a process of its own, at a low priority. What it says goes to a file.
class Tool {
public:
    /// Somebody may wait for it when it is urgent.
    Tool(const std::vector<std::string>& command, std::filesystem::path log, bool isUrgent);
    /// Ends it.
    ~Tool();
    Tool(const Tool&) = delete;
    Tool& operator=(const Tool&) = delete;

    /// Asks, without waiting.
    [[nodiscard]] bool IsDone();
    /// Once it is done; what a shell would say.
    [[nodiscard]] int Status() const { return m_status; }
    /// The last line of what it said.
    [[nodiscard]] std::string LastWords() const;

private:
    const std::filesystem::path m_log;
    pid_t m_process = -1;
    int m_status = 127;
};

} // namespace Recorder
