#pragma once

#include <array>
#include <atomic>
#include <deque>
#include <optional>

#include <EGL/egl.h>
#include <EGL/eglext.h>

#include "Host/Results/Measurements.h"
#include "Host/Timing/Telling.h"
#include "Replay/Timing/ReplayClock.h"

namespace Host {

class GpuTimer;

/// Takes the time of each frame: what its calls took, and how long replay then waited for the driver to draw it. These
/// times add up to the time of the replay.
///
/// Drivers draw later than they are called. Here no more than a few frames are under way at a time, as a window would
/// have it: at the end of each frame the one that was begun so many frames before is waited for. That is done by fences
/// of EGL, or by glFinish where the driver has none, between calls of the capture, and changes nothing for those.
///
/// Comes between replay and driver from Attach on. One at a time; replay thread only.
class FrameTimer {
public:
    using Beside = Replay::ReplayClock::Beside;

    /// As long as it lives, something beside the replay is done, which is in no frame's time. All that the driver was
    /// told before is drawn first, on its frame's account, unless the driver is not needed.
    class Break {
    public:
        enum class Driver { Needed, NotNeeded };
        /// Does nothing without a timer.
        Break(FrameTimer* timer, Beside what, Driver driver = Driver::Needed);
        ~Break();
        Break(const Break&) = delete;
        Break& operator=(const Break&) = delete;

    private:
        FrameTimer* m_timer;
        const char* m_before = nullptr;
    };

    /// What a time is part of: frames that are shown, calls after the last one, or neither.
    enum class Account : std::size_t { Frames, Rest, None };

    /// `inFlight` frames at most are under way, the one whose calls are being replayed included; with 1 each frame is
    /// drawn before the next one begins. With 0 nothing is waited for, the driver gets no call but the capture's, and
    /// times are those of the calls alone. The others outlive the timer.
    FrameTimer(unsigned int inFlight, Measurements& measurements, Telling& telling)
        : m_inFlight(inFlight), m_measurements(measurements), m_telling(telling)
    {
    }
    ~FrameTimer();
    FrameTimer(const FrameTimer&) = delete;
    FrameTimer& operator=(const FrameTimer&) = delete;

    /// When the driver has been opened, each time.
    void Attach();
    /// Has its time interrupted with the frames'. Null for none; not owned.
    void SetGpuTimer(GpuTimer* timer) { m_gpuTimer = timer; }

    /// What comes now belongs to the next frame.
    void Restart() { m_last = m_clock.Now(); }
    /// The calls of a frame were replayed, or those after the last one. `cost` has the names and numbers of a frame,
    /// without times.
    void EndFrame(Account account, FrameCost cost);
    /// Waits until all frames that ended are drawn.
    void Drain();
    /// Fences and queries end with their display.
    void BeforeTerminate();

    [[nodiscard]] const Replay::ReplayClock& Clock() const { return m_clock; }
    /// What all times of an account add up to.
    [[nodiscard]] double Seconds(Account account) const
    {
        return m_sums[static_cast<std::size_t>(account)].wallMs / 1e3;
    }
    /// For those who add to what is told while the driver is at work.
    [[nodiscard]] Telling& Teller() { return m_telling; }
    /// What is done other than replaying calls, as the end of a sentence; null while calls are replayed. Any thread.
    [[nodiscard]] const char* Doing() const { return m_doing.load(std::memory_order_relaxed); }
    void SetDoing(const char* what) { m_doing.store(what, std::memory_order_relaxed); }

private:
    struct Frame {
        EGLDisplay display;
        /// EGL_NO_SYNC_KHR for one that needs no waiting.
        EGLSyncKHR fence;
        Account account;
        /// Nothing where it is not measured.
        std::optional<std::size_t> cost;
    };

    /// Behind all that the current context was told; none when there is no context or no such fence.
    static EGLSyncKHR CreateFence(EGLDisplay display);
    /// Waits for all that the current context was told.
    void Finish();
    void WaitForOldest();
    void Charge(Account account, const Replay::Span& time) { m_sums[static_cast<std::size_t>(account)] += time; }

    unsigned int m_inFlight;
    Measurements& m_measurements;
    Telling& m_telling;
    GpuTimer* m_gpuTimer = nullptr;
    Replay::ReplayClock m_clock;
    /// Where the frame at work began; moves on while others are waited for.
    Replay::Span m_last;
    std::array<Replay::Span, 3> m_sums;
    /// Oldest first.
    std::deque<Frame> m_frames;
    std::atomic<const char*> m_doing = "while the replay was prepared";
};

} // namespace Host
