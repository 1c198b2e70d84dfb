#include "Replay/Timing/GpuClock.h"

#include <GLES2/gl2ext.h>

#include "Interfaces/Core.h"
#include "Interfaces/GLState.h"

namespace Replay {

namespace {

using Core::KHRLayer;

constexpr GLsizei QueriesAtATime = 64;
constexpr double NanosecondsInMs = 1e6;

GLint Query(GLenum target, GLenum name)
{
    GLint value = 0;
    KHRLayer::GLESExtProc().glGetQueryivEXT(target, name, &value);
    return value;
}

bool HasFunctions()
{
    const Core::GLESExtProcTable& gl = KHRLayer::GLESExtProc();
    return gl.glGenQueriesEXT && gl.glQueryCounterEXT && gl.glBeginQueryEXT && gl.glEndQueryEXT && gl.glGetQueryivEXT &&
           gl.glGetQueryObjectuivEXT && gl.glGetQueryObjectui64vEXT && KHRLayer::GLESProc().glFlush &&
           KHRLayer::GLESProc().glFinish;
}

} // namespace

GpuClock::GpuClock(const std::string& counters) : m_counters(counters)
{
    if (!HasFunctions() || !Core::HasExtension(KHRLayer::GLESProc(), "GL_EXT_disjoint_timer_query"))
        return;
    m_bits = Query(GL_TIMESTAMP_EXT, GL_QUERY_COUNTER_BITS_EXT);
    m_hasTimestamps = m_bits > 0;
    if (!m_hasTimestamps)
        m_bits = Query(GL_TIME_ELAPSED_EXT, GL_QUERY_COUNTER_BITS_EXT);
    // What was before concerns nobody.
    CheckDisjoint();
}

const char* GpuClock::WhyNot() const
{
    return m_bits < 0 ? "the driver has no GL_EXT_disjoint_timer_query" : "the driver's timer queries have no clock";
}

GLuint GpuClock::TakeQuery()
{
    if (m_free.empty()) {
        m_free.resize(QueriesAtATime);
        KHRLayer::GLESExtProc().glGenQueriesEXT(QueriesAtATime, m_free.data());
    }
    const GLuint query = m_free.back();
    m_free.pop_back();
    return query;
}

bool GpuClock::Start(Ticket ticket, Wait wait)
{
    const Core::GLESExtProcTable& gl = KHRLayer::GLESExtProc();
    if (!m_hasTimestamps && Query(GL_TIME_ELAPSED_EXT, GL_CURRENT_QUERY_EXT) != 0)
        return false;
    m_pending.push_back({ticket, TakeQuery(), 0, 0, false});
    const GLuint start = m_pending.back().start;
    if (m_hasTimestamps)
        gl.glQueryCounterEXT(start, GL_TIMESTAMP_EXT);
    else
        gl.glBeginQueryEXT(GL_TIME_ELAPSED_EXT, start);
    const auto send = wait == Wait::Yes ? KHRLayer::GLESProc().glFinish : KHRLayer::GLESProc().glFlush;
    send();
    m_pending.back().monitor = m_counters.Start();
    return true;
}

void GpuClock::Stop()
{
    const Core::GLESExtProcTable& gl = KHRLayer::GLESExtProc();
    m_counters.Stop(m_pending.back().monitor);
    if (!m_hasTimestamps) {
        gl.glEndQueryEXT(GL_TIME_ELAPSED_EXT);
        return;
    }
    m_pending.back().end = TakeQuery();
    gl.glQueryCounterEXT(m_pending.back().end, GL_TIMESTAMP_EXT);
}

bool GpuClock::IsAvailable(const Span& span) const
{
    GLuint isAvailable = GL_FALSE;
    KHRLayer::GLESExtProc().glGetQueryObjectuivEXT(m_hasTimestamps ? span.end : span.start, GL_QUERY_RESULT_AVAILABLE,
                                                   &isAvailable);
    return isAvailable != GL_FALSE && m_counters.IsAvailable(span.monitor);
}

std::uint64_t GpuClock::Elapsed(const Span& span) const
{
    const auto result = [](GLuint query) {
        GLuint64 value = 0;
        KHRLayer::GLESExtProc().glGetQueryObjectui64vEXT(query, GL_QUERY_RESULT, &value);
        return value;
    };
    if (!m_hasTimestamps)
        return result(span.start);
    // The clock begins anew when its bits are used up. An end before the start, by some rounding, is no time.
    const std::uint64_t mask = m_bits < 64 ? (std::uint64_t{1} << m_bits) - 1 : ~std::uint64_t{0};
    const std::uint64_t elapsed = (result(span.end) - result(span.start)) & mask;
    return elapsed <= mask / 2 ? elapsed : 0;
}

void GpuClock::Recycle(const Span& span)
{
    m_free.push_back(span.start);
    if (span.end != 0)
        m_free.push_back(span.end);
}

void GpuClock::Read(Wait wait, const Answer& answer)
{
    struct Time {
        Span span;
        std::uint64_t nanoseconds;
        std::vector<double> counters;
    };
    std::vector<Time> times;
    while (!m_pending.empty() && (wait == Wait::Yes || IsAvailable(m_pending.front()))) {
        const Span& span = m_pending.front();
        times.push_back({span, Elapsed(span), m_counters.Read(span.monitor)});
        m_pending.pop_front();
    }
    if (times.empty())
        return;
    const bool wasDisjoint = Core::GetInteger(KHRLayer::GLESProc(), GL_GPU_DISJOINT_EXT) != 0;
    for (Span& span : m_pending)
        span.isDisjoint |= wasDisjoint;
    for (auto& [span, nanoseconds, counters] : times) {
        const bool isDisjoint = span.isDisjoint || wasDisjoint;
        answer(span.ticket, {isDisjoint ? NotMeasured::Disjoint : NotMeasured::No,
                             static_cast<double>(nanoseconds) / NanosecondsInMs, std::move(counters)});
        Recycle(span);
    }
}

void GpuClock::Abandon(const Answer& answer)
{
    for (const Span& span : m_pending)
        answer(span.ticket, {NotMeasured::ContextLost, 0, {}});
    m_pending.clear();
}

void GpuClock::CheckDisjoint()
{
    if (CanMeasure() && Core::GetInteger(KHRLayer::GLESProc(), GL_GPU_DISJOINT_EXT) != 0)
        for (Span& span : m_pending)
            span.isDisjoint = true;
}

} // namespace Replay
