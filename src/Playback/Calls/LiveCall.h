// Calling the live driver, whose functions may be missing.
#pragma once

#include "Interfaces/Core.h"

namespace Playback {

/// The tables of the live driver as replay may use them: functions that are being skipped are null here.
inline constexpr const Core::EGLProcTable& LiveEGL = Core::KHRLayer::playbackEGLProcTable;
inline constexpr const Core::EGLExtProcTable& LiveEGLExt = Core::KHRLayer::playbackEGLExtProcTable;
inline constexpr const Core::GLESProcTable& LiveGLES = Core::KHRLayer::playbackGLESProcTable;
inline constexpr const Core::GLESExtProcTable& LiveGLESExt = Core::KHRLayer::playbackGLESExtProcTable;

/// Calls `function` with the arguments; yields 0 or null when the driver lacks it.
template <class Return, class... Parameters, class... Arguments>
Return CallLive(Return (*function)(Parameters...), Arguments... arguments)
{
    return function ? function(arguments...) : Return();
}

} // namespace Playback
