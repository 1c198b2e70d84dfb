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

TEST_F(ProgramLocationsTest, WhatIsNotMappedIsItselfAndReported)
{
    EXPECT_EQ(table.GetValueGLAttribLocation(0, 3), 3) << "without a program: nothing to report";
    EXPECT_EQ(table.GetValueGLUniformLocation(InvalidProgram, 3), 3);
    EXPECT_EQ(table.GetValueGLUniformBlockIndex(5, 3), 3);
    table.AddIdGLUniformBlockIndex(5, 1, 1);
    EXPECT_EQ(table.GetValueGLUniformBlockIndex(6, 3), 3);
    EXPECT_EQ(table.GetValueGLAttribLocation(5, 3), 3);
    table.AddIdGLUniformLocation(0, 1, 2);
    EXPECT_THAT(log.Take(),
                ElementsAre("Attempting to retrieve uniform location for invalid program ID -1.",
                            "Attempting to retrieve uniform block index 3 from context 1 that has no entry in the GL "
                            "resource table.",
                            "No resource entry for program 6", testing::_,
                            "Rejecting uniform mapping for invalid program ID 0."));
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

} // namespace
} // namespace Playback
