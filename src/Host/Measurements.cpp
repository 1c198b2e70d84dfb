#include "Host/Measurements.h"

#include <algorithm>
#include <cmath>
#include <ctime>
#include <numeric>

namespace Host {

namespace {

double CpuMilliseconds()
{
    timespec time = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

} // namespace

void Measurements::StartFrame(std::uint64_t calls)
{
    m_calls = calls;
    m_cpuMs = CpuMilliseconds();
    m_wall = std::chrono::steady_clock::now();
}

void Measurements::EndFrame(std::uint32_t frame, std::uint64_t calls)
{
    if (!m_range.Contains(frame)) {
        return;
    }
    const std::chrono::duration<double, std::milli> wall = std::chrono::steady_clock::now() - m_wall;
    m_costs.push_back({frame, calls - m_calls, wall.count(), CpuMilliseconds() - m_cpuMs});
}

std::optional<FrameTimes> Measurements::Times() const
{
    if (m_costs.empty()) {
        return std::nullopt;
    }
    std::vector<FrameCost> sorted = m_costs;
    std::ranges::stable_sort(sorted, {}, &FrameCost::wallMs);
    const auto percentile = [&](double part) {
        const auto rank = static_cast<std::size_t>(std::ceil(part * static_cast<double>(sorted.size())));
        return sorted[std::max<std::size_t>(rank, 1) - 1].wallMs;
    };
    const double sum = std::accumulate(sorted.begin(), sorted.end(), 0.0,
                                       [](double total, const FrameCost& cost) { return total + cost.wallMs; });
    return FrameTimes{.mean = sum / static_cast<double>(sorted.size()),
                      .median = percentile(0.5),
                      .percentile95 = percentile(0.95),
                      .percentile99 = percentile(0.99),
                      .worst = sorted.back().wallMs,
                      .worstFrame = sorted.back().frame};
}

} // namespace Host
