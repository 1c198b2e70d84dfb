#include "Host/ReplayWindows.h"

#include <algorithm>
#include <utility>

#include "Host/WaylandConnection.h"

namespace Host {

ReplayWindows::ReplayWindows(WaylandConnection& connection, Style style)
    : m_connection(connection), m_style(std::move(style))
{
    m_connection.SetAfterEvents([this] {
        if (m_spare) {
            m_spare->KeepSize();
        }
        for (const auto& [id, window] : m_ofSurface) {
            window->KeepSize();
        }
    });
}

ReplayWindows::~ReplayWindows()
{
    m_connection.SetAfterEvents({});
}

bool ReplayWindows::Open()
{
    m_spare = NewWindow();
    m_active = m_spare.get();
    return m_active != nullptr;
}

std::unique_ptr<ReplayWindow> ReplayWindows::NewWindow()
{
    return ReplayWindow::Open(m_style.title, m_connection, m_style.captured, m_style.fixed, m_style.fullscreen);
}

Playback::Window* ReplayWindows::GetWindow(unsigned int id)
{
    const auto found = m_ofSurface.find(id);
    return found != m_ofSurface.end() ? found->second.get() : nullptr;
}

void ReplayWindows::AddWindow(unsigned int id)
{
    if (m_ofSurface.count(id) != 0) {
        return;
    }
    if (auto window = m_spare ? std::move(m_spare) : NewWindow()) {
        m_ofSurface.emplace(id, std::move(window));
    }
}

void ReplayWindows::RemoveWindow(unsigned int id)
{
    const auto found = m_ofSurface.find(id);
    if (found == m_ofSurface.end()) {
        return;
    }
    auto window = std::move(found->second);
    m_ofSurface.erase(found);
    if (m_ofSurface.empty()) {
        m_spare = std::move(window);
        m_active = m_spare.get();
    } else if (m_active == window.get()) {
        m_active = m_ofSurface.begin()->second.get();
    }
}

void ReplayWindows::ActivateWindow(unsigned int id)
{
    if (const auto found = m_ofSurface.find(id); found != m_ofSurface.end()) {
        m_active = found->second.get();
    }
}

ReplayWindow* ReplayWindows::GetActiveWindow()
{
    return m_active;
}

void ReplayWindows::ToggleFullscreen()
{
    if (m_active->IsFullscreen()) {
        m_active->ExitFullscreenState();
    } else {
        m_active->EnterFullscreenState();
    }
}

bool ReplayWindows::IsClosed() const
{
    return (m_spare && m_spare->IsClosed()) || std::any_of(m_ofSurface.begin(), m_ofSurface.end(),
                                                           [](const auto& entry) { return entry.second->IsClosed(); });
}

} // namespace Host
