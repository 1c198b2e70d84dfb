// What the programs write for their user.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

#include <sys/types.h>

#include "Util/ExitStatus.h"

namespace Util {

/// A file that is whole or not there: written under a temporary name in the same folder, and given its own name when
/// everything has reached it. What had that name before stays until then, and stays for good when something fails.
///
/// A symbolic link is followed, so that it stays one. What is no regular file (a pipe, a device) is written to as it
/// is. A file that is replaced keeps its permissions.
class OutputFile {
public:
    /// Nothing is created before Open.
    explicit OutputFile(std::string path);
    /// Drops what was not committed.
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    /// Makes the temporary file. False when the file could not be written there: Error tells.
    bool Open();
    /// Borrowed; null when Open failed or after the end. Errors of writing are found by Commit.
    [[nodiscard]] std::FILE* Stream() const { return m_file; }
    void Write(std::string_view text) { std::fwrite(text.data(), 1, text.size(), m_file); }
    /// Where the bytes are until Commit, for those who write by name; empty before Open.
    [[nodiscard]] const std::string& TemporaryPath() const { return m_temporary; }
    /// Gives the file its name. False when something could not be written, now or since Open; nothing is left behind.
    bool Commit();
    /// Of the failure; empty as long as all went well.
    [[nodiscard]] const std::string& Reason() const { return m_reason; }
    /// Takes away all temporary files of the process, which ends: nothing can be committed any more. Any thread.
    static void AbandonAll();
    /// "PATH: REASON".
    [[nodiscard]] std::string Error() const { return m_reason.empty() ? "" : m_path + ": " + m_reason; }

private:
    bool Fail(int errorNumber);
    void Drop();

    std::string m_path;
    /// With links resolved.
    std::string m_target;
    /// Equal to m_target where the file is written in place.
    std::string m_temporary;
    std::FILE* m_file = nullptr;
    std::string m_reason;
};

/// The permissions of `wanted` that a new file or folder gets in this process, as open and mkdir would give them.
[[nodiscard]] mode_t PermittedMode(mode_t wanted);

/// Writes a whole file. Empty on success, else "PATH: REASON".
[[nodiscard]] std::string WriteWholeFile(const std::string& path, std::string_view contents);

/// The same, but to standard output where `path` is "-"; for what is wrong with that see EndProgram.
[[nodiscard]] std::string WriteResult(const std::string& path, std::string_view contents);

/// Writes to standard output, and keeps in mind why that failed first. False when it failed, now or before.
bool Print(std::string_view text);

/// Says on standard error why `program` ends early; answers `status`.
ExitStatus Fail(const char* program, ExitStatus status, const std::string& text);

/// What main returns when `program` is done: flushes standard output, and where that cannot be written says so and
/// answers NotWritten, unless something else went wrong before.
[[nodiscard]] int EndProgram(const char* program, ExitStatus status);

} // namespace Util
