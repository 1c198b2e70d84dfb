// The names of captures while they are written.
#pragma once

#include <string>
#include <sys/types.h>

namespace Recorder {

/// Makes an empty file in the folder, or in the working directory without one, and answers its path: NAME.PID.glcap. A
/// process that was replaced by another program (exec) has a file for each: NAME.PID-2.glcap.
[[nodiscard]] std::string CreateCaptureFile(const std::string& folder, const std::string& program, pid_t process);

} // namespace Recorder
