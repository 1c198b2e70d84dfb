#include "Tools/Bench/Estimates.h"

#include <algorithm>
#include <random>

#include <gmock/gmock.h>

namespace {

using testing::DoubleEq;
using testing::DoubleNear;

constexpr double Confidence = 0.95;

TEST(EstimatesTest, QuartilesLieBetweenTheValues)
{
    const Tools::Distribution times = Tools::DistributionOf({4, 1, 2, 3});
    EXPECT_THAT(times.median, DoubleEq(2.5));
    EXPECT_THAT(times.lowQuartile, DoubleEq(1.75));
    EXPECT_THAT(times.highQuartile, DoubleEq(3.25));
    EXPECT_THAT(Tools::DistributionOf({7}).highQuartile, DoubleEq(7));
}

// Tables of the signed-rank test: of 6 values, at 95 %, no average is left out but the outermost are the ends; of 10,
// at 95 %, the critical value is 8, so that the ninth average from either end bounds the interval.
TEST(EstimatesTest, IntervalIsThatOfTheSignedRankTest)
{
    const std::vector<double> six = {1, 2, 4, 8, 16, 32};
    const Tools::Estimate wide = Tools::HodgesLehmann(six, Confidence);
    EXPECT_THAT(wide.low, DoubleEq(1));
    EXPECT_THAT(wide.high, DoubleEq(32));

    std::vector<double> ten;
    for (int i = 0; i < 10; ++i)
        ten.push_back(static_cast<double>(1 << i));
    std::vector<double> averages;
    for (std::size_t i = 0; i < ten.size(); ++i)
        for (std::size_t j = 0; j <= i; ++j)
            averages.push_back((ten[i] + ten[j]) / 2);
    std::ranges::sort(averages);
    const Tools::Estimate narrow = Tools::HodgesLehmann(ten, Confidence);
    EXPECT_THAT(narrow.low, DoubleEq(averages[8]));
    EXPECT_THAT(narrow.high, DoubleEq(averages[averages.size() - 9]));
    EXPECT_THAT(narrow.value, DoubleEq(averages[averages.size() / 2]));
}

TEST(EstimatesTest, OneOutlierDoesNotMoveTheEstimateFar)
{
    std::vector<double> values = {1.00, 1.01, 0.99, 1.02, 0.98, 1.00, 1.01, 0.99, 1.00, 1.01, 0.99, 1.00};
    const Tools::Estimate before = Tools::HodgesLehmann(values, Confidence);
    values.back() = 50;
    const Tools::Estimate after = Tools::HodgesLehmann(values, Confidence);
    EXPECT_THAT(after.value, DoubleNear(before.value, 0.01));
    EXPECT_LT(after.high, 1.1);
}

TEST(EstimatesTest, TheTrueCentreIsOutsideAsOftenAsTheConfidenceSays)
{
    std::mt19937 random(1);
    std::student_t_distribution<double> heavyTails(2);
    constexpr int Trials = 4000;
    int missed = 0;
    for (int trial = 0; trial < Trials; ++trial) {
        std::vector<double> values(12);
        std::ranges::generate(values, [&] { return 3 + heavyTails(random); });
        const Tools::Estimate estimate = Tools::HodgesLehmann(values, Confidence);
        missed += estimate.low > 3 || estimate.high < 3;
    }
    // Of 12 values the interval can have 95.8 % at least.
    EXPECT_THAT(missed / static_cast<double>(Trials), DoubleNear(0.042, 0.01));
}

TEST(EstimatesTest, ConfidenceNeedsValues)
{
    EXPECT_EQ(Tools::FewestValues(0.95), 6U);
    EXPECT_EQ(Tools::FewestValues(0.99), 8U);
    EXPECT_EQ(Tools::FewestValues(0.999), 11U);
}

} // namespace
