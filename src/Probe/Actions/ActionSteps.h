#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "Probe/Json.h"
#include "Probe/Replayer.h"

namespace Probe {

/// Goes from action to action and finds what each of them changed in the first colour buffer that it draws to.
class ActionSteps {
public:
    /// To the next action of the frame: what DescribeCall has of it, and where it changed something, "x", "y", "width"
    /// and "height" of what it changed, from the lower left corner, and its pixels as they are now. "end" at the end of
    /// the frame, with the calls of it that "failed".
    Reply Next(Replayer& replayer);
    /// Somebody else drew.
    void Forget() { m_last = {}; }

private:
    /// A picture of what was drawn to.
    struct Picture {
        std::string target;
        void* context = nullptr;
        Contents contents = {};
    };

    void LookBefore(Replayer& replayer);

    Picture m_last;
    /// Where the last step ended: frames that ended in front of it, and the call.
    std::pair<std::uint32_t, std::uint32_t> m_at;
};

/// The call that the replay has come to, whether it reached the driver, and what "failed" in the frame up to it.
[[nodiscard]] Json DescribeCall(const Replayer& replayer);

/// "call" and "function" of each.
[[nodiscard]] Json FailedOf(const std::vector<PlayedAction>& actions);

/// The part of an image that is not as before, with its place; nothing where all is as before, or nothing is known of
/// what was.
struct ChangedPart {
    std::uint32_t x = 0;
    std::uint32_t y = 0;
    Contents contents = {};
};
ChangedPart FindChange(const Contents& before, const Contents& after);

} // namespace Probe
