// Which calls are kept of those in front of the first frame.
#include <gmock/gmock.h>

#include "Trim/Track/StateTracker.h"
#include "support/TestCapture.h"

namespace Trim {

namespace {

using Data::CallId;
using Data::CallRecord;
using Words = std::vector<std::uint32_t>;

struct Case {
    const char* name;
    std::vector<CallRecord> calls;
    /// Numbers of the calls that are kept.
    std::vector<std::size_t> kept;
};

void Track(StateTracker& tracker, const CallRecord& call)
{
    std::vector<std::uint8_t> record = call.bytes;
    const Data::RecordHeader header{static_cast<std::uint32_t>(record.size()), call.id};
    std::memcpy(record.data(), &header, sizeof header);
    tracker.Call(CallArguments(static_cast<CallId>(call.id), Data::RecordView(record.data())));
}

/// Of calls in a context of their own that draws to a surface.
std::vector<std::size_t> Kept(const std::vector<CallRecord>& calls)
{
    StateTracker tracker;
    tracker.SetThread(1);
    Track(tracker, CallRecord(CallId::eglCreateContext, 10, 1, 2, 0, 0));
    Track(tracker, CallRecord(CallId::eglMakeCurrent, 1, 1, 5, 5, 10));
    const std::size_t first = tracker.Log().Count();
    for (const CallRecord& call : calls)
        Track(tracker, call);
    const Selection selection = SelectRecords(tracker.Log(), tracker.Model().Slots(), {});
    std::vector<std::size_t> kept;
    for (std::size_t i = 0; i < calls.size(); ++i)
        if (selection.isKept[first + i])
            kept.push_back(i);
    return kept;
}

} // namespace

TEST(StateTrackerTest, CallsAreKeptWhoseEffectLasts)
{
    const CallRecord draw(CallId::glDrawArrays, 4, 0, 3);
    const CallRecord clear(CallId::glClear, 0x4500);
    const CallRecord func(CallId::glDepthFunc, 0x0203);
    const CallRecord bind(CallId::glBindTexture, 0x0DE1, 1);
    const Case cases[] = {
        {"the last one of those that set the same", {func, func}, {1}},
        {"all draw buffers replace one, and one does not replace all",
         {CallRecord(CallId::glBlendFunci, 1, 1, 0), CallRecord(CallId::glBlendFunc, 1, 0),
          CallRecord(CallId::glBlendFunciEXT, 2, 1, 1)},
         {1, 2}},
        {"a clear replaces what was drawn", {draw, clear}, {1}},
        {"unless colours are masked, of one draw buffer too",
         {draw, CallRecord(CallId::glColorMaskiEXT, 0, 1, 0, 1, 1), clear},
         {0, 1, 2}},
        {"until they are written again",
         {draw, CallRecord(CallId::glColorMaski, 0, 1, 0, 1, 1), CallRecord(CallId::glColorMask, 1, 1, 1, 1), clear},
         {2, 3}},
        {"what is not understood may depend on everything",
         {func, CallRecord(CallId::glShadingRateTAVO, 1), func},
         {0, 1, 2}},
        {"what was set of an object that is deleted is of no use",
         {CallRecord(CallId::glGenTextures, 1, Words{1}), bind,
          CallRecord(CallId::glTexParameteri, 0x0DE1, 0x2801, 0x2600),
          CallRecord(CallId::glDeleteTextures, 1, Words{1})},
         {0, 1, 3}},
        {"parameters need the texture and where it was bound",
         {CallRecord(CallId::glActiveTexture, 0x84C1), CallRecord(CallId::glGenTextures, 1, Words{1}), bind,
          CallRecord(CallId::glTexParameteri, 0x0DE1, 0x2801, 0x2600), CallRecord(CallId::glBindTexture, 0x0DE1, 0),
          CallRecord(CallId::glActiveTexture, 0x84C0)},
         {0, 1, 2, 3, 4, 5}},
        {"uniforms need the program as it was linked",
         {CallRecord(CallId::glCreateProgram, 8), CallRecord(CallId::glLinkProgram, 8),
          CallRecord(CallId::glUseProgram, 8), CallRecord(CallId::glUniform1f, 3, 1.0),
          CallRecord(CallId::glUniform1f, 3, 2.0), CallRecord(CallId::glUseProgram, 0)},
         {0, 1, 2, 4, 5}},
        {"an attachment replaces one, and is gone with its texture",
         {CallRecord(CallId::glGenFramebuffers, 1, Words{1}), CallRecord(CallId::glGenTextures, 2, Words{1, 2}),
          CallRecord(CallId::glBindFramebuffer, 0x8D40, 1),
          CallRecord(CallId::glFramebufferTexture2D, 0x8D40, 0x8CE0, 0x0DE1, 1, 0),
          CallRecord(CallId::glFramebufferTexture2D, 0x8D40, 0x8CE0, 0x0DE1, 2, 0),
          CallRecord(CallId::glFramebufferTexture2D, 0x8D40, 0x8CE1, 0x0DE1, 1, 0)},
         {0, 1, 2, 4, 5}},
        {"a stage replaces that stage only",
         {CallRecord(CallId::glGenProgramPipelines, 1, Words{1}), CallRecord(CallId::glCreateProgram, 8),
          CallRecord(CallId::glBindProgramPipeline, 1), CallRecord(CallId::glUseProgramStages, 1, 1, 8),
          CallRecord(CallId::glUseProgramStages, 1, 3, 8), CallRecord(CallId::glUseProgramStages, 1, 1, 8)},
         {0, 1, 2, 4, 5}},
        {"of a deleted buffer in the bound vertex array only the bind that made it still counts",
         {CallRecord(CallId::glGenVertexArrays, 1, Words{1}), CallRecord(CallId::glGenBuffers, 2, Words{1, 2}),
          CallRecord(CallId::glBindVertexArray, 1), CallRecord(CallId::glBindVertexBuffer, 0, 1, 0, 16),
          CallRecord(CallId::glBindBuffer, 0x8893, 1), CallRecord(CallId::glBindVertexBuffer, 1, 1, 0, 16),
          CallRecord(CallId::glDeleteBuffers, 1, Words{1}), CallRecord(CallId::glBindVertexBuffer, 0, 2, 0, 16),
          CallRecord(CallId::glBindBuffer, 0x8893, 2), CallRecord(CallId::glBindVertexArray, 0)},
         {0, 1, 2, 3, 5, 6, 7, 8, 9}},
    };
    for (const Case& each : cases)
        EXPECT_EQ(Kept(each.calls), each.kept) << each.name;
}

} // namespace Trim
