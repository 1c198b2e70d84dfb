// What can be told of a program by its file.
#pragma once

#include <string>

namespace Recorder {

/// Why the dynamic loader does not load the recorder into the program that `command` names, as a sentence about it with
/// advice; empty when the file shows no reason. For a script, that is its interpreter.
[[nodiscard]] std::string WhyNotLoaded(const std::string& command);

} // namespace Recorder
