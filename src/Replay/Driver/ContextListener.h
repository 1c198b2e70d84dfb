#pragma once

#include <EGL/egl.h>

namespace Replay {

/// Hears what becomes of the contexts of the driver, whoever asks for it: calls of the capture, its threads taking
/// turns, or the engine.
class ContextListener {
public:
    virtual ~ContextListener() = default;

    /// In front of a call that makes this context current, or none (EGL_NO_CONTEXT). It may fail.
    virtual void BeforeSwitch(EGLContext next) = 0;
    /// In front of a call that destroys the context, which may be current.
    virtual void BeforeDestroy(EGLContext context) = 0;
};

} // namespace Replay
