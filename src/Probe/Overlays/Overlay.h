// What is laid over the picture of a draw: where its fragments went, and why.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "Probe/Contents/Contents.h"
#include "Probe/Replayer.h"

namespace Probe {

struct Overlay {
    /// Of "stencil8", in the size of what is drawn to. A pixel of "touched", "small", "wireframe" and "overdraw" has
    /// the number of fragments there, 255 at most; one of "depth", "stencil" and "scissor" has 1 where some passed and
    /// 2 where some failed, 3 for both.
    Contents pixels = {};
    /// What has to be known about it; may be empty.
    std::string note = {};
};

/// Of the draw that ToCall went to, which is drawn again into buffers of the probe's own: "touched", "small",
/// "wireframe", "depth", "stencil" or "scissor". `pixels` has a problem where it cannot be told, or for another kind.
/// All state is as before; pending errors are lost.
Overlay OverlayOf(Replayer& replayer, std::string_view kind);

/// Goes on from the start of a frame to call `last` of it, and adds up the fragments of all draws of the pass at its
/// end: since another framebuffer was drawn to, or another context drew.
Overlay Overdraw(Replayer& replayer, std::uint32_t last);

} // namespace Probe
