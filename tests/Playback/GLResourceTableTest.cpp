#include "Playback/Names/GLResourceTable.h"

#include <array>
#include <numeric>

#include <EGL/egl.h>
#include <GLES3/gl32.h>
#include <gmock/gmock.h>

#include "FakeDriver/FakeDriver.h"
#include "support/LogCapture.h"

namespace Playback {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

using Table = GLResourceTable;

constexpr unsigned int Invalid = 0xFFFFFFFF;

/// Something that is never looked into.
template <class T = void> T* Handle(std::uintptr_t value)
{
    return reinterpret_cast<T*>(value);
}

/// Contexts 1 and 2 share, 1 being the root, and 2 is current; display 1 is known and selected.
class GLResourceTableTest : public testing::Test {
protected:
    GLResourceTableTest()
    {
        table.AddIdEGLDisplay(1, Handle(0x1000));
        table.GetValueEGLDisplay(1);
        table.SetSharedContextAssociation(2, 1);
        UseContext(2);
        std::iota(captured.begin(), captured.end(), 1);
    }

    void UseContext(unsigned int context) { table.SetCurrentContext(10, 11, 12, context); }
    void Map(unsigned int access, unsigned long pointer = 0x1000, unsigned int target = GL_ARRAY_BUFFER)
    {
        table.MapBuffer(pointer, target, static_cast<unsigned int>(live.size()), access, live.data());
    }

