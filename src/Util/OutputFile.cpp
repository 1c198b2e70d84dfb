#include "Util/OutputFile.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <set>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Util {

namespace {

/// Temporary files that there are now. Never destroyed, so that files of static objects find them.
struct Temporaries {
    std::mutex mutex;
    std::set<std::string> paths;
};

Temporaries& Pending()
{
    static Temporaries* const temporaries = new Temporaries;
    return *temporaries;
}

/// Of the first failure to write to standard output; 0 for none. What is lost to a full buffer is not tried again.
int printError = 0;

/// Flushes it. Empty on success, and where the reader of a pipe went away; else what could not be written and why.
std::string FlushStandardOutput()
{
    if (std::fflush(stdout) != 0 && printError == 0)
        printError = errno;
    // Whoever closed the other end of a pipe has read all that is wanted.
    return printError == 0 || printError == EPIPE ? "" : std::string("standard output: ") + std::strerror(printError);
}

} // namespace

OutputFile::OutputFile(std::string path) : m_path(std::move(path)) {}

OutputFile::~OutputFile()
{
    Drop();
}

bool OutputFile::Open()
{
    std::error_code none;
    const std::filesystem::path resolved = std::filesystem::weakly_canonical(m_path, none);
    m_target = none ? m_path : resolved.string();
    struct stat status = {};
    const bool isThere = stat(m_target.c_str(), &status) == 0;
    if (isThere && !S_ISREG(status.st_mode)) {
        m_temporary = m_target;
        m_file = std::fopen(m_target.c_str(), "we");
        return m_file || Fail(errno);
    }
    // What may not be written to is not replaced either.
    if (isThere && access(m_target.c_str(), W_OK) != 0)
        return Fail(errno);
    std::string name = m_target + ".XXXXXX";
    const int descriptor = mkostemp(name.data(), O_CLOEXEC);
    if (descriptor < 0)
        return Fail(errno);
    m_temporary = std::move(name);
    {
        const std::lock_guard lock(Pending().mutex);
        Pending().paths.insert(m_temporary);
    }
    m_file = fdopen(descriptor, "w");
    if (!m_file || fchmod(descriptor, isThere ? status.st_mode & 07777 : PermittedMode(0666)) != 0) {
        const int reason = errno;
        if (!m_file)
            close(descriptor);
        return Fail(reason);
    }
    return true;
}

bool OutputFile::Commit()
{
    if (!m_file)
        return false;
    const bool wasWritten = std::ferror(m_file) == 0;
    const int reason = errno;
    // The rest of the buffer is written here, so that a full disk can show as late as this.
    const bool isClosed = std::fclose(std::exchange(m_file, nullptr)) == 0;
    if (!wasWritten || !isClosed)
        return Fail(isClosed ? reason : errno);
    if (m_temporary != m_target) {
        std::unique_lock lock(Pending().mutex);
        if (std::rename(m_temporary.c_str(), m_target.c_str()) != 0) {
            const int error = errno;
            lock.unlock();
            return Fail(error);
        }
        Pending().paths.erase(m_temporary);
    }
    m_temporary.clear();
    return true;
}

bool OutputFile::Fail(int errorNumber)
{
    Drop();
    m_reason = std::strerror(errorNumber);
    return false;
}

void OutputFile::Drop()
{
    if (m_file) {
        std::fclose(m_file);
        m_file = nullptr;
    }
    if (!m_temporary.empty() && m_temporary != m_target) {
        const std::lock_guard lock(Pending().mutex);
        std::remove(m_temporary.c_str());
        Pending().paths.erase(m_temporary);
    }
    m_temporary.clear();
}

void OutputFile::AbandonAll()
{
    // Kept for good.
    Pending().mutex.lock();
    for (const std::string& path : Pending().paths)
        std::remove(path.c_str());
}

mode_t PermittedMode(mode_t wanted)
{
    const mode_t mask = umask(0);
    umask(mask);
    return wanted & ~mask;
}

std::string WriteWholeFile(const std::string& path, std::string_view contents)
{
    OutputFile file(path);
    if (file.Open()) {
        file.Write(contents);
        file.Commit();
    }
    return file.Error();
}

bool Print(std::string_view text)
{
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() && printError == 0)
        printError = errno;
    return printError == 0;
}

std::string WriteResult(const std::string& path, std::string_view contents)
{
    if (path != "-")
        return WriteWholeFile(path, contents);
    Print(contents);
    return "";
}

ExitStatus Fail(const char* program, ExitStatus status, const std::string& text)
{
    std::fprintf(stderr, "%s: %s\n", program, text.c_str());
    return status;
}

int EndProgram(const char* program, ExitStatus status)
{
    if (const std::string error = FlushStandardOutput(); !error.empty()) {
        std::fprintf(stderr, "%s: %s\n", program, error.c_str());
        status = status == ExitStatus::Done ? ExitStatus::NotWritten : status;
    }
    return static_cast<int>(status);
}

} // namespace Util
