#include "Host/FramePacer.h"

#include <wayland-client.h>

#include "Host/WaylandConnection.h"
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

FramePacer::FramePacer(WaylandConnection& connection, wl_surface* surface)
    : m_connection(connection), m_surface(surface)
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
    ForgetFrame();
    // Unless the tables were freed meanwhile.
    if (pacer == this && Core::KHRLayer::EGLProc().eglSwapBuffers == SwapBuffers) {
        Core::KHRLayer::Replace(&Core::EGLProcTable::eglSwapInterval, driverSwapInterval);
        Core::KHRLayer::Replace(&Core::EGLProcTable::eglSwapBuffers, driverSwapBuffers);
    }
}

void FramePacer::BeforeSwap()
{
    if (m_interval <= 0) {
        return;
    }
    WaitForFrame();
    ForgetFrame();
    static constexpr wl_callback_listener Listener = {
        [](void* self, wl_callback*, std::uint32_t) { static_cast<FramePacer*>(self)->ForgetFrame(); },
    };
    // Goes to the compositor with the driver's next commit.
    m_frame = wl_surface_frame(m_surface);
    wl_callback_add_listener(m_frame, &Listener, this);
}

void FramePacer::WaitForFrame()
{
    const auto end = std::chrono::steady_clock::now() + PatienceWhenHidden;
    while (m_frame) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        if (left.count() <= 0 || !m_connection.Dispatch(left)) {
            return;
        }
    }
}

void FramePacer::ForgetFrame()
{
    if (m_frame) {
        wl_callback_destroy(m_frame);
        m_frame = nullptr;
    }
}

} // namespace Host
