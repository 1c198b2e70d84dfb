// The way of records from a channel to the capture, on which they wait while it is not known whether a frame ends.
#pragma once

#include <array>
#include <cstdint>
#include <iterator>
#include <memory>
#include <optional>
#include <vector>

#include "Data/Capture/CaptureWriter.h"
#include "Recorder/Channel/Layout.h"

namespace Recorder {

/// Writes records, and keeps back those after a FrameMark until a FrameDecision comes.
class UndecidedFrames {
public:
    /// `writer` may become another one, whose thread is then the last that was set.
    explicit UndecidedFrames(const std::unique_ptr<Data::CaptureWriter>& writer) : m_writer(writer) {}

    // As CaptureWriter's.
    void SetThread(std::uint32_t thread);
    void Copy(const std::uint8_t* record);
    void CopyAll(const std::uint8_t* records, std::uint64_t bytes);
    void FrameEnd(std::uint64_t timeUs);

    void Mark(const FrameMark& mark);
    /// At most `frames` marks end frames.
    void Decide(Data::FrameEndKind end, std::uint32_t frames);
    /// Nothing follows that could decide: the kind that was marked most often does.
    void DecideByMarks();
    /// Frames that were written.
    [[nodiscard]] std::uint32_t Frames() const { return m_frames; }
    /// The last frame was ended without a swap.
    [[nodiscard]] bool HasDrawnFrames() const { return m_hasDrawnFrames; }

private:
    [[nodiscard]] Data::FrameEndKind MostMarked() const;
    void KeepThread();
    void Keep(const void* records, std::uint64_t bytes);
    void EndMarkedFrame(const FrameMark& mark);

    const std::unique_ptr<Data::CaptureWriter>& m_writer;
    std::uint32_t m_thread = 1;
    std::uint32_t m_frames = 0;
    /// From the thread of the first mark on; empty while nothing is kept back.
    std::vector<std::uint8_t> m_kept;
    /// Marks in it, by kind.
    std::array<std::uint32_t, std::size(Data::FrameEndWords)> m_marks = {};
    /// The kind that was marked most often, where that had to decide.
    std::optional<Data::FrameEndKind> m_early;
    bool m_hasDrawnFrames = false;
};

} // namespace Recorder
