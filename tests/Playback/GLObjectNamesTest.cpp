#include <gmock/gmock.h>

#include "LogCapture.h"
#include "Playback/GLResourceTable.h"

namespace Playback {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Table = GLResourceTable;

enum class Scope { Context, ShareGroup };
struct Kind {
    const char* name;
    void (Table::*add)(unsigned int, unsigned int);
    unsigned int (Table::*get)(unsigned int) const;
    void (Table::*remove)(unsigned int);
    Scope scope;
};

#define KIND(NAME, SUFFIX) NAME, &Table::AddIdGL##SUFFIX, &Table::GetValueGL##SUFFIX, &Table::RemoveIdGL##SUFFIX

constexpr Kind Kinds[] = {
    {KIND("program", Program), Scope::ShareGroup},
    {KIND("shader", Shader), Scope::ShareGroup},
    {KIND("buffer", Buffer), Scope::ShareGroup},
    {KIND("framebuffer", Framebuffer), Scope::Context},
    {KIND("renderbuffer", Renderbuffer), Scope::ShareGroup},
    {KIND("texture", Texture), Scope::ShareGroup},
    {KIND("sampler", Sampler), Scope::ShareGroup},
    {KIND("query", Query), Scope::Context},
    {KIND("vertex array", VertexArray), Scope::Context},
    {KIND("transform feedback", TransformFeedback), Scope::Context},
    {KIND("pipeline", Pipeline), Scope::ShareGroup},
    {KIND("perf monitor", PerfMonitor), Scope::Context},
    {KIND("perf monitor group", PerfMonitorGroup), Scope::Context},
    {KIND("counter", Counter), Scope::Context},
    {KIND("memory object", MemoryObject), Scope::ShareGroup},
    {KIND("semaphore", Semaphore), Scope::ShareGroup},
};

/// Contexts 1 and 2 share, 1 being the root; 3 is alone.
class GLObjectNamesTest : public testing::Test {
protected:
    GLObjectNamesTest()
    {
        table.SetSharedContextAssociation(2, 1);
        UseContext(2);
    }

    void UseContext(unsigned int context) { table.SetCurrentContext(10, 11, 11, context); }

