#pragma once

#include <vector>

#include <EGL/egl.h>

namespace Host {

/// The surfaces that captured windows become.
enum class SurfaceKind { Window, Pbuffer };

/// The request for configs of the platform that is replayed on, closed by EGL_NONE. The surfaceless platform has
/// configs for pbuffers only, so a wish for windows (which is also the default) or pixmaps becomes one for pbuffers
/// there. `attribs` may be null.
std::vector<EGLint> AdaptConfigRequest(const EGLint* attribs, SurfaceKind surfaces);

/// From now on every eglChooseConfig of the replay asks with AdaptConfigRequest, and gets the configs that have exactly
/// the sizes asked for in front: drivers sort deeper colours first, and the engine takes the first config where none
/// has all the captured attributes. Core::KHRLayer::LoadEGL must have run.
void AdaptConfigRequests(SurfaceKind surfaces);

} // namespace Host
