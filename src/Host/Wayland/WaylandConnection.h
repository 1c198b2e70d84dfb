#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Host/Commands.h"
#include "Host/Wayland/Keyboard.h"
#include "Playback/Windows/Display.h"

struct xdg_wm_base;

namespace Host {

/// The connection to a compositor with the globals that a window needs. Must outlive the window. Replay thread only.
class WaylandConnection {
public:
    /// Null, with the reason in `why`, when there is no compositor or none that shows windows of programs like this
    /// one.
    static std::unique_ptr<WaylandConnection> Open(std::string& why);
    ~WaylandConnection();
    WaylandConnection(const WaylandConnection&) = delete;
    WaylandConnection& operator=(const WaylandConnection&) = delete;

    /// Sends what is queued and handles the events that are there, or that come within `patience` when there are none.
    /// False once the connection is broken.
    bool Dispatch(std::chrono::milliseconds patience = std::chrono::milliseconds::zero());
    /// Waits until the compositor has handled everything sent so far, and handles its events. False as in Dispatch.
    bool Roundtrip();

    /// What was asked for with the keyboard in any window.
    [[nodiscard]] CommandQueue& Commands() { return m_commands; }
    [[nodiscard]] bool HasKeyboard() const { return !m_keyboards.empty(); }

    /// Called each time events were handled; empty for nothing.
    void SetAfterEvents(std::function<void()> afterEvents) { m_afterEvents = std::move(afterEvents); }

    /// The globals that windows need, without the state of a window.
    [[nodiscard]] const Playback::Display& Globals() const { return m_globals; }
    /// The stable xdg-shell; null when the compositor has only an older one.
    [[nodiscard]] xdg_wm_base* StableShell() const { return m_stableShell; }
    /// Name of the shell in use, for messages.
    [[nodiscard]] const char* ShellName() const;

private:
    WaylandConnection() = default;
    bool HandledEvents(int result) const;
    void Bind(std::uint32_t name, const char* interface, std::uint32_t version);

    Playback::Display m_globals;
    wl_registry* m_registry = nullptr;
    xdg_wm_base* m_stableShell = nullptr;
    CommandQueue m_commands;
    std::vector<std::unique_ptr<Keyboard>> m_keyboards;
    std::function<void()> m_afterEvents;
};

} // namespace Host
