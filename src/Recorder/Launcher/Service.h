// Recording what others start.
#pragma once

#include "Recorder/Launcher/Recording.h"

namespace Recorder {

/// Writes the captures of all programs that are started with the variables of a recording in `options.folder`, which is
/// made if it is missing, until a signal ends that; then tells of them. Prints the variables first. Answers the exit
/// status.
[[nodiscard]] int Serve(RecordingOptions options);

} // namespace Recorder
