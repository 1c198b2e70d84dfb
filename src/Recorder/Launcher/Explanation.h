// Why nothing was recorded, and what to do about it.
#pragma once

#include <string>
#include <vector>

#include "Recorder/Launcher/ProcessReports.h"
#include "Recorder/Launcher/Recording.h"

namespace Recorder {

/// Sentences for the user, in several lines. Of a program that ran, or of those that others started, of which there is
/// no OpenGL ES call.
[[nodiscard]] std::string WhyNothingRecorded(const RecordingOptions& options, const ProgramEnd& end,
                                             const std::vector<ProcessReport>& reports);

/// "NAME was killed by SIGSEGV.", also where a shell says so of what it ran; empty when it ended otherwise.
[[nodiscard]] std::string HowItDied(const std::string& command, const ProgramEnd& end);

} // namespace Recorder
