#include "Host/Wayland/ReplayWindows.h"

#include <algorithm>
#include <utility>

#include "Host/Wayland/WaylandConnection.h"

namespace Host {

std::unique_ptr<ReplayWindows> ReplayWindows::Open(WaylandConnection& connection, Style style)
{
    auto first = ReplayWindow::Open(style.title, connection, style.fixed);
    if (!first)
        return nullptr;
    // Not make_unique: the constructor is private.
    return std::unique_ptr<ReplayWindows>(new ReplayWindows(connection, std::move(style), std::move(first)));
}

ReplayWindows::ReplayWindows(WaylandConnection& connection, Style style, std::unique_ptr<ReplayWindow> first)
    : SingleWindowManager(&first->Window()), m_connection(connection), m_style(std::move(style)),
      m_spare(std::move(first)), m_active(m_spare.get())
{
    m_connection.SetAfterEvents([this] {
        if (m_spare)
            m_spare->KeepSize();
        for (const auto& [id, window] : m_ofSurface)
            window->KeepSize();
    });
}

ReplayWindows::~ReplayWindows()
{
    m_connection.SetAfterEvents({});
}

ReplayWindow* ReplayWindows::Find(unsigned int id) const
{
    if (m_style.isSingle)
        return m_active;
    const auto found = m_ofSurface.find(id);
    return found != m_ofSurface.end() ? found->second.get() : nullptr;
}

void ReplayWindows::Use(ReplayWindow& window)
{
    m_active = &window;
    m_window = &window.Window();
}

Playback::Window* ReplayWindows::GetWindow(unsigned int id)
{
    const ReplayWindow* window = Find(id);
    return window ? &window->Window() : nullptr;
}

void ReplayWindows::AddWindow(unsigned int id)
{
    if (Find(id))
        return;
    if (auto window = m_spare ? std::move(m_spare) : ReplayWindow::Open(m_style.title, m_connection, m_style.fixed))
        m_ofSurface.emplace(id, std::move(window));
}

void ReplayWindows::RemoveWindow(unsigned int id)
{
    auto removed = m_ofSurface.extract(id);
    if (!removed)
        return;
    if (m_ofSurface.empty()) {
        m_spare = std::move(removed.mapped());
        Use(*m_spare);
    } else if (m_active == removed.mapped().get()) {
        Use(*m_ofSurface.begin()->second);
    }
}

void ReplayWindows::ActivateWindow(unsigned int id)
{
    if (ReplayWindow* window = Find(id))
        Use(*window);
}

void ReplayWindows::Resize(unsigned int id, PixelSize captured)
{
    if (ReplayWindow* window = Find(id))
        window->Resize(captured);
}

bool ReplayWindows::IsClosed() const
{
    return (m_spare && m_spare->IsClosed()) ||
           std::any_of(
               m_ofSurface.begin(), m_ofSurface.end(), [](const auto& entry) { return entry.second->IsClosed(); });
}

} // namespace Host
