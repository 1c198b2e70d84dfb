#include "Host/Timing/Pace.h"

namespace Host {

namespace {

constexpr std::chrono::milliseconds MuchTooLate{100};

} // namespace

Pace Pace::Fixed(double framesPerSecond)
{
    Pace pace;
    pace.m_interval = std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(1.0 / framesPerSecond));
    return pace;
}

Pace Pace::Recorded()
{
    Pace pace;
    pace.m_isRecorded = true;
    return pace;
}

Pace::Clock::time_point Pace::NextFrame(std::uint64_t recordedUs)
{
    const Clock::time_point now = Clock::now();
    if (!m_isStarted) {
        m_isStarted = true;
        m_due = now;
    } else if (m_isRecorded) {
        // Times of a damaged capture may run backwards.
        m_due += std::chrono::microseconds(recordedUs > m_recordedUs ? recordedUs - m_recordedUs : 0);
    } else {
        m_due += m_interval;
    }
    m_recordedUs = recordedUs;
    if (now > m_due + MuchTooLate)
        m_due = now;
    return m_due;
}

} // namespace Host
