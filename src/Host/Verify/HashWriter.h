#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "Util/Failure.h"

namespace Host {

/// What -writehashes is to write.
struct HashRequest {
    /// The capture to write; empty: none.
    std::string output;
    /// After each draw, clear and the like, too.
    bool ofActions = false;
    /// Of each frame whose number this divides there is a picture as well; 0: of none.
    std::uint32_t pictureEvery = 0;
};

/// Replays a capture off screen on the driver in this folder, or the system's, and writes a copy of it that has the
/// hashes of this driver too, in the place of those that it had before. `say` gets lines for the person at the
/// terminal.
Util::Outcome WriteHashes(const std::string& captureFile, const std::string& driverDirectory,
                          const HashRequest& request, bool isQuiet, const std::function<void(const std::string&)>& say);

} // namespace Host
