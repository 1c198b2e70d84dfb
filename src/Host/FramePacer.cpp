#include "Host/FramePacer.h"

#include "Host/ReplayWindows.h"
#include "Interfaces/Core.h"

namespace Host {

namespace {

// A function in the table has no object to ask.
FramePacer* pacer = nullptr;
decltype(Core::EGLProcTable::eglSwapInterval) driverSwapInterval = nullptr;
decltype(Core::EGLProcTable::eglSwapBuffers) driverSwapBuffers = nullptr;

EGLBoolean EGLAPIENTRY SwapInterval(EGLDisplay display, EGLint interval)
{
    pacer->SetInterval(interval);
    return driverSwapInterval(display, 0);
}

EGLBoolean EGLAPIENTRY SwapBuffers(EGLDisplay display, EGLSurface surface)
{
    // The interval belongs to the current surface, so it is set at each swap: a capture may have several.
    driverSwapInterval(display, 0);
    pacer->BeforeSwap();
    return driverSwapBuffers(display, surface);
}

} // namespace

FramePacer::FramePacer(ReplayWindows& windows) : m_windows(windows)
{
    using Core::KHRLayer;
    driverSwapInterval = KHRLayer::EGLProc().eglSwapInterval;
    driverSwapBuffers = KHRLayer::EGLProc().eglSwapBuffers;
    if (driverSwapInterval && driverSwapBuffers) {
        pacer = this;
        KHRLayer::Replace(&Core::EGLProcTable::eglSwapInterval, SwapInterval);
        KHRLayer::Replace(&Core::EGLProcTable::eglSwapBuffers, SwapBuffers);
    }
}

FramePacer::~FramePacer()
{
    // Unless the tables were freed meanwhile.
    if (pacer == this && Core::KHRLayer::EGLProc().eglSwapBuffers == SwapBuffers) {
        Core::KHRLayer::Replace(&Core::EGLProcTable::eglSwapInterval, driverSwapInterval);
        Core::KHRLayer::Replace(&Core::EGLProcTable::eglSwapBuffers, driverSwapBuffers);
    }
}

void FramePacer::BeforeSwap()
{
    if (m_interval > 0) {
        m_windows.GetActiveWindow()->WaitForFrame(PatienceWhenHidden);
    }
}

} // namespace Host
