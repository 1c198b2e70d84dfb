// Where frames end: at swaps, or at what programs do instead that never swap.
//
// Where nobody said how, it is looked for. Calls that come after something was drawn are marked as possible ends; the
// first kind that comes often enough ends the frames, from its first mark on. A window, or a swap, says that frames end
// at swaps, also when they ended otherwise before. The reader of the channel keeps back what follows the first mark
// until that is decided; at the end of the program, the kind that came most often decides.
#pragma once

#include <cstdint>
#include <string_view>

#include "Recorder/Capture.h"
#include "Recorder/Context.h"
#include "Recorder/Platform.h"

namespace Recorder {

/// Takes what FrameEndVariable says. Before the capture runs.
void SetFrameEnd(std::string_view wanted);

/// A recorded call of this kind has returned.
void MayEndFrame(Context& context, Data::FrameEndKind kind) noexcept;
/// The same for a sync object of EGL, which may be no fence.
void MayEndFrameAtSync(EGLenum type) noexcept;
/// A negative length says that the text ends at its terminator.
void MayEndFrameAtMarker(Context& context, const char* text, std::int64_t length) noexcept;

/// The program is about to bind or delete framebuffers: what it drew to so far is noted.
void BeforeFramebufferChange(Context& context) noexcept;

/// False where frames end otherwise whatever the program does.
[[nodiscard]] bool MaySwapsEndFrames() noexcept;
/// The program swaps, or has made a window surface, after which it will.
void ExpectSwaps(const Capturing& capturing) noexcept;

} // namespace Recorder
