#include "Host/Verify/ReadBackVerifier.h"

#include <algorithm>
#include <cstdio>

#include "Host/Timing/FrameTimer.h"

namespace Host {

std::string ReadBackTally::Report() const
{
    std::string report = (AllEqual() ? "verified: " : "not verified: ") + std::to_string(equal) + " of " +
                         std::to_string(compared) + " read-backs equal";
    return firstDifference.empty() ? report : report + "; first difference in " + firstDifference;
}

ReadBackVerifier::ReadBackVerifier(Playback::GLResourceTable* table, const Data::Position& position,
                                   ReadBackTally& tally, FrameTimer* timer)
    : MappingGuard(table), m_position(position), m_tally(tally), m_timer(timer)
{
}

/// The live driver writes over the recorded pixels, so these are set aside first.
template <class Play> void ReadBackVerifier::Compare(const char* call, Data::PointerData* pixels, Play play)
{
    if (!pixels->HasData()) {
        play();
        return;
    }
    const auto* const replayed = pixels->As<const std::uint8_t>();
    {
        const FrameTimer::Break pause(m_timer, FrameTimer::Beside::Comparison, FrameTimer::Break::Driver::NotNeeded);
        m_recorded.assign(replayed, replayed + pixels->GetCount());
    }
    play();
    const FrameTimer::Break pause(m_timer, FrameTimer::Beside::Comparison, FrameTimer::Break::Driver::NotNeeded);
    const Telling::InHost inHost(m_timer ? &m_timer->Teller() : nullptr);
    ++m_tally.compared;
    const auto [expected, found] = std::mismatch(m_recorded.cbegin(), m_recorded.cend(), replayed);
    if (expected == m_recorded.cend()) {
        ++m_tally.equal;
    } else if (m_tally.firstDifference.empty()) {
        char text[128];
        std::snprintf(text, sizeof text, "frame %u, call %u %s: expected 0x%02x in byte %td of %zu, found 0x%02x",
                      m_position.frame + 1, m_position.call, call, *expected, expected - m_recorded.cbegin(),
                      m_recorded.size(), *found);
        m_tally.firstDifference = text;
    }
}

void ReadBackVerifier::Process_glReadPixels(std::int32_t x, std::int32_t y, std::int32_t width, std::int32_t height,
                                            std::uint32_t format, std::uint32_t type, Data::PointerData* pixels)
{
    Compare(
        "glReadPixels", pixels,
        [&] { GLPlaybackAdapter::Process_glReadPixels(x, y, width, height, format, type, pixels); });
}

void ReadBackVerifier::Process_glReadnPixels(std::int32_t x, std::int32_t y, std::int32_t width, std::int32_t height,
                                             std::uint32_t format, std::uint32_t type, std::int32_t bufSize,
                                             Data::PointerData* pixels)
{
    Compare(
        "glReadnPixels", pixels,
        [&] { GLPlaybackAdapter::Process_glReadnPixels(x, y, width, height, format, type, bufSize, pixels); });
}

void ReadBackVerifier::Process_glReadnPixelsEXT(std::int32_t x, std::int32_t y, std::int32_t width, std::int32_t height,
                                                std::uint32_t format, std::uint32_t type, std::int32_t bufSize,
                                                Data::PointerData* pixels)
{
    Compare(
        "glReadnPixelsEXT", pixels,
        [&] { GLPlaybackAdapter::Process_glReadnPixelsEXT(x, y, width, height, format, type, bufSize, pixels); });
}

} // namespace Host
