#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Util/FrameRange.h"

namespace Host {

/// A set of frames, counted from 1.
class FrameSet {
public:
    void Add(Util::FrameRange range) { m_ranges.push_back(range); }
    /// Every frame whose number is a multiple of `interval`, which is above 0.
    void AddEvery(std::uint32_t interval) { m_intervals.push_back(interval); }

    [[nodiscard]] bool IsEmpty() const { return m_ranges.empty() && m_intervals.empty(); }
    /// The smallest one above `frame`; 0 when there is none.
    [[nodiscard]] std::uint32_t FirstAfter(std::uint32_t frame) const;

private:
    std::vector<Util::FrameRange> m_ranges;
    std::vector<std::uint32_t> m_intervals;
};

/// The value of -screenshots, as far as the engine and the host can do what it says.
struct ScreenshotChoice {
    /// As it was given.
    std::string value;
    /// What is wrong with the value and what to write instead, as the end of a sentence; empty when it is fine.
    std::string fault;
    /// Of whole frames all that are asked for; empty where pictures of draws are.
    FrameSet frames;
    /// The frame whose draws are asked for, and the first of them; 0 for none.
    std::uint32_t drawFrame = 0;
    std::uint32_t firstDraw = 0;
    /// What the engine takes for the same. Of a list, which it has no words for, the host must see to the frames.
    std::string engineValue;
    bool isList = false;
};

/// Reads "" (all frames), frames N, A-B, A- and N*, lists of these with commas between them, and draws F:A-B, F:A- and
/// F: of one frame.
ScreenshotChoice ParseScreenshots(const std::string& value);

} // namespace Host
