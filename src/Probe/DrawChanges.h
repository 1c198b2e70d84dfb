// Changes of GL state for one draw, by which one finds what its time goes into. All need a current context.
#pragma once

#include "Probe/Undo.h"

namespace Probe {

/// One pixel, that at the origin, is left of what is drawn.
void DrawOnePixel(Undo& undo);
void DrawWithoutBlending(Undo& undo);

} // namespace Probe
