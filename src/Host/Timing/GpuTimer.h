#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <unordered_map>
#include <vector>

#include "Data/Records/Actions.h"
#include "Data/Records/CallWatcher.h"
#include "Data/State/DrawTargets.h"
#include "Host/Results/GpuTimes.h"
#include "Host/Timing/Telling.h"
#include "Replay/Driver/ContextListener.h"
#include "Replay/Timing/GpuClock.h"

namespace Data {
class CallDecoder;
class CaptureFile;
struct Position;
} // namespace Data

namespace Host {

using Replay::GpuClock;

/// Takes what frames, render passes or actions cost on the GPU, and on the replay thread meanwhile.
///
/// Times are read frames later, where the driver has them by then, except where a context goes away. By actions, each
/// is finished before the next one: only so does a driver that collects work tell them apart. What is measured is in
/// no span while it is interrupted: by pictures, by comparing, by switches between contexts.
///
/// Replay thread only.
class GpuTimer : public Data::CallWatcher, public Replay::ContextListener {
public:
    /// `times` gets the results, in the hands of the host only. Both outlive the timer. `counters` of the driver are
    /// read too, as GpuCounters takes them.
    GpuTimer(GpuTimes& times, Telling& telling, std::string counters = {})
        : m_times(times), m_telling(telling), m_counters(std::move(counters))
    {
    }

    /// When the engine of a pass was made. The capture outlives the pass.
    void Attach(Data::CaptureFile& capture);
    /// Framebuffers are those that were drawn to when they were kept, since a pass begins there again.
    void KeepTargets() { m_keptTargets = m_targets; }
    void GoBackToTargets() { m_targets = m_keptTargets; }
    /// The frame's calls follow; both numbers from 1.
    void BeginFrame(std::uint32_t pass, std::uint32_t frame, bool isMeasured);
    /// They were replayed. What is no whole frame, at the end of a capture, is not counted.
    void EndFrame(bool isWhole);
    /// Something beside the replay follows.
    void Pause() { Stop(); }
    /// Waits for all results.
    void Drain();
    /// Contexts end with their display.
    void BeforeTerminate();

    void BeforeCall(const Data::CallArguments& call) override;
    void AfterCall() override;
    void CallLeftOut(Data::CallId call) override { m_actions.Count(call); }
    void BeforeSwitch(EGLContext next) override;
    void BeforeDestroy(EGLContext context) override;

private:
    /// A context of the driver's that was measured in, and how to get there again.
    struct Context {
        GpuClock clock;
        EGLDisplay display;
        EGLSurface draw;
        EGLSurface read;
    };
    struct Frame {
        std::vector<GpuCost> costs;
        /// Spans whose times are not known yet.
        std::uint32_t pending = 0;
        bool hasEnded = false;
        bool isDropped = false;
    };
    /// What is drawn to, by captured names; and the surface behind framebuffer 0.
    struct Target {
        std::uint32_t context = 0;
        std::uint32_t framebuffer = 0;
        EGLSurface surface = EGL_NO_SURFACE;
        bool operator==(const Target&) const = default;
    };

    [[nodiscard]] std::vector<GpuCost>& Costs() { return m_frames.back().costs; }
    /// Sees to calls that end a span, and to those of the program's own timer queries. True at one that none may begin
    /// with.
    bool EndSpanAt(const Data::CallArguments& call);
    /// For a query of elapsed time that the program begins. False where it is not in the way.
    bool MakeWay();
    /// Does nothing at a call that begins no span.
    void BeginSpanAt(const Data::CallArguments& call, std::optional<Data::ActionNumber> number);
    /// An action, in this render pass or a new one.
    void AddAction(const Data::CallArguments& call, Data::ActionNumber number);
    void AddCost(const Data::CallArguments& call, Data::ActionNumber number);
    [[nodiscard]] Target CurrentTarget() const;
    /// Of the cost that was added last.
    [[nodiscard]] GpuClock::Ticket LastTicket() const;
    void Start();
    void Stop();
    /// The current one, if it was measured in.
    Context* FindContext();
    Context* FindOrAddContext();
    /// Waits for all results, wherever they are.
    void ReadAll();
    void ReadElsewhere(EGLContext context, Context& at);
    GpuClock::Answer Answer();
    /// Hands over the names of the counters, and says where there is none.
    void TellCounters();
    /// Hands over the frames of which everything is known.
    void Publish();

    GpuTimes& m_times;
    Telling& m_telling;
    std::string m_counters;
    /// Those of the first context that was measured in.
    std::optional<std::vector<std::string>> m_counterNames;
    const Data::Position* m_position = nullptr;
    Data::CallDecoder* m_calls = nullptr;
    Data::ActionCounter m_actions;
    Data::DrawTargets m_targets;
    /// At the start of a loop.
    Data::DrawTargets m_keptTargets;

    std::unordered_map<EGLContext, Context> m_contexts;
    /// Oldest first, with the number of the first one since the start; the last one is at work while m_isMeasured.
    std::deque<Frame> m_frames;
    std::uint32_t m_firstFrame = 0;
    std::uint32_t m_pass = 0;
    std::uint32_t m_frame = 0;
    bool m_isMeasured = false;
    /// 0 before the first one of the frame.
    std::uint32_t m_renderPass = 0;
    Target m_target;

    bool m_isOpen = false;
    /// That of the open span; null where its context has none.
    GpuClock* m_running = nullptr;
    double m_cpuStart = 0;
    /// Switches between contexts are this object's own.
    bool m_isReading = false;
    /// Why a context had no clock, as GpuClock says it; null while all had one.
    const char* m_whyNot = nullptr;
    bool m_areCountersTold = false;
};

} // namespace Host
