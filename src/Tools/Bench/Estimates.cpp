#include "Tools/Bench/Estimates.h"

#include <algorithm>
#include <cmath>

namespace Tools {

namespace {

double Quantile(const std::vector<double>& sorted, double share)
{
    const double place = share * static_cast<double>(sorted.size() - 1);
    const auto below = static_cast<std::size_t>(place);
    const std::size_t above = std::min(below + 1, sorted.size() - 1);
    return std::lerp(sorted[below], sorted[above], place - static_cast<double>(below));
}

/// How many averages lie below an interval with this confidence, and as many above. The number of positive averages of
/// `count` values around zero is distributed as the sum of those of the numbers 1 to `count` whose coin shows heads.
std::size_t LeftOut(std::size_t count, double confidence)
{
    std::vector<double> chance(count * (count + 1) / 2 + 1);
    chance[0] = 1;
    for (std::size_t rank = 1, top = 0; rank <= count; top += rank++)
        for (std::size_t sum = top + rank + 1; sum-- > 0;)
            chance[sum] = (chance[sum] + (sum >= rank ? chance[sum - rank] : 0)) / 2;
    const double allowed = (1 - confidence) / 2;
    std::size_t out = 0;
    for (double below = chance[0]; below <= allowed && out + 1 < chance.size(); below += chance[++out]) {
    }
    return out;
}

} // namespace

Distribution DistributionOf(std::vector<double> values)
{
    std::ranges::sort(values);
    return {Quantile(values, 0.5), Quantile(values, 0.25), Quantile(values, 0.75)};
}

Estimate HodgesLehmann(std::span<const double> values, double confidence)
{
    std::vector<double> averages;
    averages.reserve(values.size() * (values.size() + 1) / 2);
    for (std::size_t i = 0; i < values.size(); ++i)
        for (std::size_t j = 0; j <= i; ++j)
            averages.push_back((values[i] + values[j]) / 2);
    std::ranges::sort(averages);
    // The k averages at either end are outside where the chance of fewer than k is small enough.
    const std::size_t out = LeftOut(values.size(), confidence);
    const std::size_t first = out == 0 ? 0 : out - 1;
    return {Quantile(averages, 0.5), averages[first], averages[averages.size() - 1 - first]};
}

std::size_t FewestValues(double confidence)
{
    std::size_t count = 1;
    while (std::ldexp(1.0, 1 - static_cast<int>(count)) > 1 - confidence)
        ++count;
    return count;
}

} // namespace Tools
