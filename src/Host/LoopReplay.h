#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "Data/Capture/CaptureFile.h"
#include "Util/FrameRange.h"

namespace Trim {
class LoopStart;
}

namespace Host {

class Engine;

/// Begins the passes of a loop after the first one where the loop begins, with the state that was there in the first
/// one, in the same engine.
class LoopReplay {
public:
    /// Looks at the frames of the loop, which do not begin with the first one of the capture. Null with a reason where
    /// they do something that cannot be undone.
    static std::unique_ptr<LoopReplay> Find(const std::string& file, Util::FrameRange frames, std::string& reason);
    ~LoopReplay();
    LoopReplay(const LoopReplay&) = delete;
    LoopReplay& operator=(const LoopReplay&) = delete;

    /// So many frames were replayed: the loop comes next.
    [[nodiscard]] bool IsAtStart(std::uint32_t frames) const { return frames + 1 == m_first; }
    /// Keeps what is needed of the state, at the start of the loop. Empty where that went well, else the reason.
    [[nodiscard]] std::string Keep(Data::CaptureFile& capture, Engine& engine);
    [[nodiscard]] bool IsKept() const { return m_isKept; }
    /// From the end of the loop back to its start.
    void Restore(Data::CaptureFile& capture, Engine& engine) const;

private:
    LoopReplay(std::unique_ptr<Trim::LoopStart> start, std::uint32_t first);

    std::unique_ptr<Trim::LoopStart> m_start;
    std::uint32_t m_first;
    Data::FrameProcessor::Place m_place;
    bool m_isKept = false;
};

} // namespace Host
