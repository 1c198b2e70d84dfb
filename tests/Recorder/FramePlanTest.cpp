// What a recording keeps of the frames of a program.

#include <gmock/gmock.h>

#include "Recorder/Launcher/FramePlan.h"

namespace Recorder {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint32_t NoEnd = Util::FrameRange::NoEnd;

std::shared_ptr<Request> Ask(Command command, std::uint32_t frames = 0)
{
    return std::make_shared<Request>(command, frames, Request::Nobody);
}

using Frames = std::tuple<std::uint32_t, std::uint32_t, bool>;

std::vector<Frames> FramesOf(const std::vector<Part>& parts)
{
    std::vector<Frames> frames;
    for (const Part& part : parts)
        frames.emplace_back(part.frames.first, part.frames.last, part.isMain);
    return frames;
}

TEST(FramePlanTest, ARangeIsTheCaptureThatWasNamed)
{
    FramePlan plan(Wanted{.frames = {5, 9}});
    EXPECT_EQ(plan.FirstWanted(2), 3u) << "frames that may be asked for";
    EXPECT_NE(plan.Stop(3, Ask(Command::Stop)), "") << "it has not begun";
    EXPECT_THAT(plan.TakeComplete(8), IsEmpty());
    EXPECT_EQ(plan.FirstWanted(8), 5u);
    EXPECT_THAT(FramesOf(plan.TakeComplete(10)), ElementsAre(Frames{5, 9, true}));
    EXPECT_THAT(plan.TakeRest(12), IsEmpty());
}

TEST(FramePlanTest, WhatIsStoppedIsANumberedPart)
{
    FramePlan plan(Wanted{});
    EXPECT_NE(plan.Start(3), "") << "it records from the first frame on";
    EXPECT_EQ(plan.Stop(3, Ask(Command::Stop)), "");
    EXPECT_NE(plan.Stop(3, Ask(Command::Stop)), "");
    EXPECT_THAT(FramesOf(plan.TakeComplete(3)), ElementsAre(Frames{1, 3, false}));
    EXPECT_EQ(plan.Start(7), "");
    EXPECT_EQ(plan.Stop(7, Ask(Command::Stop)), "") << "in the frame of the start, which is waited for";
    EXPECT_THAT(plan.TakeComplete(7), IsEmpty());
    EXPECT_EQ(plan.FirstWanted(7), 8u);
    EXPECT_THAT(FramesOf(plan.TakeComplete(8)), ElementsAre(Frames{8, 8, false}));
    EXPECT_EQ(plan.Start(20), "");
    EXPECT_THAT(FramesOf(plan.TakeRest(25)), ElementsAre(Frames{21, NoEnd, false}));
}

TEST(FramePlanTest, SnapshotsAreOfTheNextFramesOrOfTheNewest)
{
    FramePlan next(Wanted{.isPaused = true});
    EXPECT_EQ(next.Snapshot(4, Ask(Command::Snapshot, 3)), "");
    EXPECT_EQ(next.Snapshot(5, Ask(Command::Snapshot, 1)), "");
    EXPECT_TRUE(next.IsRecording());
    EXPECT_THAT(FramesOf(next.TakeComplete(6)), ElementsAre(Frames{6, 6, false}));
    EXPECT_THAT(FramesOf(next.TakeRest(6)), ElementsAre(Frames{5, NoEnd, false})) << "as far as there were frames";

    FramePlan newest(Wanted{.last = 10});
    EXPECT_EQ(newest.FirstWanted(100), 91u);
    EXPECT_EQ(newest.Snapshot(100, Ask(Command::Snapshot, 4)), "");
    EXPECT_NE(newest.Snapshot(100, Ask(Command::Snapshot, 11)), "") << "more than are kept";
    EXPECT_THAT(FramesOf(newest.TakeComplete(100)), ElementsAre(Frames{97, 100, false}));
    EXPECT_THAT(FramesOf(newest.TakeRest(103)), ElementsAre(Frames{94, NoEnd, true}));
}

} // namespace
} // namespace Recorder
