#include "Host/Timing/GpuTimer.h"

#include <ctime>

#include <GLES2/gl2ext.h>

#include "Data/Capture/CaptureFile.h"
#include "Interfaces/Core.h"
#include "Replay/Driver/DriverState.h"

namespace Host {

namespace {

using Core::KHRLayer;
using Data::CallId;

/// Frames whose times are not known yet; then they are waited for.
constexpr std::size_t MaxFramesPending = 8;

double ThreadMs()
{
    timespec time = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

EGLContext CurrentContext()
{
    const auto get = KHRLayer::EGLProc().eglGetCurrentContext;
    return get ? get() : EGL_NO_CONTEXT;
}

EGLSurface CurrentSurface(EGLint which)
{
    const auto get = KHRLayer::EGLProc().eglGetCurrentSurface;
    return get ? get(which) : EGL_NO_SURFACE;
}

EGLDisplay CurrentDisplay()
{
    const auto get = KHRLayer::EGLProc().eglGetCurrentDisplay;
    return get ? get() : EGL_NO_DISPLAY;
}

} // namespace

void GpuTimer::Attach(Data::CaptureFile& capture)
{
    m_contexts.clear();
    m_targets = {};
    m_position = &capture.At();
    m_calls = &capture.GetFrameProcessor()->Calls();
    capture.GetFrameProcessor()->SetCallWatcher(this);
    Replay::DriverState::SetListener(this);
}

void GpuTimer::BeginFrame(std::uint32_t pass, std::uint32_t frame, bool isMeasured)
{
    m_pass = pass;
    m_frame = frame;
    m_isMeasured = isMeasured;
    m_renderPass = 0;
    m_actions.BeginFrame();
    if (isMeasured)
        m_frames.emplace_back();
}

void GpuTimer::EndFrame(bool isWhole)
{
    if (m_frames.empty())
        return;
    {
        const Telling::InDriver inDriver(&m_telling);
        Stop();
        if (Context* const context = FindContext())
            context->clock.Read(GpuClock::Wait::No, Answer());
        if (m_frames.size() > MaxFramesPending)
            ReadAll();
    }
    if (m_isMeasured) {
        m_frames.back().hasEnded = true;
        m_frames.back().isDropped = !isWhole;
    }
    m_isMeasured = false;
    Publish();
}

void GpuTimer::Drain()
{
    {
        const Telling::InDriver inDriver(&m_telling);
        ReadAll();
    }
    Publish();
}

void GpuTimer::BeforeTerminate()
{
    Stop();
    ReadAll();
    m_contexts.clear();
}

void GpuTimer::BeforeCall(const Data::CallArguments& call)
{
    const std::optional<Data::ActionNumber> number = m_actions.Count(call.Call());
    const bool mayBeElsewhere = m_targets.Follow(call, m_calls->Client().ContextName());
    if (mayBeElsewhere && m_times.by != GpuSpans::Frames)
        Stop();
    const bool isOutside = EndSpanAt(call) || IsEGL(call.Call()) || m_calls->SkipsGL();
    if (m_isMeasured && !isOutside)
        BeginSpanAt(call, number);
}

void GpuTimer::AfterCall()
{
    if (m_times.by != GpuSpans::Actions || !m_isOpen)
        return;
    const bool hasClock = m_running != nullptr;
    Stop();
    if (const auto finish = KHRLayer::GLESProc().glFinish; finish && hasClock)
        finish();
}

bool GpuTimer::EndSpanAt(const Data::CallArguments& call)
{
    switch (call.Call()) {
    case CallId::eglSwapBuffers:
        Stop();
        return true;
    case CallId::glBeginQuery:
    case CallId::glBeginQueryEXT:
        return call.Unsigned(0) == GL_TIME_ELAPSED_EXT && m_isMeasured && MakeWay();
    case CallId::glGetIntegerv:
        if (call.Unsigned(0) == GL_GPU_DISJOINT_EXT)
            if (Context* const context = FindContext())
                context->clock.CheckDisjoint();
        return false;
    default:
        return false;
    }
}

bool GpuTimer::MakeWay()
{
    const Context* const context = FindOrAddContext();
    if (!context || !context->clock.IsAlone())
        return false;
    if (m_running)
        Costs().back().notMeasured = NotMeasured::OwnQuery;
    Stop();
    return true;
}

void GpuTimer::BeginSpanAt(const Data::CallArguments& call, std::optional<Data::ActionNumber> number)
{
    if (m_times.by == GpuSpans::Frames) {
        if (Costs().empty())
            AddCost(call, {});
        Costs().back().actions += number ? 1 : 0;
    } else if (number) {
        AddAction(call, *number);
    } else {
        return;
    }
    if (!m_isOpen)
        Start();
}

void GpuTimer::AddAction(const Data::CallArguments& call, Data::ActionNumber number)
{
    const Target target = CurrentTarget();
    const bool isNew = m_renderPass == 0 || target != m_target;
    if (isNew) {
        Stop();
        ++m_renderPass;
        m_target = target;
    }
    if (isNew || m_times.by == GpuSpans::Actions)
        AddCost(call, number);
    ++Costs().back().actions;
}

void GpuTimer::AddCost(const Data::CallArguments& call, Data::ActionNumber number)
{
    GpuCost cost;
    cost.pass = m_pass;
    cost.frame = m_frame;
    cost.renderPass = m_renderPass;
    cost.number = number;
    cost.call = m_position->call;
    cost.function = call.Call();
    cost.context = m_target.context;
    cost.framebuffer = m_target.framebuffer;
    Costs().push_back(cost);
}

GpuTimer::Target GpuTimer::CurrentTarget() const
{
    const std::uint32_t context = m_calls->Client().ContextName();
    const std::uint32_t framebuffer = m_targets.FramebufferOf(context);
    return {context, framebuffer, framebuffer == 0 ? CurrentSurface(EGL_DRAW) : EGL_NO_SURFACE};
}

GpuClock::Ticket GpuTimer::LastTicket() const
{
    const auto frame = static_cast<std::uint32_t>(m_firstFrame + m_frames.size() - 1);
    return std::uint64_t{frame} << 32 | (m_frames.back().costs.size() - 1);
}

void GpuTimer::Start()
{
    GpuCost& cost = Costs().back();
    Context* const context = FindOrAddContext();
    if (!context || !context->clock.CanMeasure()) {
        cost.notMeasured = NotMeasured::NoClock;
        m_whyNot = context ? context->clock.WhyNot() : m_whyNot;
    } else if (!context->clock.Start(LastTicket(),
                                     m_times.by == GpuSpans::Actions ? GpuClock::Wait::Yes : GpuClock::Wait::No)) {
        cost.notMeasured = NotMeasured::OwnQuery;
    } else {
        ++m_frames.back().pending;
        m_running = &context->clock;
    }
    m_isOpen = true;
    m_cpuStart = ThreadMs();
}

void GpuTimer::Stop()
{
    if (!m_isOpen)
        return;
    Costs().back().cpuMs += ThreadMs() - m_cpuStart;
    m_isOpen = false;
    if (m_running)
        m_running->Stop();
    m_running = nullptr;
}

GpuTimer::Context* GpuTimer::FindContext()
{
    const auto found = m_contexts.find(CurrentContext());
    return found != m_contexts.end() ? &found->second : nullptr;
}

GpuTimer::Context* GpuTimer::FindOrAddContext()
{
    if (Context* const found = FindContext())
        return found;
    EGLContext const context = CurrentContext();
    if (context == EGL_NO_CONTEXT)
        return nullptr;
    GpuClock clock(m_counters);
    if (!m_counterNames)
        m_counterNames = clock.Counters().Names();
    return &m_contexts
                .emplace(context, Context{std::move(clock), CurrentDisplay(), CurrentSurface(EGL_DRAW),
                                          CurrentSurface(EGL_READ)})
                .first->second;
}

void GpuTimer::BeforeSwitch(EGLContext next)
{
    if (m_isReading)
        return;
    Stop();
    if (Context* const context = FindContext()) {
        context->draw = CurrentSurface(EGL_DRAW);
        context->read = CurrentSurface(EGL_READ);
        // A context that nobody uses may soon be gone.
        context->clock.Read(next == EGL_NO_CONTEXT ? GpuClock::Wait::Yes : GpuClock::Wait::No, Answer());
    }
}

void GpuTimer::BeforeDestroy(EGLContext context)
{
    const auto found = m_contexts.find(context);
    if (found == m_contexts.end())
        return;
    Stop();
    if (found->second.clock.HasPending())
        ReadAll();
    m_contexts.erase(found);
}

void GpuTimer::ReadAll()
{
    for (auto& [context, at] : m_contexts) {
        if (!at.clock.HasPending())
            continue;
        if (context == CurrentContext())
            at.clock.Read(GpuClock::Wait::Yes, Answer());
        else
            ReadElsewhere(context, at);
    }
}

void GpuTimer::ReadElsewhere(EGLContext context, Context& at)
{
    const auto makeCurrent = KHRLayer::EGLProc().eglMakeCurrent;
    EGLContext const current = CurrentContext();
    EGLDisplay const display = current != EGL_NO_CONTEXT ? CurrentDisplay() : at.display;
    EGLSurface const draw = CurrentSurface(EGL_DRAW);
    EGLSurface const read = CurrentSurface(EGL_READ);
    m_isReading = true;
    // Its surfaces may be gone.
    if (makeCurrent(at.display, at.draw, at.read, context) ||
        makeCurrent(at.display, EGL_NO_SURFACE, EGL_NO_SURFACE, context))
        at.clock.Read(GpuClock::Wait::Yes, Answer());
    else
        at.clock.Abandon(Answer());
    makeCurrent(display, draw, read, current);
    m_isReading = false;
}

GpuClock::Answer GpuTimer::Answer()
{
    return [this](GpuClock::Ticket ticket, const GpuClock::Result& result) {
        Frame& frame = m_frames[static_cast<std::uint32_t>(ticket >> 32) - m_firstFrame];
        GpuCost& cost = frame.costs[static_cast<std::uint32_t>(ticket)];
        --frame.pending;
        cost.gpuMs += result.ms;
        AddCounters(cost.counters, result.counters);
        if (result.notMeasured != NotMeasured::No)
            cost.notMeasured = result.notMeasured;
    };
}

void GpuTimer::TellCounters()
{
    m_areCountersTold = true;
    m_times.counters = *m_counterNames;
    if (m_times.counters.empty() && !m_counters.empty())
        Core::Console::Print(Core::LogWarning, false,
                             "playback: no counter of the driver matches -gpucounters %s; -gpucounters list tells "
                             "which there are.",
                             m_counters.c_str());
}

void GpuTimer::Publish()
{
    if (m_whyNot && m_times.unavailable.empty()) {
        m_times.unavailable = m_whyNot;
        Core::Console::Print(Core::LogWarning, false, "playback: no times of the GPU: %s.",
                             m_times.unavailable.c_str());
    }
    if (m_counterNames && !m_areCountersTold)
        TellCounters();
    while (!m_frames.empty() && m_frames.front().hasEnded && m_frames.front().pending == 0) {
        const Frame& frame = m_frames.front();
        if (!frame.isDropped)
            m_times.costs.insert(m_times.costs.end(), frame.costs.begin(), frame.costs.end());
        m_frames.pop_front();
        ++m_firstFrame;
    }
}

} // namespace Host
