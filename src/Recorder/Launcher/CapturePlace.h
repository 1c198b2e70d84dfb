// Where the captures of a recording go.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <sys/types.h>
#include <tuple>

namespace Recorder {

/// Gives a capture the first name that is free of those of `file` with a number from `number` on: after '.',
/// NAME.2.glcap. Answers where it is: under its old name when renaming fails, with a reason in `error`.
std::filesystem::path PutAtFreeName(const std::filesystem::path& file, char separator, int number,
                                    const std::filesystem::path& capture, std::string& error);

/// The file that the user wants, and a folder beside it in which the recorded processes write until it is known what
/// was recorded: nothing that was there before is touched until then. When this program is killed, the folder stays,
/// with captures that can be replayed as far as they were written.
class CapturePlace {
public:
    explicit CapturePlace(std::filesystem::path file) : m_name(std::move(file)) {}
    /// Removes the folder, if no capture is left in it.
    ~CapturePlace();
    CapturePlace(const CapturePlace&) = delete;
    CapturePlace& operator=(const CapturePlace&) = delete;

    /// Makes the folder. What prevents captures from being written there; empty when nothing does.
    [[nodiscard]] std::string Open();
    /// Absolute.
    [[nodiscard]] const std::filesystem::path& Folder() const { return m_folder; }

    /// A file of that name was there before.
    [[nodiscard]] bool IsTaken() const { return std::filesystem::exists(m_file); }
    /// Gives a capture of the folder the wanted name; a file that had it from the beginning is replaced and leaves its
    /// permissions, and one that another recording has put there meanwhile stays: then as PutBeside. Answers where the
    /// capture is: under its old name when renaming fails, with a reason in `error`.
    std::filesystem::path PutInPlace(const std::filesystem::path& capture, std::string& error);
    /// The same with the first name NAME.2.glcap, NAME.3.glcap ... that is free.
    std::filesystem::path PutBeside(const std::filesystem::path& capture, std::string& error);

    /// The wanted file, with links resolved.
    [[nodiscard]] const std::filesystem::path& File() const { return m_file; }

private:
    /// A file and its state; empty where there is none.
    using Identity = std::optional<std::tuple<dev_t, ino_t, std::int64_t, std::int64_t>>;
    [[nodiscard]] Identity IdentityOfFile() const;

    /// As the user named it, and with links resolved: the file itself.
    std::filesystem::path m_name;
    std::filesystem::path m_file;
    std::filesystem::path m_folder;
    /// What had the name in the beginning.
    Identity m_before;
};

} // namespace Recorder
