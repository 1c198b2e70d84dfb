// Where the sockets of recordings are.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>
#include <sys/types.h>

namespace Recorder {

inline constexpr char ControlPrefix[] = "playback-record-";

/// Of a user's session; empty where there is none.
inline std::filesystem::path ControlFolder()
{
    const char* const folder = std::getenv("XDG_RUNTIME_DIR");
    return folder != nullptr ? folder : "";
}

/// Of the recording of a playback-record.
inline std::filesystem::path ControlPath(pid_t process)
{
    const std::filesystem::path folder = ControlFolder();
    return folder.empty() ? folder : folder / (ControlPrefix + std::to_string(process));
}

} // namespace Recorder
