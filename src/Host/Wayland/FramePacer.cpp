#include "Host/Wayland/FramePacer.h"

#include "Host/Wayland/ReplayWindows.h"
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

FramePacer::FramePacer(ReplayWindows& windows, std::optional<int> interval) : m_windows(windows), m_given(interval)
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
    // Each time the compositor shows what it has is one picture of the screen.
    for (int left = m_given.value_or(m_captured); left > 0; --left) {
        m_windows.Active().WaitForFrame(PatienceWhenHidden);
        if (left > 1)
            m_windows.Active().Commit();
    }
}

} // namespace Host
