// How playback-record, or who starts a service, tells the library what to do: by environment variables, which child
// processes inherit. The manual page of playback-record has them.
#pragma once

#include <string_view>

namespace Recorder {

inline constexpr char CaptureEnding[] = ".glcap";
/// Of the folder beside a process's capture that holds what parts are cut out of.
inline constexpr char SpoolEnding[] = ".spool";

/// Folder for the captures, absolute: each process has NAME.PID.glcap there. Without it, the working directory.
inline constexpr char FolderVariable[] = "PLAYBACK_RECORD_FOLDER";
/// Set: hash each frame; decimal: from that one on.
inline constexpr char HashVariable[] = "PLAYBACK_RECORD_HASH";
/// Set: with the one above, hash what each draw, clear and the like has drawn to as well.
inline constexpr char HashDrawsVariable[] = "PLAYBACK_RECORD_HASH_DRAWS";
/// Decimal: end the capture and the program after so many frames.
inline constexpr char FramesVariable[] = "PLAYBACK_RECORD_FRAMES";
/// Set: programs do not see that there is desktop OpenGL.
inline constexpr char PreferEsVariable[] = "PLAYBACK_RECORD_PREFER_ES";
/// Which calls to record the stacks of, one of the two below. Unset: of none.
inline constexpr char StacksVariable[] = "PLAYBACK_RECORD_STACKS";
inline constexpr char StacksOfDraws[] = "draws";
inline constexpr char StacksOfAll[] = "all";

/// Stacks are taken with it where it is there.
inline constexpr char UnwindLibrary[] = "libunwind.so.8";
/// What ends frames: one of Data::FrameEndWords; after "marker" there may be a colon and the text of the markers that
/// are meant. Without it, or with "auto", the library looks for it.
inline constexpr char FrameEndVariable[] = "PLAYBACK_RECORD_FRAME_END";
inline constexpr std::string_view FrameEndAuto = "auto";

} // namespace Recorder
