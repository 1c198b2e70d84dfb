#include "Host/ReplayWindow.h"

#include <wayland-client.h>
#include <wayland-egl.h>

#include "Host/WaylandConnection.h"
#include "Host/XdgWindow.h"

namespace Host {

namespace {

constexpr PixelSize DefaultSize = {640, 480};

unsigned int Choose(unsigned int fixed, unsigned int captured, unsigned int otherwise)
{
    return fixed ? fixed : captured ? captured : otherwise;
}

} // namespace

std::unique_ptr<ReplayWindow> ReplayWindow::Open(const std::string& title, WaylandConnection& connection,
                                                 PixelSize captured, PixelSize fixed, bool fullscreen)
{
    std::unique_ptr<ReplayWindow> window;
    if (connection.StableShell()) {
        window = std::make_unique<XdgWindow>(title, connection, fixed);
    } else {
        window = std::make_unique<ReplayWindow>(title, connection, fixed);
    }
    const unsigned int width = Choose(fixed.width, captured.width, DefaultSize.width);
    const unsigned int height = Choose(fixed.height, captured.height, DefaultSize.height);
    if (!window->Create(width, height, fullscreen)) {
        return nullptr;
    }
    return window;
}

ReplayWindow::ReplayWindow(const std::string& title, WaylandConnection& connection, PixelSize fixed)
    : WindowRecord(connection.Globals()), WaylandWindow(title, &display, nullptr), m_connection(connection),
      m_fixed(fixed)
{
}

ReplayWindow::~ReplayWindow()
{
    ForgetFrame();
}

bool ReplayWindow::Create(unsigned int width, unsigned int height, bool fullscreen)
{
    // Before the first configure event, which gives a window without a size of the compositor's the last one it had.
    RememberSize({width, height});
    if (!WaylandWindow::Create(width, height, fullscreen)) {
        return false;
    }
    // A shell announces how it would like the window after a commit without a buffer; no frame may come before that.
    wl_surface_commit(m_state->surface);
    do {
        if (!m_connection.Roundtrip()) {
            return false;
        }
    } while (!IsConfigured());
    return true;
}

void ReplayWindow::EnqueueResizeRequest(unsigned int width, unsigned int height)
{
    WaylandWindow::EnqueueResizeRequest(width, height);
    if (width != 0 && height != 0) {
        Resize(width, height);
    }
}

void ReplayWindow::Resize(unsigned int width, unsigned int height)
{
    const PixelSize size = {Choose(m_fixed.width, width, width), Choose(m_fixed.height, height, height)};
    RememberSize(size);
    wl_egl_window_resize(m_state->eglWindow, static_cast<int>(size.width), static_cast<int>(size.height), 0, 0);
}

void ReplayWindow::KeepSize()
{
    if (m_state->eglWindow && (m_state->width != m_size.width || m_state->height != m_size.height)) {
        Resize(m_size.width, m_size.height);
    }
}

void ReplayWindow::WaitForFrame(std::chrono::milliseconds patience)
{
    const auto end = std::chrono::steady_clock::now() + patience;
    while (m_frame) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        if (left.count() <= 0 || !m_connection.Dispatch(left)) {
            break;
        }
    }
    ForgetFrame();
    static constexpr wl_callback_listener Listener = {
        [](void* self, wl_callback*, std::uint32_t) { static_cast<ReplayWindow*>(self)->ForgetFrame(); },
    };
    // Goes to the compositor with the driver's next commit.
    m_frame = wl_surface_frame(m_state->surface);
    wl_callback_add_listener(m_frame, &Listener, this);
}

void ReplayWindow::Commit()
{
    wl_surface_commit(m_state->surface);
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
    m_state->width = m_state->savedWidth = size.width;
    m_state->height = m_state->savedHeight = size.height;
}

void ReplayWindow::SendTitle(const std::string& text)
{
    if (m_state->shellSurface) {
        wl_shell_surface_set_title(m_state->shellSurface, text.c_str());
    } else {
        WaylandWindow::SendTitle(text);
    }
}

} // namespace Host
