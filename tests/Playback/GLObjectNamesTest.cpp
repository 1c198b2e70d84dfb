#include <gmock/gmock.h>

#include "LogCapture.h"
#include "Playback/GLResourceTable.h"

namespace Playback {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Table = GLResourceTable;

enum class Scope { Context, ShareGroup };
/// Whether the kind's messages name the kind also when only the identifier is the trouble.
enum class Wording { Common, OfKind };

struct Kind {
    const char* name;
    void (Table::*add)(unsigned int, unsigned int);
    unsigned int (Table::*get)(unsigned int) const;
    void (Table::*remove)(unsigned int);
    Scope scope;
    Wording wording = Wording::Common;
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
    {KIND("memory object", MemoryObject), Scope::ShareGroup, Wording::OfKind},
    {KIND("semaphore", Semaphore), Scope::ShareGroup, Wording::OfKind},
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

TEST_F(GLObjectNamesTest, AContextWithoutAnyNamesIsReportedWithTheKeyThatWasUsed)
{
    for (const Kind& kind : Kinds) {
        const std::string name = kind.name;
        EXPECT_EQ((table.*kind.get)(5), 0u) << name;
        (table.*kind.remove)(6);
        if (kind.wording == Wording::OfKind) {
            EXPECT_THAT(log.Take(),
                        ElementsAre("Attempting to retrieve the value for " + name +
                                        " ID 5 from context 2 that has no entry in the GL resource table.",
                                    "Attempting to remove " + name +
                                        " ID 6 from a context that has no entry in the GL resource table."));
        } else {
            const std::string key = kind.scope == Scope::Context ? "2" : "1";
            EXPECT_THAT(log.Take(), ElementsAre("Attempting to retrieve the value for " + name + " ID 5 from context " +
                                                    key + " that has no entry in the GL resource table.",
                                                "Attempting to remove " + name + " ID 6 from context " + key +
                                                    ", which has no entry in the GL resource table."));
        }
    }
}

TEST_F(GLObjectNamesTest, UnknownAndInvalidNames)
{
    for (const Kind& kind : Kinds) {
        const std::string name = kind.name;
        (table.*kind.add)(1, 1);
        EXPECT_EQ((table.*kind.get)(5), name == "texture" ? 5u : 0u) << name;
        const std::vector<std::string> unknown = log.Take();
        (table.*kind.remove)(6);
        const std::vector<std::string> unknownRemoved = log.Take();
        EXPECT_EQ((table.*kind.get)(0xFFFFFFFF), 0u);
        EXPECT_EQ((table.*kind.get)(0), 0u);
        (table.*kind.remove)(0);
        const std::vector<std::string> invalid = log.Take();

        if (kind.wording == Wording::OfKind) {
            EXPECT_THAT(unknown, ElementsAre("Attempting to retrieve the value for " + name +
                                             " ID 5 that was not found in the GL resource table."));
            EXPECT_THAT(unknownRemoved, ElementsAre("Attempting to remove " + name +
                                                    " ID 6 that was not found in the GL resource table."));
            EXPECT_THAT(
                invalid,
                ElementsAre("Ignoring value retrieval from the GL resource table for invalid " + name + " ID -1.",
                            "Ignoring value retrieval from the GL resource table for invalid " + name + " ID 0.",
                            "Ignoring removal request for an invalid " + name + " ID from the GL resource table."));
            continue;
        }
        if (name == "texture") {
            EXPECT_THAT(unknown, IsEmpty()); // it may come from outside the capture
        } else {
            EXPECT_THAT(unknown, ElementsAre("Attempting to retrieve the value for ID 5 that was not found in the GL "
                                             "resource table."));
        }
        EXPECT_THAT(unknownRemoved, ElementsAre("Attempting to remove the value for ID 6 that was not found in the GL "
                                                "resource table."));
        EXPECT_THAT(invalid, IsEmpty());
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

TEST_F(GLObjectNamesTest, SharedBuffersAndPointersAreSharedAndHaveTheirOwnWords)
{
    int object = 0;
    EXPECT_EQ(table.GetValueGLSharedBuffer(4), 0);
    EXPECT_EQ(table.GetValueGLVoidPtr(4), nullptr);
    EXPECT_THAT(log.Take(),
                ElementsAre("Attempting to retrieve the value for sharedBuffer ID 4 from context 2 that has "
                            "no entry in the GL resource table.",
                            "Attempting to retrieve the value for void* ID 4 from context 2 that has no "
                            "entry in the GL resource table."));
    table.AddIdGLSharedBuffer(4, 40);
    table.AddIdGLVoidPtr(4, &object);
    UseContext(1);
    EXPECT_EQ(table.GetValueGLSharedBuffer(4), 40);
    EXPECT_EQ(table.GetValueGLVoidPtr(4), &object);
    EXPECT_THAT(log.Take(), IsEmpty());

    table.AddIdGLVoidPtr(5, nullptr);
    table.AddIdGLVoidPtr(4, &table);
    table.RemoveIdGLVoidPtr(4);
    table.RemoveIdGLVoidPtr(4);
    EXPECT_EQ(table.GetValueGLVoidPtr(0), nullptr);
    EXPECT_EQ(table.GetValueGLSharedBuffer(-1), 0);
    EXPECT_THAT(log.Take(),
                ElementsAre("GL resource table rejected a mapping from valid void* ID 5 to a nullptr.",
                            "GL resource table overwriting existing void* ID 4.",
                            "Attempting to remove void* ID 4 that was not found in the GL resource table.",
                            "Ignoring value retrieval from the GL resource table for invalid void* ID 0.",
                            "Ignoring value retrieval from the GL resource table for invalid sharedBuffer ID -1."));
}

} // namespace
} // namespace Playback
