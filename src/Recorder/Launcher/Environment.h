// The environment of recorded programs.
#pragma once

#include <string>
#include <vector>

#include "Recorder/Launcher/Recording.h"

namespace Recorder {

struct Variable {
    const char* name;
    /// Empty: it is not set.
    std::string value;
};

/// What the recorder's library needs, LD_PRELOAD among it.
[[nodiscard]] std::vector<Variable> RecordingVariables(const RecordingOptions& options);

/// What lets toolkits draw with OpenGL ES that do not look for it when they find no desktop OpenGL. Empty where that is
/// not wanted.
[[nodiscard]] std::vector<Variable> ToolkitVariables(const RecordingOptions& options);

/// Sets all of them in this process, for its children. Other libraries stay preloaded, and toolkits are told what the
/// user has told them.
void SetEnvironment(const RecordingOptions& options);

} // namespace Recorder
