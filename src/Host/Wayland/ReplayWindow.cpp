#include "Host/Wayland/ReplayWindow.h"

#include <wayland-client.h>
#include <wayland-egl.h>

#include "Host/Wayland/WaylandConnection.h"
#include "Host/Wayland/XdgWindow.h"
#include "Playback/PlaybackSettings.h"

namespace Host {

std::unique_ptr<ReplayWindow> ReplayWindow::Open(const std::string& title, WaylandConnection& connection,
                                                 PixelSize fixed)
{
    // Not make_unique: the constructor is private.
    std::unique_ptr<ReplayWindow> window(new ReplayWindow(connection, fixed));
    Playback::WaylandWindow::CreateParams params = {title.c_str(), &window->m_record.display, &connection};
    window->m_window.reset(connection.StableShell() ? XdgWindow::CreateNewWindow(&params)
                                                    : Playback::WaylandWindow::CreateNewWindow(&params));
    return window->m_record.state.eglWindow && connection.Roundtrip() ? std::move(window) : nullptr;
}

ReplayWindow::ReplayWindow(WaylandConnection& connection, PixelSize fixed)
    : m_connection(connection), m_record(connection.Globals()), m_fixed(fixed)
{
    // Before the first configure event, which gives a window without a size of the compositor's the last one it had.
    const Playback::PlaybackEnvironment& settings = *Playback::PlaybackEnvironment::Instance();
    RememberSize(
        {static_cast<unsigned int>(settings.m_windowWidth), static_cast<unsigned int>(settings.m_windowHeight)});
}

ReplayWindow::~ReplayWindow()
{
    ForgetFrame();
}

void ReplayWindow::Resize(PixelSize captured)
{
    const PixelSize size = {m_fixed.width ? m_fixed.width : captured.width,
                            m_fixed.height ? m_fixed.height : captured.height};
    if (size.width != 0 && size.height != 0) {
        RememberSize(size);
        wl_egl_window_resize(m_record.state.eglWindow, static_cast<int>(size.width), static_cast<int>(size.height), 0,
                             0);
    }
}

void ReplayWindow::KeepSize()
{
    if (m_record.state.width != m_size.width || m_record.state.height != m_size.height)
        Resize(m_size);
}

void ReplayWindow::WaitForFrame(std::chrono::milliseconds patience)
{
    const auto end = std::chrono::steady_clock::now() + patience;
    while (m_frame) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        if (left.count() <= 0 || !m_connection.Dispatch(left))
            break;
    }
    ForgetFrame();
    static constexpr wl_callback_listener Listener = {
        [](void* self, wl_callback*, std::uint32_t) { static_cast<ReplayWindow*>(self)->ForgetFrame(); },
    };
    // Goes to the compositor with the driver's next commit.
    m_frame = wl_surface_frame(m_record.state.surface);
    wl_callback_add_listener(m_frame, &Listener, this);
}

void ReplayWindow::Commit()
{
    wl_surface_commit(m_record.state.surface);
}

bool ReplayWindow::IsClosed() const
{
    const auto* window = dynamic_cast<const XdgWindow*>(m_window.get());
    return window && window->IsClosed();
}

void ReplayWindow::ToggleFullscreen()
{
    if (m_window->IsFullscreen())
        m_window->ExitFullscreenState();
    else
        m_window->EnterFullscreenState();
}

void ReplayWindow::ForgetFrame()
{
    if (m_frame) {
        wl_callback_destroy(m_frame);
        m_frame = nullptr;
    }
}

void ReplayWindow::RememberSize(PixelSize size)
{
    m_size = size;
    m_record.state.width = m_record.state.savedWidth = size.width;
    m_record.state.height = m_record.state.savedHeight = size.height;
}

} // namespace Host
