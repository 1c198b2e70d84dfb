#pragma once

#include <optional>

#include "Trim/Track/DrawingTracker.h"

namespace Trim {

/// What the program in use of the live driver looks into. Nothing where that is not known: without a program in use,
/// there may be a pipeline of several.
[[nodiscard]] std::optional<ProgramReads> FindProgramReads();

} // namespace Trim
