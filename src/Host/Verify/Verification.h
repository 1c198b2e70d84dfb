#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Host/Verify/FrameVerifier.h"
#include "Host/Verify/ReadBackVerifier.h"

namespace Host {

/// What a replay is compared with: the hashes of the recorded frames, and the pixels that the program read back.
struct Verification {
    /// See FrameVerifier.
    explicit Verification(FrameTimer* timer) : timer(timer), frames(timer) {}

    FrameTimer* timer;
    FrameVerifier frames;
    ReadBackTally readBacks;

    /// `expectedFrames` is how many frames were replayed. A program that never shows a frame is known by what it reads.
    [[nodiscard]] bool IsVerified(std::uint32_t expectedFrames) const
    {
        return (HasFrames(expectedFrames) ? frames.IsVerified(expectedFrames) : true) && readBacks.AllEqual();
    }
    /// Lines that tell the result; see FrameVerifier::Report.
    [[nodiscard]] std::vector<std::string> Report(std::uint32_t expectedFrames, bool isCutShort) const
    {
        std::vector<std::string> lines;
        if (HasFrames(expectedFrames))
            lines.push_back(frames.Report(expectedFrames, isCutShort));
        if (const std::string driver = frames.DriverReport(); !driver.empty())
            lines.push_back(driver);
        if (readBacks.compared != 0)
            lines.push_back(readBacks.Report());
        return lines;
    }

private:
    [[nodiscard]] bool HasFrames(std::uint32_t expected) const { return expected != 0 || readBacks.compared == 0; }
};

} // namespace Host
