#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "Trim/FrontState.h"

namespace Trim {

/// Writes snapshots along a replay that goes on: what its state is between two frames, from which another replay goes
/// on in the same capture (Data::CaptureSource::OpenAt). Of its state-setup blocks the second one uploads contents and
/// leaves the rest of the state as it is. What was in front of the last snapshot is known by that alone, so that work
/// and memory for the next one do not grow with the way to it.
class SnapshotMaker {
public:
    /// `from` is the snapshot that the replay begins with; empty where it begins with the capture.
    SnapshotMaker(std::string capture, std::string from);

    /// Each record of the replay, as FrontState::Track has it.
    void Track(const Data::RecordView& record, std::optional<Data::CallId> call, bool isPlayed);
    /// After the end of a frame, of which `frames` are replayed now. Empty where that went well, else why there is no
    /// snapshot, nor will be one of this replay.
    [[nodiscard]] std::string Write(Replay::LiveReplay& replay, std::uint32_t frames, const std::string& path);

private:
    std::string WriteFile(std::uint32_t frames, const std::string& path);
    std::string BeginAgain(const std::string& path);

    const std::string m_capture;
    std::string m_from;
    std::unique_ptr<FrontState> m_state;
    /// State-setup blocks that have begun, of a snapshot that the replay begins with.
    std::uint32_t m_blocks = 0;
    bool m_isInBlock = false;
    /// What a query saw has decided about a draw.
    bool m_isConditional = false;
    std::string m_trouble;
};

} // namespace Trim
