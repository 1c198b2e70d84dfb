#include "Tools/Bench/BenchText.h"

#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;

constexpr double Confidence = 0.99;

/// Rounds of four passes of two frames, `factor` times as long as those of another side in the same moment.
std::vector<Tools::ReplayResults> Rounds(double factor, std::size_t slowFrame = 2)
{
    std::vector<Tools::ReplayResults> rounds(10);
    double noise = 1;
    for (Tools::ReplayResults& round : rounds) {
        for (int pass = 0; pass < 4; ++pass) {
            // The machine becomes slower and slower, which meets both sides.
            noise += 0.1;
            round.frames.push_back({{5 * noise, 4}, {10 * noise, 8}});
            for (std::size_t frame = 0; frame < 2; ++frame)
                if (slowFrame == 2 || slowFrame == frame)
                    round.frames.back()[frame].wallMs *= factor;
        }
    }
    return rounds;
}

Tools::Comparison CompareRounds(double factor, std::size_t slowFrame = 2)
{
    return Tools::Compare({{7, 8}, 4, Rounds(1), Rounds(factor, slowFrame), -1, -1}, Confidence);
}

TEST(BenchTest, SidesAreComparedPassByPassSoThatDriftMeetsBoth)
{
    EXPECT_EQ(Tools::Verdict(CompareRounds(1.031).wall), "B is 3.1 % slower, 3.1 to 3.1");
    EXPECT_EQ(Tools::Verdict(CompareRounds(0.5).wall), "B is 50.0 % faster, 50.0 to 50.0");
    const Tools::Comparison equal = CompareRounds(1);
    EXPECT_FALSE(Tools::IsDifferent(equal.wall));
    EXPECT_THAT(Tools::Verdict(equal.wall), HasSubstr("No difference found"));
}

TEST(BenchTest, FramesTellWhereTheDifferenceIs)
{
    const Tools::Comparison comparison = CompareRounds(2, 1);
    ASSERT_EQ(comparison.frames.size(), 2U);
    EXPECT_EQ(comparison.frames[1].name, "frame 8");
    EXPECT_FALSE(Tools::IsDifferent(comparison.frames[0]));
    EXPECT_TRUE(Tools::IsDifferent(comparison.frames[1]));
    EXPECT_NEAR(comparison.frames[1].ratio->value, 2, 1e-9);
}

TEST(BenchTest, OneSideHasTimesAndNoRatio)
{
    const Tools::Comparison comparison = Tools::Compare({{7, 8}, 4, Rounds(1), {}, -1, -1}, Confidence);
    EXPECT_FALSE(comparison.wall.ratio);
    EXPECT_FALSE(comparison.wall.b);
    EXPECT_GT(comparison.wall.centre->low, 0);
    EXPECT_THAT(Tools::Verdict(comparison.wall), HasSubstr("A takes"));
}

TEST(BenchTest, TimesTooShortForTheClockAreNotCompared)
{
    std::vector<Tools::ReplayResults> b = Rounds(1);
    b[3].frames[1] = {{0, 0}, {0, 0}};
    const Tools::Comparison comparison = Tools::Compare({{7, 8}, 4, Rounds(1), b, -1, -1}, Confidence);
    EXPECT_FALSE(comparison.wall.ratio);
    EXPECT_THAT(Tools::Verdict(comparison.wall), HasSubstr("no time"));
}

TEST(BenchTest, ResultsOfAReplayAreReadAndOthersRefused)
{
    Tools::ReplayResults results;
    ASSERT_TRUE(Tools::ReadResults(R"({"driver": {"GL_RENDERER": "x"}, "errors": null, "callTimesMs": {"glClear": 2},
        "measured": [{"pass": 1, "frame": 7, "wallMs": 9, "cpuMs": 9}, {"pass": 2, "frame": 7, "wallMs": 3, "cpuMs": 4},
                     {"pass": 3, "frame": 7, "wallMs": 5, "cpuMs": 6}]})",
                                   results));
    ASSERT_EQ(results.frames.size(), 2U);
    EXPECT_EQ(results.frames[1][0].cpuMs, 6);
    EXPECT_EQ(results.callsMs.at("glClear"), 2);
    for (const char* const text : {"", "{", "[]", R"({"measured": [{"pass": "x"}]})"})
        EXPECT_FALSE(Tools::ReadResults(text, results)) << text;
}

TEST(BenchTest, WrongOptionsAreNamed)
{
    const auto errorOf = [](std::vector<const char*> arguments) {
        arguments.insert(arguments.begin(), "playback-bench");
        const auto parsed = Tools::ParseBenchOptions(static_cast<int>(arguments.size()), arguments.data());
        const auto* const answer = std::get_if<Tools::BenchAnswer>(&parsed);
        return answer ? answer->text : "";
    };
    EXPECT_EQ(errorOf({"x.glcap", "--b-options", ""}), "");
    EXPECT_THAT(errorOf({"x.glcap", "--repeat", "10"}), HasSubstr("--repeat 10 is too few for the confidence"));
    EXPECT_THAT(errorOf({"x.glcap", "--repeat", "10", "--confidence", "99"}), "");
    EXPECT_THAT(errorOf({"x.glcap", "--fail-above", "2%"}), HasSubstr("--fail-above needs a side B"));
    EXPECT_THAT(errorOf({"x.glcap", "--fail-above", "2 %", "--b-driver", "d"}), HasSubstr("found \"2 %\""));
    EXPECT_THAT(errorOf({"x.glcap", "--frames", "7-3"}), HasSubstr("found \"7-3\""));
    EXPECT_THAT(errorOf({}), HasSubstr("no capture file given"));
}

} // namespace
