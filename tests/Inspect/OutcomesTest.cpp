#include "Inspect/Replay/Outcomes.h"

#include <gtest/gtest.h>

namespace Inspect {
namespace {

constexpr std::size_t Side = 256;
constexpr std::size_t ImageBytes = Side * Side * 4;
constexpr std::size_t Room = 4 * ImageBytes;

/// After a draw that changes one byte of an image that is all `value` otherwise.
Outcome After(std::uint8_t value, std::size_t changed)
{
    Outcome outcome;
    outcome.call = {{"function", "glDrawArrays"}};
    outcome.targets = Json::array({{{"object", "framebuffer 1"}, {"what", "colour 0"}}});
    outcome.contents.assign(1, std::vector<std::uint8_t>(ImageBytes, value));
    outcome.contents[0][changed] = 255;
    outcome.answers["request"] = changed;
    return outcome;
}

TEST(KeptOutcomes, AnswerWhatWasKept)
{
    KeptOutcomes kept(Room);
    // The number of the edits tells them apart.
    const std::map<KeptOutcomes::Moment, Outcome> all = {
        {{0, {1, 1}}, After(0, 0)}, {{0, {1, 2}}, After(0, ImageBytes - 1)}, {{3, {1, 1}}, After(7, 5)}};
    for (const auto& [moment, outcome] : all)
        kept.Keep(moment, outcome);
    for (const auto& [moment, expected] : all) {
        const auto found = kept.Find(moment);
        ASSERT_TRUE(found);
        EXPECT_EQ(found->call, expected.call);
        EXPECT_EQ(found->targets, expected.targets);
        EXPECT_EQ(found->contents, expected.contents);
        EXPECT_EQ(kept.FindAnswer(moment, "request"), expected.answers.at("request"));
    }
    EXPECT_FALSE(kept.FindAnswer({0, {1, 1}}, "another"));
    EXPECT_FALSE(kept.Find({3, {1, 2}}));
    EXPECT_EQ(kept.CountOf(1), 2U);
}

TEST(KeptOutcomes, ADrawTakesWhatItChanges)
{
    KeptOutcomes kept(Room);
    // As whole images there is room for four.
    for (std::uint32_t call = 1; call <= 40; ++call)
        EXPECT_TRUE(kept.KeepAhead({0, {1, call}}, After(0, call)));
    EXPECT_EQ(kept.CountOf(1), 40U);
}

TEST(KeptOutcomes, WhatIsMadeAheadTakesThePlaceOfOtherFramesOnly)
{
    KeptOutcomes kept(Room);
    for (std::uint32_t call = 1; call <= 3; ++call)
        kept.Keep({0, {1, call}}, After(static_cast<std::uint8_t>(call), 0));
    // The first ones push out the other frame, and then there is no room.
    for (std::uint32_t call = 1; call <= 3; ++call)
        EXPECT_TRUE(kept.KeepAhead({0, {2, call}}, After(static_cast<std::uint8_t>(call), 0)));
    EXPECT_FALSE(kept.KeepAhead({0, {2, 4}}, After(4, 0)));
    EXPECT_EQ(kept.CountOf(1), 0U);
    EXPECT_EQ(kept.CountOf(2), 3U);
    // What is asked for has room always; what was used last stays.
    EXPECT_TRUE(kept.Find({0, {2, 1}}));
    kept.Keep({0, {2, 4}}, After(4, 0));
    EXPECT_TRUE(kept.Find({0, {2, 1}}));
    EXPECT_TRUE(kept.Find({0, {2, 4}}));
    EXPECT_FALSE(kept.Find({0, {2, 2}}));
}

} // namespace
} // namespace Inspect
