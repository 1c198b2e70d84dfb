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
    EXPECT_EQ(Tools::Verdict(CompareRounds(1.031)), "B is 3.1 % slower, 3.1 to 3.1, most of it in frame 8");
    EXPECT_EQ(Tools::Verdict(CompareRounds(0.5)), "B is 50.0 % faster, 50.0 to 50.0, most of it in frame 8");
    const Tools::Comparison equal = CompareRounds(1);
    EXPECT_FALSE(Tools::IsDifferent(equal.wall));
    EXPECT_THAT(Tools::Verdict(equal), HasSubstr("No difference found"));
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

TEST(BenchTest, RenderPassesTellWhereTheDifferenceIs)
{
    const auto rounds = [](double factor) {
        std::vector<Tools::ReplayResults> rounds = Rounds(factor);
        for (Tools::ReplayResults& round : rounds)
            round.gpuMs.assign(round.frames.size(), {{{7, 1, 0}, 2}, {{7, 2, 5}, 3 * factor}});
        return rounds;
    };
    std::vector<Tools::ReplayResults> b = rounds(1.2);
    // One that the driver did not measure is in no sum; one that B alone has is not compared.
    b[2].gpuMs[1].erase({7, 2, 5});
    b[4].gpuMs[0][{8, 1, 0}] = 9;
    const Tools::Comparison gap = Tools::Compare({{7, 8}, 4, rounds(1), b, -1, -1}, Confidence);
    ASSERT_EQ(gap.renderPasses.size(), 2U);
    EXPECT_FALSE(gap.renderPasses[1].ratio);
    EXPECT_FALSE(gap.gpu);

    const Tools::Comparison whole = Tools::Compare({{7, 8}, 4, rounds(1), rounds(1.2), -1, -1}, Confidence);
    EXPECT_NEAR(whole.gpu->ratio->value, 5.6 / 5, 1e-9);
    EXPECT_FALSE(Tools::IsDifferent(whole.renderPasses[0]));
    EXPECT_THAT(Tools::Verdict(whole), HasSubstr("to 20.0, most of it in pass 2 of frame 7 (framebuffer 5)"));
}

TEST(BenchTest, OneSideHasTimesAndNoRatio)
{
    const Tools::Comparison comparison = Tools::Compare({{7, 8}, 4, Rounds(1), {}, -1, -1}, Confidence);
    EXPECT_FALSE(comparison.wall.ratio);
    EXPECT_FALSE(comparison.wall.b);
    EXPECT_GT(comparison.wall.centre->low, 0);
    EXPECT_THAT(Tools::Verdict(comparison), HasSubstr("A takes"));
}

TEST(BenchTest, TimesTooShortForTheClockAreNotCompared)
{
    std::vector<Tools::ReplayResults> b = Rounds(1);
    b[3].frames[1] = {{0, 0}, {0, 0}};
    const Tools::Comparison comparison = Tools::Compare({{7, 8}, 4, Rounds(1), b, -1, -1}, Confidence);
    EXPECT_FALSE(comparison.wall.ratio);
    EXPECT_THAT(Tools::Verdict(comparison), HasSubstr("no time"));
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
    ASSERT_TRUE(Tools::ReadResults(R"({"driver": {}, "errors": null, "callTimesMs": null,
        "measured": [{"pass": 2, "frame": 7, "wallMs": 3, "cpuMs": 4}],
        "gpu": {"by": "passes", "unavailable": "no clock", "passes": [
            {"pass": 1, "frame": 7, "renderPass": 1, "framebuffer": 3, "gpuMs": 9},
            {"pass": 2, "frame": 7, "renderPass": 1, "framebuffer": 3, "gpuMs": 8},
            {"pass": 2, "frame": 7, "renderPass": 2, "framebuffer": 0, "gpuMs": null}]}})",
                                   results));
    EXPECT_EQ(results.gpuUnavailable, "no clock");
    EXPECT_THAT(results.gpuMs.at(0), testing::ElementsAre(testing::Pair(Tools::RenderPass{7, 1, 3}, 8.0)));
    for (const char* const text : {"", "{", "[]", R"({"measured": [{"pass": "x"}]})"})
        EXPECT_FALSE(Tools::ReadResults(text, results)) << text;
}

TEST(BenchTest, WrongOptionsAreNamed)
{
    const auto errorOf = [](std::vector<const char*> arguments) {
        arguments.insert(arguments.begin(), "playback-bench");
        testing::internal::CaptureStderr();
        static_cast<void>(Tools::ParseBenchOptions(static_cast<int>(arguments.size()), arguments.data()));
        return testing::internal::GetCapturedStderr();
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
