#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <EGL/egl.h>
#include <GLES3/gl32.h>

#include "Replay/Timing/GpuCounters.h"
#include "Replay/Timing/NotMeasured.h"

namespace Replay {

/// Takes the time of spans of work in one context, by its queries (GL_EXT_disjoint_timer_query). Answers come later, so
/// that nobody waits for them. All but the constructor need the context to be current.
///
/// Timestamps are taken where the driver has them, since any number of them goes with the queries of the recorded
/// program. Of queries of elapsed time, which are taken otherwise, a context has one at a time.
///
/// The start of a span is flushed: drivers that collect work before they begin it, as tile-based and software ones do,
/// would take the start and the end of a span in one moment, when all of it is done. From a flushed start on, time
/// counts from when what was in front is drawn and the driver is told of what follows. Where the start is waited for,
/// what the driver does within the calls that follow is in the time for certain, however small it is.
class GpuClock {
public:
    /// Names what is measured, for the one who asks.
    using Ticket = std::uint64_t;
    struct Result {
        /// Why there are no times.
        NotMeasured notMeasured = NotMeasured::No;
        double ms = 0;
        /// Empty where there are none.
        std::vector<double> counters;
    };
    using Answer = std::function<void(Ticket, const Result&)>;

    /// Asks the current context what it has. `counters` are read with the time, as GpuCounters takes them.
    explicit GpuClock(const std::string& counters);

    [[nodiscard]] bool CanMeasure() const { return m_bits > 0; }
    /// Why it cannot, as a sentence without a full stop.
    [[nodiscard]] const char* WhyNot() const;
    /// Whether a query of elapsed time that the program begins would meet one of this clock's.
    [[nodiscard]] bool IsAlone() const { return !m_hasTimestamps; }

    enum class Wait { No, Yes };
    /// False where the program's own query is in the way. `wait` for all that was in front.
    bool Start(Ticket ticket, Wait wait);
    void Stop();
    /// Answers what is known by now, or all. No span is open.
    void Read(Wait wait, const Answer& answer);
    /// Gives all up.
    void Abandon(const Answer& answer);
    /// To be called where somebody else may ask the driver for it, which takes the knowledge away.
    void CheckDisjoint();
    [[nodiscard]] const GpuCounters& Counters() const { return m_counters; }
    [[nodiscard]] bool HasPending() const { return !m_pending.empty(); }

private:
    struct Span {
        Ticket ticket;
        /// Two timestamps, or one query of elapsed time.
        GLuint start;
        GLuint end;
        /// Of the counters, or 0.
        GLuint monitor;
        bool isDisjoint;
    };

    GLuint TakeQuery();
    [[nodiscard]] bool IsAvailable(const Span& span) const;
    /// In nanoseconds. Waits for it.
    [[nodiscard]] std::uint64_t Elapsed(const Span& span) const;
    void Recycle(const Span& span);

    /// Of the clock; 0 where there is none, below 0 without the extension.
    GLint m_bits = -1;
    bool m_hasTimestamps = false;
    GpuCounters m_counters;
    std::vector<GLuint> m_free;
    /// Oldest first; the last one may be open.
    std::deque<Span> m_pending;
};

} // namespace Replay
