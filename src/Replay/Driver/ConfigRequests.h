#pragma once

#include <vector>

#include <EGL/egl.h>

namespace Replay {

/// The surfaces that captured windows become.
enum class SurfaceKind { Window, Pbuffer };

/// The request for configs of the platform that is replayed on, closed by EGL_NONE. The surfaceless platform has
/// configs for pbuffers only, so a wish for windows (which is also the default) or pixmaps becomes one for pbuffers
/// there. `attribs` may be null.
std::vector<EGLint> AdaptConfigRequest(const EGLint* attribs, SurfaceKind surfaces);

/// From now on every eglChooseConfig of the replay asks with AdaptConfigRequest, and gets the configs that have exactly
/// the sizes asked for in front: drivers sort deeper colours first, and the engine takes the first config where none
/// has all the captured attributes. Core::KHRLayer::LoadEGL must have run.
///
/// Where the driver has no config of the sizes asked for, each size that there is none of becomes the largest that
/// there is, those that show most before the others, unless the user chose a config with -config. Each such step is
/// told once in a replay.
void AdaptConfigRequests(SurfaceKind surfaces);

/// While it lives no step is told: what a captured program only looks for is not what its replay draws with.
class QuietConfigRequests {
public:
    QuietConfigRequests();
    ~QuietConfigRequests();
    QuietConfigRequests(const QuietConfigRequests&) = delete;
    QuietConfigRequests& operator=(const QuietConfigRequests&) = delete;
};

} // namespace Replay
