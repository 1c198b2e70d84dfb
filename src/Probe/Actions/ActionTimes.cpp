#include "Probe/Actions/ActionTimes.h"

#include <chrono>
#include <ctime>
#include <map>

#include "Probe/LiveGL.h"
#include "Replay/Timing/GpuClock.h"

namespace Probe {

namespace {

using Replay::GpuClock;

double ThreadMs()
{
    timespec time = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

double NowMs()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration<double, std::milli>(now).count();
}

class ActionTimer {
public:
    explicit ActionTimer(Replayer& replayer) : m_replayer(replayer) {}

    void Before()
    {
        m_running = nullptr;
        if (m_replayer.HasContext()) {
            const auto context = Core::KHRLayer::EGLProc().eglGetCurrentContext();
            GpuClock& clock = m_clocks.try_emplace(context, "").first->second;
            // What is in front is none of it.
            GL().glFinish();
            if (clock.CanMeasure() && clock.Start(m_times.actions.size(), GpuClock::Wait::Yes))
                m_running = &clock;
            else
                m_times.note = clock.CanMeasure() ? "a query of the program is in the way" : clock.WhyNot();
        }
        m_cpuStart = ThreadMs();
        m_start = NowMs();
    }

    void After()
    {
        ActionTime time = {m_replayer.Call()};
        time.cpuMs = ThreadMs() - m_cpuStart;
        if (m_running)
            m_running->Stop();
        if (m_replayer.HasContext())
            GL().glFinish();
        time.doneMs = NowMs() - m_start;
        m_times.actions.push_back(time);
        if (m_running)
            m_running->Read(GpuClock::Wait::Yes, [this](GpuClock::Ticket ticket, const GpuClock::Result& result) {
                if (result.notMeasured == Replay::NotMeasured::No)
                    m_times.actions[ticket].gpuMs = result.ms;
                else
                    m_times.note = "the clock of the GPU was changed meanwhile";
            });
    }

    FrameTimes Take() { return std::move(m_times); }

private:
    Replayer& m_replayer;
    /// By live context.
    std::map<void*, GpuClock> m_clocks;
    GpuClock* m_running = nullptr;
    double m_cpuStart = 0;
    double m_start = 0;
    FrameTimes m_times;
};

} // namespace

FrameTimes TimeActions(Replayer& replayer)
{
    ActionTimer timer(replayer);
    replayer.SetAroundCall([&] { timer.Before(); }, [&] { timer.After(); });
    while (replayer.ToAction() == Replayer::Stop::Action)
        continue;
    replayer.SetAroundCall({}, {});
    return timer.Take();
}

} // namespace Probe
