#include "Host/Results/GpuTimes.h"

#include <algorithm>
#include <functional>

namespace Host {

void AddCounters(std::vector<double>& sums, const std::vector<double>& counters)
{
    sums.resize(std::max(sums.size(), counters.size()));
    std::ranges::transform(counters, sums, sums.begin(), std::plus());
}

GpuTimes::FrameSums GpuTimes::Frames() const
{
    FrameSums frames;
    for (const GpuCost& cost : costs) {
        std::optional<double>& sum = frames.try_emplace({cost.pass, cost.frame}, 0.0).first->second;
        if (cost.notMeasured != NotMeasured::No)
            sum.reset();
        else if (sum)
            *sum += cost.gpuMs;
    }
    return frames;
}

std::vector<GpuCost> GpuTimes::RenderPasses() const
{
    std::vector<GpuCost> sums;
    for (const GpuCost& cost : costs) {
        if (cost.renderPass == 0)
            continue;
        const bool isSame = !sums.empty() && sums.back().pass == cost.pass && sums.back().frame == cost.frame &&
                            sums.back().renderPass == cost.renderPass;
        if (!isSame) {
            sums.push_back(cost);
            continue;
        }
        GpuCost& sum = sums.back();
        sum.actions += cost.actions;
        sum.gpuMs += cost.gpuMs;
        sum.cpuMs += cost.cpuMs;
        AddCounters(sum.counters, cost.counters);
        if (cost.notMeasured != NotMeasured::No)
            sum.notMeasured = cost.notMeasured;
    }
    return sums;
}

} // namespace Host
