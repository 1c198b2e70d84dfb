#pragma once

#include "Playback/Windows/WindowManager.h"

namespace Playback {

/// Shows every captured surface in one window, which the host makes and owns. The window outlives this object or is
/// replaced by one that does.
class SingleWindowManager : public WindowManager {
public:
    explicit SingleWindowManager(Window* window) : m_window(window) {}

    Window* GetWindow(unsigned int id) override;
    void AddWindow(unsigned int id) override;
    void RemoveWindow(unsigned int id) override;
    void ActivateWindow(unsigned int id) override;
    Window* GetActiveWindow() override;
    Window* CreateNewWindow() override;
    void DestroyWindow(Window* window) override;

protected:
    Window* m_window;
};

} // namespace Playback
