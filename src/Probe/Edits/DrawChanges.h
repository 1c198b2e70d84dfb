// Changes of GL state for one draw, by which one finds what its time goes into. All need a current context.
#pragma once

#include "Probe/Edits/Undo.h"

namespace Probe {

/// Of what is drawn, a square of pixels at the origin is left, or nothing with a side of 0.
void DrawOnlyCorner(Undo& undo, int side);
void DrawWithoutBlending(Undo& undo);

} // namespace Probe
