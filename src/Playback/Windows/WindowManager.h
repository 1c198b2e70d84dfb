#pragma once

#include <map>

namespace Playback {

class Window;

/// Windows by the captured name of their EGL surface. Owned by the host. Replay thread only.
class WindowManager {
public:
    virtual ~WindowManager();

    /// Null when surface `id` has no window.
    virtual Window* GetWindow(unsigned int id) = 0;
    virtual void AddWindow(unsigned int id) = 0;
    virtual void RemoveWindow(unsigned int id) = 0;
    virtual void ActivateWindow(unsigned int id) = 0;
    /// The window activated last; null when there is none.
    virtual Window* GetActiveWindow() = 0;
    /// Null when the manager makes no windows of its own.
    virtual Window* CreateNewWindow() = 0;
    virtual void DestroyWindow(Window* window) = 0;

protected:
    /// Not owned: a manager that makes windows destroys them itself.
    std::map<unsigned int, Window*> m_windows;
};

} // namespace Playback
