// Where log messages go: stderr, a file or a named pipe.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace Core {

/// A buffered text output on a file descriptor that never raises SIGPIPE. When it cannot be written any longer (disk
/// full, reader of the pipe gone), it says so on stderr and goes on there; when stderr fails too, it drops its text.
class LogOutput {
public:
    LogOutput() = default;
    ~LogOutput() { Close(); }
    LogOutput(const LogOutput&) = delete;
    LogOutput& operator=(const LogOutput&) = delete;

    /// Goes on in this file, which is emptied, or named pipe, which gets a few seconds for its reader to appear.
    /// Returns the reason for a failure, and then stays where it was; empty on success.
    [[nodiscard]] std::string Open(const std::string& path);

    /// Appends a line; `line` holds no line feed at its end.
    void WriteLine(std::string_view line);
    /// As WriteLine, but on stderr a line that repeats the one before is only counted. A file gets them all.
    void WriteOnce(std::string_view line);
    /// Tells how many lines were left out; the next one is written whatever it says.
    void EndRepetitions();
    void Flush();

    /// A line that stays below everything that goes to stderr; empty for none. For terminals only.
    static void SetStatus(std::string status);

private:
    void Append(std::string_view line);
    void Close();
    /// Takes what was written off the front of `text`. Returns 0 or the error number.
    int Write(std::string_view& text) const;

    int m_file = 2;
    /// Empty for stderr.
    std::string m_path;
    std::string m_buffer;
    /// What WriteOnce wrote last, empty when something else followed, and how often it came again.
    std::string m_once;
    std::uint64_t m_repetitions = 0;
};

} // namespace Core
