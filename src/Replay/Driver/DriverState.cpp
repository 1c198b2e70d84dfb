#include "Replay/Driver/DriverState.h"

#include <memory>
#include <unordered_map>

#include "Replay/Driver/ContextListener.h"
#include "Replay/Driver/DriverContext.h"

namespace Replay {

namespace {

// Functions in the tables have no object to ask.

/// The driver's own functions, where the tables have those that follow.
Core::GLESProcTable driverGLES = {};
Core::GLESExtProcTable driverGLESExt = {};
decltype(Core::EGLProcTable::eglCreateContext) driverCreateContext = nullptr;
decltype(Core::EGLProcTable::eglDestroyContext) driverDestroyContext = nullptr;
decltype(Core::EGLProcTable::eglMakeCurrent) driverMakeCurrent = nullptr;
decltype(Core::EGLProcTable::eglReleaseThread) driverReleaseThread = nullptr;

/// By the driver's handle. A handle stays in use while the context is current somewhere; one that is given anew
/// replaces what it stood for.
std::unordered_map<EGLContext, std::unique_ptr<DriverContext>>* contexts = nullptr;
DriverContext* current = nullptr;
Data::ContextState* currentState = nullptr;
ContextListener* contextListener = nullptr;

/// Puts `follow` into a table, and keeps the function that was there.
template <class Function> void Follow(Function& entry, Function& driver, Function follow)
{
    if (entry && entry != follow) {
        driver = entry;
        entry = follow;
    }
}

#include "Replay/DriverCalls.inc"

void AdaptTables(Core::GLESProcTable& core, Core::GLESExtProcTable& ext)
{
    AdaptGLES(core);
    AdaptGLESExt(ext);
}

void SetCurrent(EGLContext context)
{
    current = nullptr;
    if (context != EGL_NO_CONTEXT && contexts) {
        std::unique_ptr<DriverContext>& state = (*contexts)[context];
        // Made before anyone followed.
        if (!state)
            state = std::make_unique<DriverContext>(std::make_shared<Data::ShareGroupState>());
        current = state.get();
    }
    currentState = current ? &current->state : nullptr;
}

EGLContext EGLAPIENTRY CreateContext(EGLDisplay display, EGLConfig config, EGLContext share, const EGLint* attribs)
{
    EGLContext const context = driverCreateContext(display, config, share, attribs);
    if (context == EGL_NO_CONTEXT || !contexts)
        return context;
    const auto sharing = contexts->find(share);
    auto group =
        sharing != contexts->end() ? sharing->second->state.Group() : std::make_shared<Data::ShareGroupState>();
    std::unique_ptr<DriverContext>& state = (*contexts)[context];
    const bool isCurrent = state && state.get() == current;
    state = std::make_unique<DriverContext>(std::move(group));
    if (Data::IsFirstVersion(attribs))
        state->state.UseFixedFunctions();
    if (isCurrent)
        SetCurrent(context);
    return context;
}

EGLBoolean EGLAPIENTRY MakeCurrent(EGLDisplay display, EGLSurface draw, EGLSurface read, EGLContext context)
{
    if (contextListener)
        contextListener->BeforeSwitch(context);
    const EGLBoolean result = driverMakeCurrent(display, draw, read, context);
    if (result == EGL_TRUE)
        SetCurrent(context);
    return result;
}

EGLBoolean EGLAPIENTRY DestroyContext(EGLDisplay display, EGLContext context)
{
    if (contextListener)
        contextListener->BeforeDestroy(context);
    return driverDestroyContext(display, context);
}

EGLBoolean EGLAPIENTRY ReleaseThread()
{
    if (contextListener)
        contextListener->BeforeSwitch(EGL_NO_CONTEXT);
    const EGLBoolean result = driverReleaseThread();
    SetCurrent(EGL_NO_CONTEXT);
    return result;
}

template <class Function>
void FollowEGL(Function Core::EGLProcTable::*entry, Function& driver, std::type_identity_t<Function> follow)
{
    const Function function = Core::KHRLayer::EGLProc().*entry;
    if (function && function != follow) {
        driver = function;
        Core::KHRLayer::Replace(entry, follow);
    }
}

} // namespace

DriverState::DriverState()
{
    contexts = new std::unordered_map<EGLContext, std::unique_ptr<DriverContext>>;
    FollowEGL(&Core::EGLProcTable::eglCreateContext, driverCreateContext, CreateContext);
    FollowEGL(&Core::EGLProcTable::eglDestroyContext, driverDestroyContext, DestroyContext);
    FollowEGL(&Core::EGLProcTable::eglMakeCurrent, driverMakeCurrent, MakeCurrent);
    FollowEGL(&Core::EGLProcTable::eglReleaseThread, driverReleaseThread, ReleaseThread);
    Core::KHRLayer::AdaptGLESTables(AdaptTables);
}

DriverState::~DriverState()
{
    SetCurrent(EGL_NO_CONTEXT);
    delete contexts;
    contexts = nullptr;
    contextListener = nullptr;
}

Data::ContextState* const* DriverState::Current()
{
    return &currentState;
}

void DriverState::SetListener(ContextListener* listener)
{
    contextListener = listener;
}

} // namespace Replay
