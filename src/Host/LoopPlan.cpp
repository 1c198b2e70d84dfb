#include "Host/LoopPlan.h"

#include <algorithm>

#include "Playback/PlaybackSettings.h"

namespace Host {

std::uint32_t LoopPlan::LastFrame() const
{
    constexpr std::uint32_t Everything = ~std::uint32_t{0};
    return m_settings.m_stopFrameSet ? static_cast<std::uint32_t>(std::max(m_settings.m_stopFrame, 0)) : Everything;
}

std::uint32_t LoopPlan::FramesOfPass(std::uint32_t captured) const
{
    return std::min(captured, LastFrame());
}

std::uint32_t LoopPlan::FramesOfPasses(std::uint32_t captured, std::uint32_t passes) const
{
    const auto first = static_cast<std::uint32_t>(std::max(m_settings.m_loopFrame, 1));
    const std::uint32_t shown = FramesOfPass(captured);
    return shown + (passes - 1) * (shown >= first ? shown - first + 1 : 0);
}

bool LoopPlan::IsOnTheWay(std::uint32_t pass, std::uint32_t frame) const
{
    return pass > 1 && static_cast<std::int64_t>(frame) < m_settings.m_loopFrame - 1;
}

bool LoopPlan::IsPassAfter(std::uint32_t pass) const
{
    return m_settings.m_loopCount > 0 ? static_cast<std::int64_t>(pass) < m_settings.m_loopCount
                                      : m_settings.m_loopFrame > 0;
}

std::uint32_t LoopPlan::Passes() const
{
    return static_cast<std::uint32_t>(std::max(m_settings.m_loopCount, 1));
}

} // namespace Host
