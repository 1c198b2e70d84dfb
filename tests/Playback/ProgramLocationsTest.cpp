#include <gmock/gmock.h>

#include "LogCapture.h"
#include "Playback/GLResourceTable.h"

namespace Playback {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Table = GLResourceTable;

constexpr unsigned int InvalidProgram = 0xFFFFFFFF;

class ProgramLocationsTest : public testing::Test {
protected:
    ProgramLocationsTest()
    {
        table.SetSharedContextAssociation(2, 1);
        table.SetCurrentContext(0, 0, 0, 2);
    }

    LogCapture log;
    Table table;
};

TEST_F(ProgramLocationsTest, KindsAndProgramsAreKeptApart)
{
    for (const unsigned int program : {3, 4}) {
        const int base = static_cast<int>(program) * 100;
        table.AddIdGLAttribLocation(program, 0, base + 1);
        table.AddIdGLUniformLocation(program, 0, base + 2);
        table.AddIdGLUniformBlockIndex(program, 0, base + 3);
    }
    table.SetCurrentContext(0, 0, 0, 1); // of the same share group
    for (int round = 0; round < 2; ++round) {
        for (const unsigned int program : {3, 4}) {
            const int base = static_cast<int>(program) * 100;
            EXPECT_EQ(table.GetValueGLAttribLocation(program, 0), base + 1);
            EXPECT_EQ(table.GetValueGLUniformLocation(program, 0), base + 2);
            EXPECT_EQ(table.GetValueGLUniformBlockIndex(program, 0), base + 3);
        }
    }
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(ProgramLocationsTest, ALocationSetAfterAFailedLookupIsFound)
{
    EXPECT_EQ(table.GetValueGLUniformLocation(3, 0), 0);
    table.AddIdGLUniformLocation(4, 0, 7);
    EXPECT_EQ(table.GetValueGLUniformLocation(3, 0), 0);
    table.AddIdGLUniformLocation(3, 0, 8);
    EXPECT_EQ(table.GetValueGLUniformLocation(3, 0), 8);
    table.AddIdGLUniformLocation(3, 0, 9);
    EXPECT_EQ(table.GetValueGLUniformLocation(3, 0), 9);
}

TEST_F(ProgramLocationsTest, EveryFailureYieldsTheCapturedLocationAndItsMessage)
{
    struct Kind {
        int (Table::*get)(unsigned int, int) const;
        void (Table::*add)(unsigned int, int, int);
        const char* ofProgram;
        const char* ofContext;
        const char* unmapped;
    };
    const Kind kinds[] = {
        {&Table::GetValueGLAttribLocation, &Table::AddIdGLAttribLocation,
         "Attempting to retrieve attrib location for invalid program ID -1.",
         "Attempting to retrieve attribute location 3 from context 1 that has no entry in the GL resource table.",
         "No mapping for vertex attrib location 3"},
        {&Table::GetValueGLUniformLocation, &Table::AddIdGLUniformLocation,
         "Attempting to retrieve uniform location for invalid program ID -1.",
         "Attempting to retrieve uniform location 3 from context 1 that has no entry in the GL resource table.",
         "No mapping for uniform location 3"},
        {&Table::GetValueGLUniformBlockIndex, &Table::AddIdGLUniformBlockIndex,
         "Attempting to retrieve uniform block location for invalid program ID -1.",
         "Attempting to retrieve uniform block index 3 from context 1 that has no entry in the GL resource table.",
         "No mapping for uniform block index 3"},
    };
    for (const Kind& kind : kinds) {
        EXPECT_EQ((table.*kind.get)(InvalidProgram, 3), 3);
        EXPECT_EQ((table.*kind.get)(5, 3), 3);
    }
    EXPECT_THAT(log.Take(), ElementsAre(kinds[0].ofProgram, kinds[0].ofContext, kinds[1].ofProgram, kinds[1].ofContext,
                                        kinds[2].ofProgram, kinds[2].ofContext));
    for (const Kind& kind : kinds) {
        (table.*kind.add)(5, 1, 1);
        EXPECT_EQ((table.*kind.get)(6, 3), 3);
        EXPECT_EQ((table.*kind.get)(5, 3), 3);
        EXPECT_THAT(log.Take(), ElementsAre("No resource entry for program 6", kind.unmapped));
    }
}

TEST_F(ProgramLocationsTest, NoProgramIsUnusualExceptForAttributes)
{
    EXPECT_EQ(table.GetValueGLAttribLocation(0, 3), 3);
    EXPECT_THAT(log.Take(), IsEmpty());
    EXPECT_EQ(table.GetValueGLUniformLocation(0, 3), 3);
    EXPECT_EQ(table.GetValueGLUniformBlockIndex(0, 3), 3);
    EXPECT_THAT(log.Take(), ElementsAre("Attempting to retrieve uniform location for invalid program ID 0.",
                                        "Attempting to retrieve uniform block location for invalid program ID 0."));
}

TEST_F(ProgramLocationsTest, AMappingToMinusOneIsReportedUnlessTheCaptureHadItToo)
{
    for (const int location : {-1, 3}) {
        table.AddIdGLAttribLocation(5, location, -1);
        table.AddIdGLUniformLocation(5, location, -1);
        table.AddIdGLUniformBlockIndex(5, location, -1);
        EXPECT_EQ(table.GetValueGLAttribLocation(5, location), -1);
        EXPECT_EQ(table.GetValueGLUniformLocation(5, location), -1);
        EXPECT_EQ(table.GetValueGLUniformBlockIndex(5, location), -1);
    }
    EXPECT_THAT(log.Take(),
                ElementsAre("Valid attrib location 3 mapped to -1", "Valid uniform location 3 mapped to -1"));
}

TEST_F(ProgramLocationsTest, NothingIsRecordedForAnInvalidProgram)
{
    table.AddIdGLAttribLocation(0, 1, 2);
    table.AddIdGLUniformLocation(InvalidProgram, 1, 2);
    table.AddIdGLUniformBlockIndex(0, 1, 2);
    table.AddIdGLFragDataLocation(0, 1, 2);
    table.AddIdGLFragDataIndex(0, 1, 2);
    EXPECT_THAT(log.Take(), ElementsAre("Rejecting attrib mapping for invalid program ID 0.",
                                        "Rejecting uniform mapping for invalid program ID -1.",
                                        "Rejecting uniform block mapping for invalid program ID 0.",
                                        "Rejecting frag data location mapping for invalid program ID 0.",
                                        "Rejecting frag data index mapping for invalid program ID 0."));
    EXPECT_EQ(table.GetValueGLAttribLocation(0, 1), 1);
}

} // namespace
} // namespace Playback
