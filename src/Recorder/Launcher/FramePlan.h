// Which frames of one process become captures.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Recorder/Launcher/Request.h"
#include "Recorder/Launcher/Wanted.h"

namespace Recorder {

/// Frames that become a capture of their own.
struct Part {
    /// Without an end: up to the end of the program, and what it did after its last frame.
    Util::FrameRange frames;
    /// It gets the name that the user gave; others get numbers.
    bool isMain = false;
    /// Who asked for it and waits; may be null.
    std::shared_ptr<Request> request = nullptr;
};

/// Keeps account of what is wanted. `frames` always is the number of frames that have ended; another one may be under
/// way.
class FramePlan {
public:
    explicit FramePlan(const Wanted& wanted);

    /// Each answers why it cannot be done; empty when it is.
    std::string Start(std::uint32_t frames);
    /// Up to the last frame that has ended. Where there is none since the start, up to the end of the one under way.
    std::string Stop(std::uint32_t frames, const std::shared_ptr<Request>& request);
    /// The newest frames if the last ones are kept, else those from the one under way on.
    std::string Snapshot(std::uint32_t frames, const std::shared_ptr<Request>& request);

    /// "recording since frame 7", for people.
    [[nodiscard]] std::string Describe(std::uint32_t frames) const;
    /// Something that is under way is recorded for somebody.
    [[nodiscard]] bool IsRecording() const { return m_recording || !m_snapshots.empty() || m_wanted.last != 0; }
    /// The first frame that is wanted or may still be.
    [[nodiscard]] std::uint32_t FirstWanted(std::uint32_t frames) const;

    /// Takes away what has ended.
    [[nodiscard]] std::vector<Part> TakeComplete(std::uint32_t frames);
    /// Takes the rest, at the end of the program. Parts of which no frame ended are among them.
    [[nodiscard]] std::vector<Part> TakeRest(std::uint32_t frames);

private:
    [[nodiscard]] std::uint32_t FirstOfLast(std::uint32_t frames, std::uint32_t count) const;

    const Wanted m_wanted;
    /// What is recorded from a start to a stop.
    std::optional<Part> m_recording;
    /// What has an end and may be complete.
    std::vector<Part> m_snapshots;
};

} // namespace Recorder
