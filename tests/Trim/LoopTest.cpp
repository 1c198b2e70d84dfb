// What is brought back at the start of a loop, and by which calls.
#include <gmock/gmock.h>

#include "Trim/Loop/InitialValues.h"
#include "Trim/Loop/RestoreSelection.h"
#include "Trim/Track/StateTracker.h"
#include "support/TestCapture.h"

namespace Trim {

namespace {

using Data::CallId;
using Data::CallRecord;
using testing::ElementsAre;
using testing::IsEmpty;
using Words = std::vector<std::uint32_t>;

/// A context of its own that draws to a surface, some calls in front of a loop, and those in it.
class Loop {
public:
    Loop(const std::vector<CallRecord>& front, const std::vector<CallRecord>& loop)
    {
        m_tracker.SetThread(1);
        Track(CallRecord(CallId::eglCreateContext, 10, 1, 2, 0, 0));
        Track(CallRecord(CallId::eglMakeCurrent, 1, 1, 5, 5, 10));
        const std::size_t first = m_tracker.Log().Count();
        for (const CallRecord& call : front)
            Track(call);
        const Data::StateSlots& slots = m_tracker.Model().Slots();
        LoopBegin begin{m_tracker.Log().Count(), slots.OwnerCount(), {}, {}};
        for (Slot slot = 0; slot < slots.Count(); ++slot)
            begin.bound.push_back(slots.ValueOf(slot).bound);
        for (Owner owner = 0; owner < begin.owners; ++owner)
            begin.isAlive.push_back(!m_tracker.Object(owner).isDeleted);
        for (const CallRecord& call : loop)
            Track(call);
        const std::vector<bool> isIgnored(m_tracker.Log().Count());
        needs = FindNeeds(m_tracker.Log(), slots, begin, isIgnored);
        const auto hasContents = [&](Slot slot) { return slots.StateOf(slot) == State::Pixels; };
        const auto isFixed = [&](Owner owner) {
            const Data::StateObject& object = m_tracker.Model().Object(owner);
            return object.name == 0 || object.kind == ObjectKind::Context;
        };
        selection = SelectRestore(m_tracker.Log(), slots, begin, needs, hasContents, isFixed, isIgnored);
        for (std::size_t i = 0; i < front.size(); ++i)
            if (selection.isKept[first + i])
                kept.push_back(i);
    }

    /// How often each state is brought back that is no contents.
    [[nodiscard]] std::vector<std::string> Touched() const
    {
        std::set<std::string> names;
        for (const Slot slot : selection.touched)
            names.insert(Data::Describe(m_tracker.Model().Slots().StateOf(slot)).name);
        return {names.begin(), names.end()};
    }
    /// The calls that set what no call of the front set.
    [[nodiscard]] std::vector<CallId> InitialCalls() const
    {
        std::vector<CallId> ids;
        for (const Slot slot : selection.unset)
            for (const OutputCall& call : CallsForInitialValue(m_tracker.Model(), slot, [this](Slot other) {
                     return selection.touched.contains(other) || needs.isWritten[other];
                 }))
                ids.push_back(call.id);
        return ids;
    }

    LoopNeeds needs;
    RestoreSelection selection;
    /// Numbers of the calls of the front that are replayed again.
    std::vector<std::size_t> kept;

private:
    void Track(const CallRecord& call)
    {
        std::vector<std::uint8_t> record = call.bytes;
        const Data::RecordHeader header{static_cast<std::uint32_t>(record.size()), call.id};
        std::memcpy(record.data(), &header, sizeof header);
        m_tracker.Call(CallArguments(static_cast<CallId>(call.id), Data::RecordView(record.data())));
    }