    LogCapture log;
    Table table;
    /// A mapping of the driver's, and what was written to it when it was recorded.
    std::array<unsigned char, 8> live{};
    std::array<unsigned char, 64> captured{};
};

#define KIND(NAME) &Table::AddIdGL##NAME, &Table::GetValueGL##NAME

TEST_F(GLResourceTableTest, NamesOfEachKindBelongToShareGroupsOrContexts)
{
    constexpr struct {
        void (Table::*add)(unsigned int, unsigned int);
        unsigned int (Table::*get)(unsigned int) const;
        bool isShared;
    } Kinds[] = {
        {KIND(Program), true},      {KIND(Shader), true},
        {KIND(Buffer), true},       {KIND(Framebuffer), false},
        {KIND(Renderbuffer), true}, {KIND(Texture), true},
        {KIND(Sampler), true},      {KIND(Query), false},
        {KIND(VertexArray), false}, {KIND(TransformFeedback), false},
        {KIND(Pipeline), true},     {KIND(PerfMonitor), false},
        {KIND(Counter), false},     {KIND(PerfMonitorGroup), false},
        {KIND(Semaphore), true},    {KIND(MemoryObject), true},
    };
    for (unsigned int i = 0; i < std::size(Kinds); ++i)
        (table.*Kinds[i].add)(5, 100 + i);
    EXPECT_THAT(log.Take(), IsEmpty());
    for (unsigned int i = 0; i < std::size(Kinds); ++i) {
        UseContext(2);
        EXPECT_EQ((table.*Kinds[i].get)(5), 100 + i) << i;
        UseContext(1);
        EXPECT_EQ((table.*Kinds[i].get)(5), Kinds[i].isShared ? 100 + i : 0) << i;
        UseContext(3);
        EXPECT_EQ((table.*Kinds[i].get)(5), 0u) << i;
    }
}

TEST_F(GLResourceTableTest, LocationsBelongToProgramsOfTheShareGroup)
{
    EXPECT_EQ(table.GetValueGLUniformLocation(3, 0), 0);
    for (const unsigned int program : {4, 3}) {
        table.AddIdGLUniformLocation(program, 0, static_cast<int>(program) * 100);
        table.AddIdGLUniformBlockIndex(program, 0, static_cast<int>(program) * 100 + 1);
    }
    UseContext(1);
    for (const unsigned int program : {3, 4, 3}) {
        EXPECT_EQ(table.GetValueGLUniformLocation(program, 0), static_cast<int>(program) * 100);
        EXPECT_EQ(table.GetValueGLUniformBlockIndex(program, 0), static_cast<int>(program) * 100 + 1);
    }
    log.Take();
    EXPECT_EQ(table.GetValueGLAttribLocation(0, 3), 3) << "without a program: nothing to report";
    EXPECT_EQ(table.GetValueGLUniformLocation(Invalid, 3), 3);
    for (const int location : {-1, 7}) {
        table.AddIdGLAttribLocation(5, location, -1);
        EXPECT_EQ(table.GetValueGLAttribLocation(5, location), -1);
    }
    EXPECT_THAT(log.Take(), ElementsAre("Attempting to retrieve uniform location for invalid program ID -1.",
                                        "Valid attrib location 7 mapped to -1"));
}

TEST_F(GLResourceTableTest, AThreadNotSeenBeforeHasOpenGLESAndNoContext)
{
    // What SetCurrentThread tells about the API and the context.
    const auto useThread = [&](unsigned int thread) {
        std::pair changed(true, true);
        EXPECT_EQ(table.SetCurrentThread(thread, &changed.first, &changed.second), changed.first);
        return changed;
    };
    table.SetCurrentAPI(EGL_OPENGL_API);
    table.AddIdGLBuffer(5, 9);
    EXPECT_THAT(useThread(7), Pair(true, true));
    EXPECT_EQ(table.GetValueGLBuffer(5), 0u);
    EXPECT_FALSE(table.GetCurrentAPI(nullptr) || table.GetCurrentContextInfo(nullptr, nullptr, nullptr, nullptr));
    EXPECT_THAT(useThread(7), Pair(false, false));
    EXPECT_THAT(useThread(0), Pair(true, true));
    EXPECT_EQ(table.GetValueGLBuffer(5), 9u);
}

TEST_F(GLResourceTableTest, AGroupIsKnownByItsRootAlsoWhenNamesComeAgain)
{
    table.SetSharedContextAssociation(3, 2);
    table.SetSharedContextAssociation(3, 9); // it is in a group already
    table.SetSharedContextAssociation(4, 0);
    EXPECT_EQ(table.GetSharedResourceIndex(3), 1u);
    EXPECT_EQ(table.GetSharedResourceIndex(4), 4u);
    table.SetSharedContextAssociation(1, 2); // 1 was destroyed and its name given out again: no circle
    EXPECT_EQ(table.GetSharedResourceIndex(1), 1u);
    table.SetSharedContextAssociation(1, 5); // again, now in another group
    table.SetSharedContextAssociation(6, 2);
    EXPECT_EQ(table.GetSharedResourceIndex(6), 5u);
    table.RemoveSharedContextAssociation(2);
    EXPECT_EQ(table.GetSharedResourceIndex(2), 2u);
}

TEST_F(GLResourceTableTest, DestroyingAContextDropsWhatIsItsOwnAtOnce)
{
    table.AddIdGLBuffer(5, 9);
    table.AddIdGLFramebuffer(5, 8);
    table.AddIdGLUniformLocation(3, 4, 40);
    table.SetCurrentProgram(20);
    table.RemoveContextInfo(1); // the root, with the names of the group
    EXPECT_EQ(table.GetValueGLBuffer(5), 0u);
    EXPECT_EQ(table.GetValueGLUniformLocation(3, 4), 4);
    EXPECT_EQ(table.GetValueGLFramebuffer(5), 8u);
    UseContext(3);
    EXPECT_EQ(table.GetCurrentProgram(), 0u);
    UseContext(2);
    EXPECT_EQ(table.GetCurrentProgram(), 20u);
    table.RemoveContextInfo(2);
    EXPECT_FALSE(table.GetCurrentContextInfo(nullptr, nullptr, nullptr, nullptr));
    // New contexts under the same names start empty.
    UseContext(2);
    EXPECT_EQ(table.GetValueGLFramebuffer(5) + table.GetCurrentProgram(), 0u);
}

TEST_F(GLResourceTableTest, NothingIsCopiedToAMappingForReadingOrNone)
{
    Map(GL_MAP_WRITE_BIT);
    Map(GL_MAP_READ_BIT);
    table.FlushMappedBufferRange(GL_ARRAY_BUFFER, 0, 4, captured.data());
    table.UnmapBuffer(GL_ARRAY_BUFFER, 4, captured.data());
    EXPECT_THAT(log.Take(), ElementsAre("Flush mapped buffer range failure: no buffer found for id 8894",
                                        "Unmap buffer: no buffer found for id 8894"));
    table.MapBuffer(1, GL_ARRAY_BUFFER, 16, GL_MAP_WRITE_BIT, nullptr); // the driver refused
    table.FlushMappedBufferRange(GL_ARRAY_BUFFER, 0, 4, captured.data());
    table.UnmapBuffer(GL_ARRAY_BUFFER, 4, captured.data());
    EXPECT_THAT(live, Each(0));
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(GLResourceTableTest, EGLHandlesBelongToTheDisplayTranslatedLast)
{
    table.AddIdEGLDisplay(2, Handle(0x2000));
    for (const unsigned int display : {1, 2}) {
        table.GetValueEGLDisplay(display);
        table.AddIdEGLConfig(3, Handle(display * 0x10));
    }
    table.AddIdEGLSync(4, nullptr);
    table.AddIdEGLSync(0, Handle(0x30));
    for (const unsigned int display : {1, 2}) {
        EXPECT_EQ(table.GetValueEGLDisplay(display), Handle(display * 0x1000));
        EXPECT_EQ(table.GetValueEGLConfig(3), Handle(display * 0x10));
        EXPECT_EQ(table.GetValueEGLSync(0), nullptr);
    }
    EXPECT_THAT(log.Take(), IsEmpty());
    table.AddIdEGLConfig(3, Handle(0x31));
    EXPECT_EQ(table.GetValueEGLConfig(3), Handle(0x31));
    EXPECT_EQ(table.GetValueEGLSurface(4), nullptr);
    // A display keeps its handles when its live display changes; one that is not known is selected all the same.
    table.AddIdEGLDisplay(2, nullptr);
    table.AddIdEGLDisplay(2, Handle(0x2001));
    EXPECT_EQ(table.GetValueEGLDisplay(2), Handle(0x2001));
    EXPECT_EQ(table.GetValueEGLConfig(3), Handle(0x31));
    EXPECT_EQ(table.GetValueEGLDisplay(0), nullptr);
    EXPECT_EQ(table.GetValueEGLConfig(3), nullptr);
    EXPECT_THAT(log.Take(),
                ElementsAre("EGL resource table overwriting existing EGLConfig ID 3.",
                            "Attempting to retrieve the value for EGLProxySurface* ID 4 that was not found in the EGL "
                            "resource table.",
                            "EGL resource table rejected a mapping from valid EGLDisplay ID 2 to a nullptr.",
                            "EGL resource table overwriting existing EGLDisplay ID 2.",
                            "Failed to retrieve EGL resource for EGLDisplay id 0"));
}

TEST_F(FakeDriverTest, ReleaseDeletesEveryKindInOrderInItsContextAndThenTheHandles)
{
    GLResourceTable table;
    table.AddIdEGLDisplay(1, Handle(11));
    table.GetValueEGLDisplay(1);
    // Of a context that is gone.
    table.SetCurrentContext(1, 0, 0, 3);
    table.AddIdGLFramebuffer(1, 30);
    table.AddIdEGLContext(2, Handle(22));
    table.SetCurrentContext(1, 0, 0, 2);
    unsigned int name = 0;
    for (const auto add :
         {&GLResourceTable::AddIdGLSemaphore, &GLResourceTable::AddIdGLMemoryObject,
          &GLResourceTable::AddIdGLPerfMonitor, &GLResourceTable::AddIdGLPipeline,
          &GLResourceTable::AddIdGLTransformFeedback, &GLResourceTable::AddIdGLVertexArray,
          &GLResourceTable::AddIdGLQuery, &GLResourceTable::AddIdGLSampler, &GLResourceTable::AddIdGLTexture,
          &GLResourceTable::AddIdGLFramebuffer, &GLResourceTable::AddIdGLRenderbuffer, &GLResourceTable::AddIdGLBuffer,
          &GLResourceTable::AddIdGLShader, &GLResourceTable::AddIdGLProgram, &GLResourceTable::AddIdGLPerfMonitorGroup,
          &GLResourceTable::AddIdGLCounter})
        (table.*add)(1, ++name);
    table.AddIdEGLSync(5, Handle(50));
    table.AddIdEGLImage(4, Handle(40));
    table.ReleaseResources();
    EXPECT_THAT(driver.Log(),
                ElementsAre("eglMakeCurrent(11, 0, 0, 22) = 1", "glDeleteProgram(14)", "glDeleteShader(13)",
                            "glDeleteBuffers(1, [12])", "glDeleteRenderbuffers(1, [11])",
                            "glDeleteFramebuffers(1, [10])", "glDeleteTextures(1, [9])", "glDeleteSamplers(1, [8])",
                            "glDeleteQueries(1, [7])", "glDeleteVertexArrays(1, [6])",
                            "glDeleteTransformFeedbacks(1, [5])", "glDeleteProgramPipelines(1, [4])",
                            "glDeletePerfMonitorsAMD(1, [3])", "glDeleteMemoryObjectsEXT(1, [2])",
                            "glDeleteSemaphoresKHR(1, [1])", "eglDestroyContext(11, 22) = 1",
                            "eglDestroyImageKHR(11, 40) = 1", "eglDestroySyncKHR(11, 50) = 1"));
    driver.ClearLog();
    table.ReleaseResources();
    EXPECT_THAT(driver.Log(), IsEmpty()) << "what is gone is not released again";
}

} // namespace
} // namespace Playback
