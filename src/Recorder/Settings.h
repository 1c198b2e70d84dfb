// How playback-record tells the library what to do: by environment variables, which child processes inherit.
#pragma once

namespace Recorder {

/// Path of the capture, absolute. Without it, the program's name and ".glcap" in the working directory.
inline constexpr char fileVariable[] = "PLAYBACK_RECORD_FILE";
/// Set: hash each frame.
inline constexpr char hashVariable[] = "PLAYBACK_RECORD_HASH";
/// Decimal: end the capture and the program after so many frames.
inline constexpr char framesVariable[] = "PLAYBACK_RECORD_FRAMES";

} // namespace Recorder