    LogCapture log;
    Table table;
};

TEST_F(GLObjectNamesTest, EachKindHasAMapOfItsOwn)
{
    unsigned int name = 100;
    for (const Kind& kind : Kinds) {
        (table.*kind.add)(5, ++name);
    }
    name = 100;
    for (const Kind& kind : Kinds) {
        EXPECT_EQ((table.*kind.get)(5), ++name) << kind.name;
    }
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(GLObjectNamesTest, ShareGroupsShareAndContextsDoNot)
{
    for (const Kind& kind : Kinds) {
        Table other;
        other.SetSharedContextAssociation(2, 1);
        other.SetCurrentContext(0, 0, 0, 2);
        (other.*kind.add)(5, 9);
        other.SetCurrentContext(0, 0, 0, 1);
        EXPECT_EQ((other.*kind.get)(5), kind.scope == Scope::ShareGroup ? 9u : 0u) << kind.name;
        other.SetCurrentContext(0, 0, 0, 3);
        EXPECT_EQ((other.*kind.get)(5), 0u) << kind.name;
    }
}

TEST_F(GLObjectNamesTest, AddingAgainReplacesAndSaysSo)
{
    table.AddIdGLBuffer(5, 9);
    table.AddIdGLBuffer(5, 9);
    EXPECT_THAT(log.Take(), IsEmpty());
    table.AddIdGLBuffer(5, 10);
    EXPECT_THAT(log.Take(), ElementsAre("GL resource table overwriting existing ID 5."));
    EXPECT_EQ(table.GetValueGLBuffer(5), 10u);
    table.RemoveIdGLBuffer(5);
    EXPECT_EQ(table.GetValueGLBuffer(5), 0u);
}

/// Kinds differ in what they are called, and in the key of a missing context.
TEST_F(GLObjectNamesTest, FailuresAreReportedInTheWordsOfTheirKind)
{
    EXPECT_EQ(table.GetValueGLBuffer(5), 0u);
    EXPECT_EQ(table.GetValueGLQuery(5), 0u);
    table.RemoveIdGLBuffer(6);
    EXPECT_EQ(table.GetValueGLSemaphore(5), 0u);
    table.RemoveIdGLSemaphore(6);
    EXPECT_EQ(table.GetValueGLVoidPtr(4), nullptr);
    const std::string none = " that has no entry in the GL resource table.";
    EXPECT_THAT(log.Take(), ElementsAre("Attempting to retrieve the value for buffer ID 5 from context 1" + none,
                                        "Attempting to retrieve the value for query ID 5 from context 2" + none,
                                        "Attempting to remove buffer ID 6 from context 1, which has no entry in the "
                                        "GL resource table.",
                                        "Attempting to retrieve the value for semaphore ID 5 from context 2" + none,
                                        "Attempting to remove semaphore ID 6 from a context" + none,
                                        "Attempting to retrieve the value for void* ID 4 from context 2" + none));
    table.AddIdGLBuffer(1, 1);
    EXPECT_EQ(table.GetValueGLTexture(5), 5u) << "it may come from outside the capture";
    EXPECT_EQ(table.GetValueGLBuffer(5), 0u);
    table.RemoveIdGLBuffer(6);
    EXPECT_EQ(table.GetValueGLSemaphore(5), 0u);
    EXPECT_EQ(table.GetValueGLBuffer(0xFFFFFFFF), 0u);
    EXPECT_EQ(table.GetValueGLSemaphore(0xFFFFFFFF), 0u);
    table.RemoveIdGLSemaphore(0);
    table.AddIdGLVoidPtr(5, nullptr);
    EXPECT_EQ(table.GetValueGLSharedBuffer(-1), 0);
    const std::string unknown = " that was not found in the GL resource table.";
    EXPECT_THAT(log.Take(),
                ElementsAre("Attempting to retrieve the value for ID 5" + unknown,
                            "Attempting to remove the value for ID 6" + unknown,
                            "Attempting to retrieve the value for semaphore ID 5" + unknown,
                            "Ignoring value retrieval from the GL resource table for invalid semaphore ID -1.",
                            "Ignoring removal request for an invalid semaphore ID from the GL resource table.",
                            "GL resource table rejected a mapping from valid void* ID 5 to a nullptr.",
                            "Ignoring value retrieval from the GL resource table for invalid sharedBuffer ID -1."));
}

TEST_F(GLObjectNamesTest, SharedBuffersAndPointersAreShared)
{
    table.AddIdGLSharedBuffer(4, 40);
    table.AddIdGLVoidPtr(4, &table);
    UseContext(1);
    EXPECT_EQ(table.GetValueGLSharedBuffer(4), 40);
    EXPECT_EQ(table.GetValueGLVoidPtr(4), &table);
    table.RemoveIdGLVoidPtr(4);
    EXPECT_EQ(table.GetValueGLVoidPtr(4), nullptr);
}

TEST_F(GLObjectNamesTest, NothingIsMappedToZeroOrFromAnInvalidName)
{
    table.AddIdGLBuffer(5, 0);
    EXPECT_THAT(log.Take(), ElementsAre("Rejecting mapping for valid ID 5 to a 0 name"));
    EXPECT_EQ(table.GetValueGLBuffer(5), 0u);
    log.Take();
    table.AddIdGLBuffer(0, 7);
    table.AddIdGLBuffer(0xFFFFFFFF, 7);
    EXPECT_EQ(table.GetValueGLBuffer(0), 0u);
    EXPECT_EQ(table.GetValueGLBuffer(0xFFFFFFFF), 0u);
    EXPECT_THAT(log.Take(), IsEmpty());
}

} // namespace
} // namespace Playback
