#include "Recorder/CaptureName.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

#include "Recorder/Settings.h"

namespace Recorder {
namespace {

bool CreateNew(const std::string& path)
{
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (file >= 0)
        close(file);
    return file >= 0;
}

} // namespace

std::string CreateCaptureFile(const std::string& folder, const std::string& program, pid_t process)
{
    const std::string stem = (folder.empty() ? "" : folder + "/") + program + "." + std::to_string(process);
    std::string path = stem + CaptureEnding;
    for (int number = 2; !CreateNew(path) && errno == EEXIST; ++number)
        path = stem + "-" + std::to_string(number) + CaptureEnding;
    return path;
}

} // namespace Recorder
