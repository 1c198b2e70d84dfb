// Where log messages go: stderr, a file or a named pipe.
#pragma once

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
    void Flush();

    /// A line that stays below everything that goes to stderr; empty for none. For terminals only.
    static void SetStatus(std::string status);

private:
    void Close();
    /// Takes what was written off the front of `text`. Returns 0 or the error number.
    int Write(std::string_view& text) const;

    int m_file = 2;
    /// Empty for stderr.
    std::string m_path;
    std::string m_buffer;
};

} // namespace Core
