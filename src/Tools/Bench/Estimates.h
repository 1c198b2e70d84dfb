// Statistics that outliers do not spoil.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace Tools {

/// A value, and the interval in which the true one lies with some confidence.
struct Estimate {
    double value = 0;
    double low = 0;
    double high = 0;
};

/// The middle and the quarters of some values, in their unit.
struct Distribution {
    double median = 0;
    double lowQuartile = 0;
    double highQuartile = 0;
};

/// Of one value or more; between two of them it is interpolated.
[[nodiscard]] Distribution DistributionOf(std::vector<double> values);

/// The Hodges-Lehmann estimate of the centre: the median of the averages of all pairs, each value with itself included.
/// Its interval is that of the signed-rank test (Wilcoxon), exact for independent values of any symmetric distribution.
/// `confidence` is below 1; where there are fewer values than FewestValues says, the interval is as wide as they are.
[[nodiscard]] Estimate HodgesLehmann(std::span<const double> values, double confidence);

/// How many values an interval with this confidence needs.
[[nodiscard]] std::size_t FewestValues(double confidence);

} // namespace Tools
