// Where the fragments of a draw end up, found by drawing it again into a framebuffer of the probe's own.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "Probe/Overlays/TestBuffers.h"

namespace Probe {

/// The tests that are left as the program has them; the other ones are off.
struct TestChoice {
    bool depth = true;
    bool stencil = true;
    bool scissor = true;
};

/// For each pixel, from the bottom row up, how many fragments it got; 255 stands for more too.
struct FragmentCounts {
    std::vector<std::uint8_t> pixels = {};
    /// Where the driver could not count them, a pixel has 1 for any number of fragments.
    bool isCounted = true;
    /// Why there are none; empty otherwise.
    std::string problem = {};
};

/// Fragments are counted in the stencil buffer, by the program's own shaders, so that those are not counted that they
/// discard. Where the stencil test is to be as the program has it, a colour buffer is painted instead, which tells
/// pixels that got any. The copied depth and stencil are in front of each count as they were in front of the draw.
class FragmentCounter {
public:
    /// `before` and `draw` are borrowed; `draw` has the driver draw, and answers why it did not, empty where it did.
    FragmentCounter(const TestBuffers& before, std::function<std::string()> draw)
        : m_before(before), m_draw(std::move(draw))
    {
    }

    /// Those that pass all of the tests. All GL state is put back; pending errors are lost.
    [[nodiscard]] FragmentCounts Passed(const TestChoice& tests) const;
    /// Those that the depth test throws away, which can be told where the stencil test is off.
    [[nodiscard]] FragmentCounts FailedDepth() const;
    /// Fragments can be counted with the stencil test as it is.
    [[nodiscard]] bool CanCount() const;

private:
    enum class Counted : std::uint8_t { Passed, FailedDepth };
    [[nodiscard]] FragmentCounts InStencil(const TestChoice& tests, Counted counted) const;
    [[nodiscard]] FragmentCounts InColor(const TestChoice& tests) const;

    const TestBuffers& m_before;
    std::function<std::string()> m_draw;
};

} // namespace Probe
