#include "Host/Results/Measurements.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace Host {

std::optional<std::size_t> Measurements::Add(const FrameCost& cost)
{
    if (!m_range.Contains(cost.frame))
        return std::nullopt;
    m_costs.push_back(cost);
    return m_costs.size() - 1;
}

std::optional<FrameTimes> Measurements::Times() const
{
    if (m_costs.empty())
        return std::nullopt;
    std::vector<FrameCost> sorted = m_costs;
    std::ranges::stable_sort(sorted, {}, [](const FrameCost& cost) { return cost.time.wallMs; });
    const auto percentile = [&](double part) {
        const auto rank = static_cast<std::size_t>(std::ceil(part * static_cast<double>(sorted.size())));
        return sorted[std::max<std::size_t>(rank, 1) - 1].time.wallMs;
    };
    const double sum = std::accumulate(sorted.begin(), sorted.end(), 0.0,
                                       [](double total, const FrameCost& cost) { return total + cost.time.wallMs; });
    return FrameTimes{.mean = sum / static_cast<double>(sorted.size()),
                      .median = percentile(0.5),
                      .percentile95 = percentile(0.95),
                      .percentile99 = percentile(0.99),
                      .worst = sorted.back().time.wallMs,
                      .worstFrame = sorted.back().frame,
                      .worstPass = sorted.back().pass};
}

} // namespace Host