    StateTracker m_tracker;
};

const CallRecord Draw(CallId::glDrawArrays, 4, 0, 3);
const CallRecord ClearAll(CallId::glClear, 0x4500);
const CallRecord Less(CallId::glDepthFunc, 0x0201);
const CallRecord Greater(CallId::glDepthFunc, 0x0204);
const CallRecord Bind(CallId::glBindTexture, 0x0DE1, 1);
const CallRecord BindOther(CallId::glBindTexture, 0x0DE1, 2);

} // namespace

TEST(LoopTest, OnlyWhatIsReadBeforeItIsSetAgainIsBroughtBack)
{
    EXPECT_THAT(Loop({Less}, {ClearAll, Draw, Greater}).kept, ElementsAre(0)) << "the next pass would draw with it";
    EXPECT_THAT(Loop({Less}, {Greater, ClearAll, Draw}).kept, IsEmpty()) << "each pass sets it first";
    EXPECT_THAT(Loop({Less}, {ClearAll, Draw}).kept, IsEmpty()) << "it stays as it is";
    EXPECT_THAT(Loop({Greater, Less}, {ClearAll, Draw, Greater}).kept, ElementsAre(1)) << "the last one that set it";
}

TEST(LoopTest, WhatTheSurfaceHeldIsBroughtBackUnlessItIsCleared)
{
    EXPECT_THAT(Loop({ClearAll, Draw}, {ClearAll, Draw}).Touched(), IsEmpty());
    EXPECT_THAT(Loop({ClearAll, Draw}, {Draw}).Touched(), ElementsAre("pixels"));
}

TEST(LoopTest, CallsThatAreReplayedFindWhatTheyNeedAndLeaveNothingElseBehind)
{
    const CallRecord parameter(CallId::glTexParameteri, 0x0DE1, 0x2801, 0x2600);
    const CallRecord other(CallId::glTexParameteri, 0x0DE1, 0x2801, 0x2601);
    const Loop loop({CallRecord(CallId::glGenTextures, 2, Words{1, 2}), Bind, parameter, BindOther},
                    {ClearAll, Draw, Bind, Draw, other, BindOther});
    // The parameter belongs to the texture that must be bound for it, and afterwards the other one has to be.
    EXPECT_THAT(loop.kept, ElementsAre(1, 2, 3));
    EXPECT_THAT(loop.Touched(), ElementsAre("texture", "texture_parameter"));
    EXPECT_THAT(loop.selection.recreated, IsEmpty());
}

TEST(LoopTest, DeletedObjectsAreMadeAnewAndBoundWhereTheyWere)
{
    const CallRecord make(CallId::glGenTextures, 1, Words{1});
    const CallRecord framebuffers(CallId::glGenFramebuffers, 1, Words{3});
    const CallRecord framebuffer(CallId::glBindFramebuffer, 0x8D40, 3);
    const CallRecord attach(CallId::glFramebufferTexture2D, 0x8D40, 0x8CE0, 0x0DE1, 1, 0);
    const CallRecord unbind(CallId::glBindFramebuffer, 0x8D40, 0);
    const Loop loop({make, Bind, framebuffers, framebuffer, attach, unbind},
                    {ClearAll, Draw, CallRecord(CallId::glDeleteTextures, 1, Words{1})});
    EXPECT_THAT(loop.selection.recreated, testing::SizeIs(1));
    EXPECT_THAT(loop.kept, testing::IsSupersetOf({0, 1, 3, 4, 5}));
    EXPECT_THAT(loop.kept, testing::Not(testing::Contains(2))) << "the framebuffer is still there";
}

TEST(LoopTest, WhatNobodySetGetsItsFirstValue)
{
    const CallRecord enable(CallId::glEnable, 0x0BE2);
    EXPECT_THAT(Loop({}, {ClearAll, Draw, Greater}).InitialCalls(), ElementsAre(CallId::glDepthFunc));
    EXPECT_THAT(Loop({}, {ClearAll, Draw, Bind}).InitialCalls(), ElementsAre(CallId::glBindTexture));
    EXPECT_THAT(Loop({}, {ClearAll, Draw, enable}).InitialCalls(), testing::Each(CallId::glDisable));
    EXPECT_THAT(Loop({}, {ClearAll, Draw, CallRecord(CallId::glDisable, 0x0BD0)}).InitialCalls(),
                testing::AllOf(testing::Not(IsEmpty()), testing::Each(CallId::glEnable)))
        << "dithering is on at the start";
}

} // namespace Trim
