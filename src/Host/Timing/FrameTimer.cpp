#include "Host/Timing/FrameTimer.h"

#include <utility>

#include "Host/Timing/GpuTimer.h"
#include "Interfaces/Core.h"

namespace Host {

namespace {

using Core::KHRLayer;

// A function in the table has no object to ask.
FrameTimer* timer = nullptr;
decltype(Core::EGLProcTable::eglTerminate) driverTerminate = nullptr;

EGLBoolean EGLAPIENTRY Terminate(EGLDisplay display)
{
    if (timer)
        timer->BeforeTerminate();
    return driverTerminate(display);
}

bool IsContextCurrent()
{
    const auto getContext = KHRLayer::EGLProc().eglGetCurrentContext;
    return getContext && getContext() != EGL_NO_CONTEXT;
}

constexpr const char* DrawingDescription = "while waiting for the driver to finish drawing";

const char* Describe(FrameTimer::Beside what)
{
    switch (what) {
    case FrameTimer::Beside::Pictures:
        return "while a picture was taken";
    case FrameTimer::Beside::Comparison:
        return "while the frame was read back to be compared";
    case FrameTimer::Beside::LoopStart:
        return "while the state at the start of the loop was kept or brought back";
    case FrameTimer::Beside::Waiting:
        break;
    }
    return "while waiting for the frame's turn";
}

} // namespace

FrameTimer::Break::Break(FrameTimer* timer, Beside what, Driver driver) : m_timer(timer)
{
    if (!m_timer)
        return;
    if (m_timer->m_gpuTimer)
        m_timer->m_gpuTimer->Pause();
    if (driver == Driver::Needed && m_timer->m_inFlight != 0) {
        m_timer->Drain();
        m_timer->Finish();
    }
    m_before = m_timer->Doing();
    m_timer->SetDoing(Describe(what));
    m_timer->m_clock.Stop(what);
}

FrameTimer::Break::~Break()
{
    if (m_timer) {
        m_timer->m_clock.Go();
        m_timer->SetDoing(m_before);
    }
}

FrameTimer::~FrameTimer()
{
    if (timer == this)
        timer = nullptr;
}

void FrameTimer::Attach()
{
    timer = this;
    if (const auto terminate = KHRLayer::EGLProc().eglTerminate; terminate && terminate != Terminate) {
        driverTerminate = terminate;
        KHRLayer::Replace(&Core::EGLProcTable::eglTerminate, Terminate);
    }
}

EGLSyncKHR FrameTimer::CreateFence(EGLDisplay display)
{
    const Core::EGLExtProcTable& extensions = KHRLayer::EGLExtProc();
    if (!extensions.eglClientWaitSyncKHR || !extensions.eglDestroySyncKHR)
        return EGL_NO_SYNC_KHR;
    EGLSyncKHR fence = EGL_NO_SYNC_KHR;
    if (extensions.eglCreateSyncKHR)
        fence = extensions.eglCreateSyncKHR(display, EGL_SYNC_FENCE_KHR, nullptr);
    else if (KHRLayer::EGLProc().eglCreateSync)
        fence = KHRLayer::EGLProc().eglCreateSync(display, EGL_SYNC_FENCE, nullptr);
    if (fence != EGL_NO_SYNC_KHR) {
        // As with the swap of a window, drawing begins now rather than when somebody waits for it.
        extensions.eglClientWaitSyncKHR(display, fence, EGL_SYNC_FLUSH_COMMANDS_BIT_KHR, 0);
    } else if (const auto getError = KHRLayer::EGLProc().eglGetError) {
        // That of a fence is no error of the capture's.
        getError();
    }
    return fence;
}

void FrameTimer::EndFrame(Account account, FrameCost cost)
{
    Frame frame = {EGL_NO_DISPLAY, EGL_NO_SYNC_KHR, account, std::nullopt};
    const auto getDisplay = KHRLayer::EGLProc().eglGetCurrentDisplay;
    if (m_inFlight != 0 && getDisplay && IsContextCurrent()) {
        // A driver may draw here and now.
        const Telling::InDriver inDriver(&m_telling);
        frame.display = getDisplay();
        frame.fence = CreateFence(frame.display);
    }
    const Replay::Span now = m_clock.Now();
    cost.time = now - std::exchange(m_last, now);
    Charge(account, cost.time);
    if (account == Account::Frames)
        frame.cost = m_measurements.Add(cost);
    if (m_inFlight == 0)
        return;
    m_frames.push_back(frame);
    while (m_frames.size() >= m_inFlight)
        WaitForOldest();
}

void FrameTimer::WaitForOldest()
{
    const Frame frame = m_frames.front();
    m_frames.pop_front();
    const Replay::Span start = m_clock.Now();
    if (frame.fence != EGL_NO_SYNC_KHR) {
        const char* const before = Doing();
        SetDoing(DrawingDescription);
        const Telling::InDriver inDriver(&m_telling);
        const Core::EGLExtProcTable& extensions = KHRLayer::EGLExtProc();
        extensions.eglClientWaitSyncKHR(frame.display, frame.fence, 0, EGL_FOREVER_KHR);
        extensions.eglDestroySyncKHR(frame.display, frame.fence);
        SetDoing(before);
    } else {
        Finish();
    }
    const Replay::Span waited = m_clock.Now() - start;
    const Telling::InHost inHost(&m_telling);
    Charge(frame.account, waited);
    if (frame.cost)
        m_measurements.Extend(*frame.cost, waited);
    m_last += waited;
}

void FrameTimer::Finish()
{
    const auto finish = KHRLayer::GLESProc().glFinish;
    if (!finish || !IsContextCurrent())
        return;
    const char* const before = Doing();
    SetDoing(DrawingDescription);
    const Telling::InDriver inDriver(&m_telling);
    finish();
    SetDoing(before);
}

void FrameTimer::BeforeTerminate()
{
    Drain();
    if (m_gpuTimer)
        m_gpuTimer->BeforeTerminate();
}

void FrameTimer::Drain()
{
    while (!m_frames.empty())
        WaitForOldest();
}

} // namespace Host
