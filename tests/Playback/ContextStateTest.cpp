#include <gmock/gmock.h>

#include "LogCapture.h"
#include "Playback/GLResourceTable.h"

namespace Playback {
namespace {

constexpr unsigned int GLESApi = 0x30A0;
constexpr unsigned int OpenGLApi = 0x30A2;

class ContextStateTest : public testing::Test {
protected:
    void UseContext(unsigned int context) { table.SetCurrentContext(10, 11, 12, context); }
    /// What SetCurrentThread tells about the API and the context.
    std::pair<bool, bool> UseThread(unsigned int thread)
    {
        bool apiChanged = true;
        bool contextChanged = true;
        EXPECT_EQ(table.SetCurrentThread(thread, &apiChanged, &contextChanged), apiChanged);
        return {apiChanged, contextChanged};
    }

    LogCapture log;
    GLResourceTable table;
};

using Changed = std::pair<bool, bool>;

TEST_F(ContextStateTest, AThreadNotSeenBeforeHasOpenGLESAndNoContext)
{
    UseContext(1);
    table.SetCurrentAPI(OpenGLApi);
    table.AddIdGLBuffer(5, 9);
    EXPECT_EQ(UseThread(7), Changed(true, true));
    EXPECT_EQ(table.GetValueGLBuffer(5), 0u);
    EXPECT_FALSE(table.GetCurrentAPI(nullptr));
    EXPECT_FALSE(table.GetCurrentContextInfo(nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(UseThread(7), Changed(false, false));
    // Back: both return.
    EXPECT_EQ(UseThread(0), Changed(true, true));
    EXPECT_EQ(table.GetValueGLBuffer(5), 9u);
}

TEST_F(ContextStateTest, ProgramsBelongToContexts)
{
    UseContext(1);
    table.SetCurrentProgram(20);
    UseContext(2);
    EXPECT_EQ(table.GetCurrentProgram(), 0u);
    table.SetCurrentProgram(30);
    UseContext(1);
    EXPECT_EQ(table.GetCurrentProgram(), 20u);
    table.RemoveContextInfo(2);
    UseContext(2);
    EXPECT_EQ(table.GetCurrentProgram(), 0u);
}

TEST_F(ContextStateTest, AGroupIsKnownByItsRoot)
{
    table.SetSharedContextAssociation(2, 1);
    table.SetSharedContextAssociation(3, 2);
    table.SetSharedContextAssociation(3, 9); // it is in a group already
    table.SetSharedContextAssociation(4, 0);
    EXPECT_EQ(table.GetSharedResourceIndex(3), 1u);
    EXPECT_EQ(table.GetSharedContextAssociation(3), 1u);
    EXPECT_EQ(table.GetSharedResourceIndex(4), 4u);
    EXPECT_EQ(table.GetSharedContextAssociation(4), 0u);
    table.RemoveSharedContextAssociation(2);
    EXPECT_EQ(table.GetSharedResourceIndex(3), 1u);
    EXPECT_EQ(table.GetSharedResourceIndex(2), 2u);
}

TEST_F(ContextStateTest, ANameUsedAgainForARootEndsInNoCircle)
{
    table.SetSharedContextAssociation(2, 1);
    table.SetSharedContextAssociation(1, 2); // 1 was destroyed and its name given out again
    table.SetSharedContextAssociation(3, 1);
    EXPECT_EQ(table.GetSharedResourceIndex(1), 1u);
    EXPECT_EQ(table.GetSharedResourceIndex(3), 1u);

    table.SetSharedContextAssociation(1, 5); // again, now in another group
    table.SetSharedContextAssociation(6, 2);
    EXPECT_EQ(table.GetSharedResourceIndex(6), 5u);
}

TEST_F(ContextStateTest, DestroyingAContextDropsItsMapsAtOnce)
{
    table.SetSharedContextAssociation(2, 1);
    UseContext(2);
    table.AddIdGLBuffer(5, 9);
    table.AddIdGLFramebuffer(5, 8);
    table.AddIdGLUniformLocation(3, 4, 40);
    table.RemoveContextInfo(1); // the root, with the names of the group
    EXPECT_EQ(table.GetValueGLBuffer(5), 0u);
    EXPECT_EQ(table.GetValueGLUniformLocation(3, 4), 4);
    EXPECT_EQ(table.GetValueGLFramebuffer(5), 8u);
    table.RemoveContextInfo(2);
    EXPECT_EQ(table.GetValueGLFramebuffer(5), 0u);
    EXPECT_FALSE(table.GetCurrentContextInfo(nullptr, nullptr, nullptr, nullptr));
    // New contexts under the same names start empty.
    UseContext(2);
    table.AddIdGLBuffer(6, 9);
    EXPECT_EQ(table.GetValueGLBuffer(5), 0u);
    EXPECT_EQ(table.GetValueGLBuffer(6), 9u);
}

} // namespace
} // namespace Playback
