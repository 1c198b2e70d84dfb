// Keys in the terminal of playback-record.
#pragma once

#include <functional>
#include <thread>

#include "Recorder/Launcher/Request.h"

namespace Recorder {

/// Takes keys from standard input, a terminal, each as it is pressed; a thread of its own waits for them. What is typed
/// is not shown. There is one at a time.
class Keys {
public:
    /// `press` is called, by that thread, with what a key stands for.
    explicit Keys(std::function<void(Command)> press);
    /// Gives the terminal back.
    ~Keys();
    Keys(const Keys&) = delete;
    Keys& operator=(const Keys&) = delete;

private:
    void Run();

    const std::function<void(Command)> m_press;
    const int m_wake;
    std::thread m_thread;
};

/// For handlers of signals, as this process is stopped and continues: gives the terminal back while somebody else uses
/// it, and takes it again.
void LendTerminal();
void TakeTerminal();

} // namespace Recorder
