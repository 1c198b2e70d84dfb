#pragma once

#include <string>
#include <vector>

namespace Host {

/// Why nothing of a capture is drawn that a driver could draw, as sentences: what -thread names does nothing in it, or
/// it has no call of OpenGL ES. Empty when it is neither. Reads the whole file.
std::string WhyNothingIsDrawn(const std::string& captureFile, const std::vector<int>& threads);

} // namespace Host
