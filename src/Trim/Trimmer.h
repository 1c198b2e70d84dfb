#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "Data/Capture/CaptureSource.h"
#include "Data/Diagnostics.h"
#include "Replay/LiveReplay.h"
#include "Trim/FrontState.h"
#include "Trim/RecordOutput.h"
#include "Util/FrameRange.h"

namespace Trim {

/// Cuts frames out of a capture. Goes through it twice: first with a replay of what comes before the frames, which
/// shows what each call does and what the surfaces hold in the end; then to copy the calls that the state at the first
/// frame depends on, as a state-setup block, and the frames themselves as they are; or one
/// call of a frame alone, and of the state what that call depends on.
class Trimmer {
public:
    /// `source` and `diagnostics` must outlive this. A range without an end keeps what comes after the last frame too,
    /// the calls that the program ended in included. `progress` hears of each frame that was replayed.
    Trimmer(Data::CaptureSource& source, Data::Diagnostics& diagnostics, Util::FrameRange range,
            std::function<void(std::uint32_t)> progress)
        : m_source(source), m_diagnostics(diagnostics), m_range(range), m_progress(std::move(progress))
    {
    }

    /// Of the only frame, this call alone is kept, counted from 1, and what it depends on; the frame ends after it. The
    /// state at the call is that in front of it, and not of the frame's start.
    void SetCall(std::uint32_t call) { m_call = call; }
    /// Other files will go on where the output ends: it keeps the stacks too from which only their calls may come.
    void SetContinued() { m_isContinued = true; }
    /// The first pass. False when the capture ends too early, which was reported.
    bool Analyse(Replay::LiveReplay& replay);
    /// The second pass, after which `header` has the number of calls and the time at which the first frame began. False
    /// when the capture ends too early. Trouble with the output shows in the writer.
    bool Write(Data::CaptureWriter& writer, Data::CaptureHeader& header);

    /// What the output lacks, in words.
    [[nodiscard]] const std::set<std::string>& Missing() const { return m_front.Missing(); }

private:
    void Analyse(const Data::RecordCursor& record, Replay::LiveReplay& replay);
    void WriteFrame(const Data::RecordCursor& record, RecordOutput& output);
    /// The only call, and the frame's end after it.
    void WriteCall(const Data::RecordCursor& record, RecordOutput& output);
    /// Calls that had not returned; they get their numbers here.
    void WriteUnfinished(const Data::RecordCursor& record, RecordOutput& output) const;

    Data::CaptureSource& m_source;
    Data::Diagnostics& m_diagnostics;
    Util::FrameRange m_range;
    std::function<void(std::uint32_t)> m_progress;
    bool m_isContinued = false;
    /// 0: all of the frames.
    std::uint32_t m_call = 0;
    /// The record of that call.
    std::optional<OutputCall> m_only;
    bool m_isCallWritten = false;
    FrontState m_front;
    /// A call as it was before replay wrote to it.
    std::vector<std::uint8_t> m_record;
};

} // namespace Trim
