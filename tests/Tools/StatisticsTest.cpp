// Statistics of captures that are written call by call.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tools/Info/Statistics.h"
#include "support/TestCapture.h"

namespace Tools {

namespace {

using Data::CallId;
using Data::CallRecord;
using Data::ObjectKind;
using ::testing::ElementsAre;
using Bytes = std::vector<std::uint8_t>;
using Words = std::vector<std::uint32_t>;

class StatisticsTest : public Data::CaptureTest {
protected:
    CaptureStatistics Collect()
    {
        if (writer)
            Finish();
        auto statistics = CollectStatistics(
            path, [this](const std::string& line) { reports.push_back(line); }, openError);
        EXPECT_TRUE(statistics) << openError;
        return statistics ? *statistics : CaptureStatistics{};
    }
    void UseContext(std::uint32_t thread, std::uint32_t context)
    {
        writer->SetThread(thread);
        Call(CallId::eglMakeCurrent, 1, 1, 5, 5, context);
    }
    static std::uint64_t Alive(const FrameStatistics& frame, ObjectKind kind)
    {
        return frame.objects[static_cast<std::size_t>(kind)].alive;
    }
    static std::uint64_t Most(const FrameStatistics& frame, ObjectKind kind)
    {
        return frame.objects[static_cast<std::size_t>(kind)].most;
    }
};

/// Each case is a frame in a context of its own: which calls changed nothing, by their number in the case.
struct StateCase {
    const char* name;
    std::vector<CallRecord> calls;
    CallCounts redundant;
};

TEST_F(StatisticsTest, ChangesThatSetWhatWasSetAreToldFromThoseThatDoNot)
{
    using Call = CallRecord;
    const auto bind = [](int target, int texture) { return Call(CallId::glBindTexture, target, texture); };
    const auto bindBuffer = [](int target, int buffer) { return Call(CallId::glBindBuffer, target, buffer); };
    const auto uniform = [](int count, const std::vector<float>& values) {
        return Call(CallId::glUniform1fv, 3, count, values);
    };
    constexpr int Array = 0x8892;
    constexpr int Element = 0x8893;
    const Call genTextures(CallId::glGenTextures, 2, Words{1, 2});
    const Call genBuffers(CallId::glGenBuffers, 2, Words{1, 2});
    const Call genArrays(CallId::glGenVertexArrays, 2, Words{1, 2});
    const StateCase cases[] = {
        {"initial values are set",
         {Call(CallId::glDepthFunc, 0x0201), Call(CallId::glDisable, 0x0BE2), Call(CallId::glEnable, 0x0BD0),
          Call(CallId::glBlendFunc, 1, 0), Call(CallId::glUseProgram, 0), Call(CallId::glBindFramebuffer, 0x8D40, 0)},
         {{CallId::glDepthFunc, 1},
          {CallId::glDisable, 1},
          {CallId::glEnable, 1},
          {CallId::glBlendFunc, 1},
          {CallId::glUseProgram, 1},
          {CallId::glBindFramebuffer, 1}}},
        {"those that depend on the surface are not known",
         {Call(CallId::glViewport, 0, 0, 4, 4), Call(CallId::glViewport, 0, 0, 4, 4)},
         {{CallId::glViewport, 1}}},
        {"calls that set the same in other words",
         {Call(CallId::glBlendFuncSeparate, 5, 6, 5, 6), Call(CallId::glBlendFunc, 5, 6),
          Call(CallId::glBlendFunci, 1, 5, 7), Call(CallId::glBlendFunc, 5, 6), Call(CallId::glBlendFunci, 1, 5, 6)},
         {{CallId::glBlendFunc, 1}, {CallId::glBlendFunci, 1}}},
        {"one face of two",
         {Call(CallId::glStencilMaskSeparate, 0x0404, 1), Call(CallId::glStencilMask, 1),
          Call(CallId::glStencilMaskSeparate, 0x0405, 1), Call(CallId::glStencilMaskSeparate, 0x0408, 1)},
         {{CallId::glStencilMaskSeparate, 2}}},
        {"one framebuffer of two",
         {Call(CallId::glGenFramebuffers, 1, Words{7}), Call(CallId::glBindFramebuffer, 0x8CA9, 7),
          Call(CallId::glBindFramebuffer, 0x8D40, 7), Call(CallId::glBindFramebuffer, 0x8CA8, 7)},
         {{CallId::glBindFramebuffer, 1}}},
        {"each unit and target has its texture",
         {genTextures, bind(0x0DE1, 1), bind(0x8513, 1), bind(0x0DE1, 1), Call(CallId::glActiveTexture, 0x84C1),
          bind(0x0DE1, 1), bind(0x0DE1, 2), Call(CallId::glActiveTexture, 0x84C0), bind(0x0DE1, 1)},
         {{CallId::glBindTexture, 2}}},
        {"parameters belong to the texture, in any type",
         {genTextures, bind(0x0DE1, 1), Call(CallId::glTexParameteri, 0x0DE1, 0x2801, 0x2600), bind(0x0DE1, 2),
          Call(CallId::glTexParameteri, 0x0DE1, 0x2801, 0x2600), bind(0x0DE1, 1),
          Call(CallId::glTexParameterf, 0x0DE1, 0x2801, 9728.0),
          Call(CallId::glTexParameteriv, 0x0DE1, 0x2801, std::vector<std::int32_t>{0x2600})},
         {{CallId::glTexParameterf, 1}, {CallId::glTexParameteriv, 1}}},
        {"what is deleted is bound no more, and what was set of it is gone",
         {genTextures, bind(0x0DE1, 1), Call(CallId::glTexParameteri, 0x0DE1, 0x2801, 0x2600),
          Call(CallId::glDeleteTextures, 2, Words{1, 2}), bind(0x0DE1, 0), genTextures, bind(0x0DE1, 1),
          Call(CallId::glTexParameteri, 0x0DE1, 0x2801, 0x2600)},
         {{CallId::glBindTexture, 1}}},
        {"attributes and the index buffer belong to the vertex array",
         {genBuffers, genArrays, bindBuffer(Element, 1), Call(CallId::glBindVertexArray, 1), bindBuffer(Element, 1),
          bindBuffer(Array, 1), Call(CallId::glVertexAttribPointer, 0, 2, 0x1406, 0, 0, 16),
          Call(CallId::glEnableVertexAttribArray, 0), Call(CallId::glBindVertexArray, 2),
          Call(CallId::glEnableVertexAttribArray, 0), bindBuffer(Array, 1), Call(CallId::glBindVertexArray, 1),
          bindBuffer(Element, 1), Call(CallId::glVertexAttribPointer, 0, 2, 0x1406, 0, 8, 16),
          Call(CallId::glVertexAttribFormat, 0, 2, 0x1406, 0, 0), Call(CallId::glBindVertexBuffer, 0, 1, 16, 8),
          bindBuffer(Array, 2), Call(CallId::glVertexAttribPointer, 0, 2, 0x1406, 0, 8, 16)},
         {{CallId::glBindBuffer, 2},
          {CallId::glVertexAttribPointer, 1},
          {CallId::glVertexAttribFormat, 1},
          {CallId::glBindVertexBuffer, 1}}},
        {"client memory is told by its address",
         {Call(CallId::glVertexAttribPointer, 0, 2, 0x1406, 0, 0, 0x1000),
          Call(CallId::glVertexAttribPointer, 0, 2, 0x1406, 0, 0, 0x2000),
          Call(CallId::glVertexAttribPointer, 0, 2, 0x1406, 0, 0, 0x2000)},
         {{CallId::glVertexAttribPointer, 1}}},
        {"indexed and general bindings",
         {genBuffers, Call(CallId::glBindBufferBase, 0x8A11, 0, 1), bindBuffer(0x8A11, 1), bindBuffer(0x8A11, 2),
          Call(CallId::glBindBufferBase, 0x8A11, 0, 1), Call(CallId::glBindBufferRange, 0x8A11, 0, 1, 0, 4)},
         {{CallId::glBindBuffer, 1}}},
        {"uniforms belong to the program, element by element, until it is linked anew",
         {Call(CallId::glCreateProgram, 8), Call(CallId::glCreateProgram, 9), Call(CallId::glUseProgram, 8),
          uniform(3, {1, 2, 3}), Call(CallId::glUniform1f, 4, 2.0), Call(CallId::glUniform1f, 4, 5.0),
          uniform(3, {1, 2, 3}), uniform(3, {1, 2, 3}), Call(CallId::glUniform1f, -1, 5.0),
          Call(CallId::glProgramUniform1f, 9, 3, 1.0), Call(CallId::glProgramUniform1f, 8, 3, 1.0),
          Call(CallId::glLinkProgram, 8), Call(CallId::glUniform1f, 3, 1.0)},
         {{CallId::glUniform1f, 1}, {CallId::glUniform1fv, 1}, {CallId::glProgramUniform1f, 1}}},
        {"a matrix that is transposed is another one",
         {Call(CallId::glCreateProgram, 8), Call(CallId::glUseProgram, 8),
          Call(CallId::glUniformMatrix2fv, 1, 1, 0, std::vector<float>{1, 2, 3, 4}),
          Call(CallId::glUniformMatrix2fv, 1, 1, 1, std::vector<float>{1, 2, 3, 4}),
          Call(CallId::glUniformMatrix2fv, 1, 1, 1, std::vector<float>{1, 2, 3, 4})},
         {{CallId::glUniformMatrix2fv, 1}}},
        {"attribute values are filled up",
         {Call(CallId::glVertexAttrib4f, 1, 0, 0, 0, 1), Call(CallId::glVertexAttrib2f, 1, 3, 4),
          Call(CallId::glVertexAttrib2fv, 1, std::vector<float>{3, 4})},
         {{CallId::glVertexAttrib4f, 1}, {CallId::glVertexAttrib2fv, 1}}},
    };
    std::uint32_t context = 10;
    for (const StateCase& each : cases) {
        this->Call(CallId::eglCreateContext, context, 1, 2, 0, 0);
        UseContext(1, context++);
        for (const CallRecord& call : each.calls)
            call.AppendTo(*writer);
        writer->FrameEnd();
    }
    const CaptureStatistics statistics = Collect();
    EXPECT_THAT(reports, ElementsAre());
    ASSERT_EQ(statistics.frames.size(), std::size(cases));
    for (std::size_t i = 0; i < std::size(cases); ++i)
        EXPECT_EQ(statistics.frames[i].redundantChanges, cases[i].redundant) << cases[i].name;
}

TEST_F(StatisticsTest, ObjectsLiveAsLongAsTheirOwners)
{
    // Two contexts that share, on two threads.
    Call(CallId::eglCreateContext, 10, 1, 2, 0, 0);
    Call(CallId::eglCreateContext, 11, 1, 2, 10, 0);
    Call(CallId::eglCreateContext, 0, 1, 2, 10, 0);
    Call(CallId::eglCreatePbufferSurface, 5, 1, 2, 0);
    UseContext(1, 10);
    Call(CallId::glGenTextures, 3, Words{1, 2, 3});
    Call(CallId::glGenVertexArrays, 2, Words{1, 2});
    UseContext(2, 11);
    Call(CallId::glGenVertexArrays, 1, Words{1});
    Call(CallId::glDeleteTextures, 3, Words{2, 0, 9});
    Call(CallId::glCreateShader, 20, 0x8B31);
    Call(CallId::glCreateShader, 0, 0x8B30);
    Call(CallId::glFenceSync, 30, 0x9117, 0);
    writer->FrameEnd();
    // The context of thread 1 goes, but the thread still has it.
    Call(CallId::glDeleteSync, 30);
    Call(CallId::eglDestroyContext, 1, 1, 10);
    Call(CallId::glDeleteShader, 20);
    writer->FrameEnd();
    UseContext(1, 0);
    writer->FrameEnd();
    writer->SetThread(2);
    Call(CallId::eglReleaseThread, 1);
    Call(CallId::eglTerminate, 1, 1);

    const CaptureStatistics statistics = Collect();
    const struct {
        const FrameStatistics& frame;
        std::uint64_t contexts, textures, vertexArrays, shaders, syncs, surfaces;
    } parts[] = {
        {statistics.frames.at(0), 2, 2, 3, 1, 1, 1}, {statistics.frames.at(1), 1, 2, 3, 0, 0, 1},
        {statistics.frames.at(2), 1, 2, 1, 0, 0, 1}, {statistics.rest, 0, 0, 0, 0, 0, 0},
        {statistics.total, 0, 0, 0, 0, 0, 0},
    };
    for (const auto& part : parts) {
        SCOPED_TRACE(&part - parts);
        EXPECT_EQ(Alive(part.frame, ObjectKind::Context), part.contexts);
        EXPECT_EQ(Alive(part.frame, ObjectKind::Texture), part.textures);
        EXPECT_EQ(Alive(part.frame, ObjectKind::VertexArray), part.vertexArrays);
        EXPECT_EQ(Alive(part.frame, ObjectKind::Shader), part.shaders);
        EXPECT_EQ(Alive(part.frame, ObjectKind::Sync), part.syncs);
        EXPECT_EQ(Alive(part.frame, ObjectKind::Surface), part.surfaces);
    }
    EXPECT_EQ(Most(statistics.frames[0], ObjectKind::Texture), 3u);
    EXPECT_EQ(Most(statistics.frames[2], ObjectKind::VertexArray), 3u);
    EXPECT_EQ(Most(statistics.total, ObjectKind::Texture), 3u);
    EXPECT_EQ(statistics.total.shaders, (std::map<std::uint32_t, std::uint64_t>{{0x8B31, 1}}));
}

TEST_F(StatisticsTest, DrawsAndDispatchesCountWhatTheyDraw)
{
    Call(CallId::glGenBuffers, 3, Words{1, 2, 3});
    Call(CallId::glBindBuffer, 0x8893, 1);
    Call(CallId::glBufferData, 0x8893, 64, Bytes(64), 0x88E4);
    Call(CallId::glDrawArrays, 4, 0, 6);
    Call(CallId::glDrawArrays, 4, 0, -6);
    Call(CallId::glDrawArraysInstanced, 4, 0, 6, 10);
    Call(CallId::glDrawElementsInstancedBaseVertex, 4, 3, 0x1403, 0, 5, 2);
    // Parameters in a buffer: known, beyond its end, and written by a shader.
    Call(CallId::glBindBuffer, 0x8F3F, 2);
    Call(CallId::glBufferData, 0x8F3F, 20, Words{0, 7, 3, 0, 0}, 0x88E4);
    Call(CallId::glDrawArraysIndirect, 4, 4);
    Call(CallId::glDrawElementsIndirect, 4, 0x1403, 16);
    Call(CallId::glBindBuffer, 0x90EE, 2);
    Call(CallId::glDispatchComputeIndirect, 4);
    Call(CallId::glBindBufferBase, 0x90D2, 0, 2);
    Call(CallId::glDispatchComputeIndirect, 4);
    Call(CallId::glDispatchCompute, 4, 3, 2);
    Call(CallId::glDrawArraysIndirect, 4, 4);
    Call(CallId::glClear, 0x4000);
    Call(CallId::glClearBufferfv, 0x1800, 0, std::vector<float>(4));
    Call(CallId::glBlitFramebuffer, 0, 0, 1, 1, 0, 0, 1, 1, 0x4000, 0x2600);
    const FrameStatistics total = Collect().total;
    EXPECT_THAT(reports, ElementsAre());
    const auto draw = [&](CallId call) {
        const DrawCount count = total.draws.count(call) ? total.draws.at(call) : DrawCount{};
        return std::vector<std::uint64_t>{count.calls, count.instances, count.vertices, count.unknown};
    };
    EXPECT_THAT(draw(CallId::glDrawArrays), ElementsAre(2, 2, 6, 0));
    EXPECT_THAT(draw(CallId::glDrawArraysInstanced), ElementsAre(1, 10, 60, 0));
    EXPECT_THAT(draw(CallId::glDrawElementsInstancedBaseVertex), ElementsAre(1, 5, 15, 0));
    EXPECT_THAT(draw(CallId::glDrawArraysIndirect), ElementsAre(2, 3, 21, 1));
    EXPECT_THAT(draw(CallId::glDrawElementsIndirect), ElementsAre(1, 0, 0, 1));
    EXPECT_EQ(total.dispatches.calls, 3u);
    EXPECT_EQ(total.dispatches.groups, 24u);
    EXPECT_EQ(total.dispatches.unknown, 1u);
    EXPECT_EQ(total.clears, (CallCounts{{CallId::glClear, 1}, {CallId::glClearBufferfv, 1}}));
    EXPECT_EQ(total.blits, (CallCounts{{CallId::glBlitFramebuffer, 1}}));
}

TEST_F(StatisticsTest, WaitsAndReadBacksAreCounted)
{
    Call(CallId::glFinish);
    Call(CallId::glGetQueryObjectuiv, 1, 0x8866, Words{1});
    Call(CallId::glGetQueryObjectuiv, 1, 0x8867, Words{1}); // only asks whether there is a result
    for (const int timeout : {0, 1000})
        Call(CallId::glClientWaitSync, 0x911A, 1, 1, timeout);
    Call(CallId::glReadPixels, 0, 0, 2, 1, 0x1908, 0x1401, Bytes(8));
    Call(CallId::glGenBuffers, 1, Words{1});
    Call(CallId::glBindBuffer, 0x88EB, 1);
    Call(CallId::glBufferData, 0x88EB, 64, 0, 0x88E4);
    Call(CallId::glReadPixels, 0, 0, 2, 2, 0x1908, 0x1401, 16);
    for (const int access : {1, 2}) {
        Call(CallId::glMapBufferRange, 0x5000, 0x88EB, 0, 24, access);
        Call(CallId::glUnmapBuffer, 1, 0x88EB);
    }
    const FrameStatistics total = Collect().total;
    EXPECT_THAT(reports, ElementsAre());
    EXPECT_EQ(total.waits,
              (CallCounts{{CallId::glFinish, 1}, {CallId::glGetQueryObjectuiv, 1}, {CallId::glClientWaitSync, 1}}));
    EXPECT_EQ(total.readBacks, (CallCounts{{CallId::glReadPixels, 2}, {CallId::glMapBufferRange, 1}}));
    EXPECT_EQ(std::tuple(total.readBytes, total.bytesReadToBuffers, total.bytesMappedToRead),
              std::tuple(24u, 16u, 24u));
}

TEST_F(StatisticsTest, UploadsCountTheBytesThatArrive)
{
    Call(CallId::glGenBuffers, 1, Words{1});
    Call(CallId::glBindBuffer, 0x88EC, 1);
    Call(CallId::glBufferData, 0x88EC, 4096, 0, 0x88E4);
    Call(CallId::glBufferSubData, 0x88EC, 0, 100, Bytes(100));
    // Three rows of 5 pixels from the buffer, without what lies between them.
    Call(CallId::glTexSubImage2D, 0x0DE1, 0, 0, 0, 5, 3, 0x1907, 0x1401, 64);
    Call(CallId::glBindBuffer, 0x88EC, 0);
    Call(CallId::glTexImage2D, 0x0DE1, 0, 0x1907, 5, 3, 0, 0x1907, 0x1401, 0);
    Call(CallId::glTexImage2D, 0x0DE1, 0, 0x1907, 5, 3, 0, 0x1907, 0x1401, Bytes(48));
    Call(CallId::glTexImage3D, 0x806F, 0, 0x1908, 2, 2, 2, 0, 0x1908, 0x1401, Bytes(32));
    Call(CallId::glCompressedTexImage2D, 0x0DE1, 0, 0x9274, 4, 4, 0, 8, Bytes(8));
    const FrameStatistics total = Collect().total;
    EXPECT_THAT(reports, ElementsAre());
    EXPECT_EQ(total.bufferBytes, 100u);
    EXPECT_EQ(total.textureBytes, 45u + 45u + 32u + 8u);
}

TEST_F(StatisticsTest, TheCaptureIsCutIntoSetupFramesAndRest)
{
    writer->BlockStart(static_cast<std::uint32_t>(Data::BlockType::State));
    Call(CallId::glCreateProgram, 3);
    Call(CallId::glGenVertexArraysOES, 1, Words{1});
    writer->BlockEnd(static_cast<std::uint32_t>(Data::BlockType::State));
    Call(CallId::glClear, 0x4000);
    writer->FrameEnd();
    // Refused: the contents are too short.
    Call(CallId::glBufferData, 0x8892, 64, Bytes(8), 0x88E4);
    Call(CallId::glQueryCounterEXT, 0, 0x8E28);
    CaptureStatistics statistics = Collect();
    EXPECT_EQ(statistics.refusedCalls, 1u);
    EXPECT_EQ(reports.size(), 1u);
    ASSERT_TRUE(statistics.setup);
    EXPECT_EQ(statistics.setup->programs, 1u);
    EXPECT_EQ(statistics.setup->extensionCalls, (CallCounts{{CallId::glGenVertexArraysOES, 1}}));
    EXPECT_EQ(statistics.rest.extensionCalls, (CallCounts{{CallId::glQueryCounterEXT, 1}}));
    EXPECT_STREQ(ExtensionOf(CallId::glGenVertexArraysOES), "GL_OES_vertex_array_object");
    EXPECT_EQ(ExtensionOf(CallId::glClear), nullptr);
    ASSERT_EQ(statistics.frames.size(), 1u);
    EXPECT_EQ(statistics.frames[0].clears, (CallCounts{{CallId::glClear, 1}}));
    EXPECT_EQ(statistics.total.clears, statistics.frames[0].clears);

    Data::SummaryCounts counts;
    counts.calls = 5;
    counts.stateBlockCalls = 2;
    counts.byFrame = {{1, 0}, {2, 0}};
    SetCalls(statistics, counts);
    const std::string csv = ToCsv(statistics);
    EXPECT_EQ(csv.find("frame,calls,draws,"), 0u);
    EXPECT_THAT(csv, ::testing::ContainsRegex("\nsetup,2,.*\n1,1,.*\nrest,2,"));
    EXPECT_EQ(statistics.total.calls, 5u);
}

} // namespace

} // namespace Tools
