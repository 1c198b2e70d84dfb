#include "Recorder/Launcher/CapturePlace.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Recorder/Channel/Handshake.h"
#include "Recorder/Settings.h"
#include "Util/OutputFile.h"

namespace Recorder {

namespace fs = std::filesystem;

namespace {

constexpr int MaxLinks = 40;

/// The file behind symbolic links, also where there is none yet.
fs::path FollowLinks(fs::path path)
{
    std::error_code error;
    for (int links = 0; links < MaxLinks && fs::is_symlink(fs::symlink_status(path, error)); ++links) {
        // An absolute one takes the place of the whole path.
        path = path.parent_path() / fs::read_symlink(path, error);
    }
    return path;
}

/// What keeps a file of this name from being written or replaced; empty when nothing does.
std::string WhyNotWritable(const fs::path& file)
{
    std::error_code error;
    if (file.filename().empty() || fs::is_directory(file, error))
        return "expected the name of a file, found a folder";
    if (fs::exists(file, error) && !fs::is_regular_file(file, error))
        return "expected a regular file: the beginning of a capture is written last, which no pipe or device allows";
    return fs::exists(file, error) && access(file.c_str(), W_OK) != 0 ? std::strerror(errno) : "";
}

fs::path WithoutEnding(const fs::path& file)
{
    return file.extension() == CaptureEnding ? fs::path(file).replace_extension() : file;
}

fs::path Rename(const fs::path& from, const fs::path& to, std::string& error)
{
    if (std::rename(from.c_str(), to.c_str()) == 0)
        return to;
    error = to.string() + ": cannot be written: " + std::strerror(errno) + "; the capture is " + from.string();
    return from;
}

} // namespace

CapturePlace::~CapturePlace()
{
    if (!m_folder.empty()) {
        unlink((m_folder / SocketName).c_str());
        rmdir(m_folder.c_str());
    }
}

std::string CapturePlace::Open()
{
    m_file = FollowLinks(m_name);
    m_before = IdentityOfFile();
    std::string why = WhyNotWritable(m_file);
    if (why.empty()) {
        std::string folder = WithoutEnding(fs::absolute(m_file)).string() + ".recording-XXXXXX";
        if (mkdtemp(folder.data()) != nullptr) {
            m_folder = folder;
            chmod(folder.c_str(), Util::PermittedMode(0777));
            return {};
        }
        why = std::strerror(errno);
    }
    return m_name.string() + ": no capture can be written there: " + why;
}

CapturePlace::Identity CapturePlace::IdentityOfFile() const
{
    struct stat status = {};
    if (stat(m_file.c_str(), &status) != 0)
        return {};
    return std::tuple(status.st_dev, status.st_ino, status.st_mtim.tv_sec, status.st_mtim.tv_nsec);
}

fs::path CapturePlace::PutInPlace(const fs::path& capture, std::string& error)
{
    const Identity now = IdentityOfFile();
    if (!now) {
        // A file that comes at this moment is seen too.
        if (renameat2(AT_FDCWD, capture.c_str(), AT_FDCWD, m_file.c_str(), RENAME_NOREPLACE) == 0)
            return m_name;
        if (errno == EEXIST)
            return PutBeside(capture, error);
    } else if (now != m_before) {
        return PutBeside(capture, error);
    }
    struct stat before = {};
    if (stat(m_file.c_str(), &before) == 0)
        chmod(capture.c_str(), before.st_mode & 07777);
    return Rename(capture, m_file, error) == m_file ? m_name : capture;
}

fs::path CapturePlace::PutBeside(const fs::path& capture, std::string& error)
{
    return PutAtFreeName(m_file, '.', 2, capture, error);
}

fs::path PutAtFreeName(const fs::path& file, char separator, int number, const fs::path& capture, std::string& error)
{
    const std::string stem = WithoutEnding(file).string() + separator;
    for (;; ++number) {
        const std::string name = stem + std::to_string(number) + CaptureEnding;
        // The name is taken before it is given, so that two recordings do not choose the same.
        const int taken = open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        if (taken < 0 && errno == EEXIST)
            continue;
        if (taken >= 0)
            close(taken);
        fs::path place = Rename(capture, name, error);
        if (place == capture && taken >= 0)
            unlink(name.c_str());
        return place;
    }
}

} // namespace Recorder
