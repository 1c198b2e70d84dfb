// What the library knows of the thread it runs on, and how it tells the program's calls from the driver's.
#pragma once

#include <cstdint>

#include "Recorder/Stacks/CallStacks.h"

namespace Recorder {

class Context;
class RecordStream;

struct Thread {
    /// The current context, while the program itself is running. Null without one, and inside of every call that went
    /// through the library, so that calls which the driver makes are told apart.
    Context* recording = nullptr;
    /// The current context. Null when there is none or it is not recorded.
    Context* context = nullptr;
    /// EGL calls under way.
    std::uint32_t depth = 0;
    /// The thread's number in the capture; 0 until it is needed.
    std::uint32_t number = 0;
    /// Where the thread's records go. Null until it has a number, and in threads beyond those that can be recorded.
    RecordStream* stream = nullptr;
    /// Number of the stack that the program's call under way came from; 0 where that is not recorded.
    std::uint32_t stack = 0;
    /// What eglGetError would answer, had the library not asked EGL since the program's last call of it; 0: as it does.
    std::int32_t eglError = 0;
};

/// Initial-exec: one instruction to reach, and no allocation on first use. The library is always loaded at start.
extern constinit thread_local Thread thread __attribute__((tls_model("initial-exec")));

/// Numbers this thread for the capture, and gives it a stream, if it has none yet.
void NumberThread() noexcept;

/// While one lives, calls on this thread are the driver's or the library's own: forwarded and not recorded.
class DriverGuard {
public:
    DriverGuard() : m_outermost(!Inside())
    {
        ++thread.depth;
        thread.recording = nullptr;
    }
    ~DriverGuard()
    {
        --thread.depth;
        if (m_outermost) {
            thread.recording = thread.context;
            thread.stack = 0;
        }
    }
    DriverGuard(const DriverGuard&) = delete;
    DriverGuard& operator=(const DriverGuard&) = delete;

    /// A guard lives, or a gl call is under way.
    [[nodiscard]] static bool Inside() { return thread.depth > 0 || thread.recording != thread.context; }

protected:
    [[nodiscard]] bool Outermost() const { return m_outermost; }

private:
    const bool m_outermost;
};

/// An EGL call on its way through the library. True: the program made it, and it is recorded.
class EGLCall : public DriverGuard {
public:
    EGLCall() noexcept;
    explicit operator bool() const { return m_recorded; }

private:
    const bool m_recorded;
};

/// A gl call on its way through the library. True: the program made it with a current EGL context. Its stack is
/// recorded when `kind` is wanted.
class GLCall {
public:
    explicit GLCall(StacksOf kind = StacksOf::All) : m_context(thread.recording)
    {
        thread.recording = nullptr;
        if (stacksOf >= kind && m_context != nullptr) [[unlikely]]
            thread.stack = TakeStack();
    }
    ~GLCall()
    {
        thread.recording = m_context;
        thread.stack = 0;
    }
    GLCall(const GLCall&) = delete;
    GLCall& operator=(const GLCall&) = delete;

    explicit operator bool() const { return m_context != nullptr; }
    [[nodiscard]] Context* Get() const { return m_context; }
    Context& operator*() const { return *m_context; }
    Context* operator->() const { return m_context; }

private:
    Context* const m_context;
};

} // namespace Recorder
