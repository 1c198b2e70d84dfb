#include "FakeDriver/FakeDriver.h"
#include "Playback/ForceFlushBlockEventHandler.h"
#include "Playback/PlaybackSettings.h"
#include "Playback/SkipApiBlockEventHandler.h"

namespace Playback {
namespace {

using Core::KHRLayer;
using Data::BlockType;
using testing::Contains;
using testing::Not;
using testing::StartsWith;

class ForceFlushTest : public FakeDriverTest {
protected:
    ForceFlushTest() { SetCurrent(0x20, 0x30); }

    void SetCurrent(std::uintptr_t context, std::uintptr_t surface)
    {
        driver.Returns("eglGetCurrentContext", reinterpret_cast<void*>(context));
        driver.Returns("eglGetCurrentDisplay", reinterpret_cast<void*>(0x10));
        driver.Returns("eglGetCurrentSurface", reinterpret_cast<void*>(surface));
    }
    bool Called(const std::string& function)
    {
        const bool called = testing::Value(driver.Log(), Contains(StartsWith(function + "(")));
        driver.ClearLog();
        return called;
    }
};

TEST_F(ForceFlushTest, FlushesAfterFramesUnlessToldOtherwise)
{
    ForceFlushBlockEventHandler handler;
    handler.BlockStart(BlockType::Frame);
    handler.BlockEnd(BlockType::State);
    EXPECT_FALSE(Called("glFlush") || Called("eglSwapBuffers"));
    handler.BlockEnd(BlockType::Frame);
    EXPECT_TRUE(Called("glFlush"));

    ForceFlushBlockEventHandler neither(false, false);
    neither.BlockEnd(BlockType::Frame);
    EXPECT_FALSE(Called("glFlush"));
}

TEST_F(ForceFlushTest, SwapsTheDrawSurfaceAfterTheStateBlock)
{
    ForceFlushBlockEventHandler handler(false, true);
    handler.BlockEnd(BlockType::State);
    EXPECT_THAT(driver.Log(), Contains(StartsWith("eglGetCurrentSurface(EGL_DRAW)")));
    EXPECT_TRUE(Called("eglSwapBuffers"));
    SetCurrent(0x20, 0);
    handler.BlockEnd(BlockType::State);
    EXPECT_FALSE(Called("eglSwapBuffers"));
}

TEST_F(ForceFlushTest, DoesNothingWithoutAContext)
{
    SetCurrent(0, 0x30);
    ForceFlushBlockEventHandler handler(true, true);
    handler.BlockEnd(BlockType::Frame);
    handler.BlockEnd(BlockType::State);
    EXPECT_FALSE(Called("glFlush"));
    EXPECT_FALSE(Called("eglSwapBuffers"));
}

class SkipApiTest : public FakeDriverTest {
protected:
    ~SkipApiTest() override
    {
        Settings().m_skipStateApiIds.clear();
        Settings().m_skipFrameApiIds.clear();
        KHRLayer::SetSkipApis({});
    }

    static PlaybackEnvironment& Settings() { return *PlaybackEnvironment::Instance(); }
    static bool HasFlush() { return KHRLayer::playbackGLESProcTable.glFlush != nullptr; }
    static bool HasClear() { return KHRLayer::playbackGLESProcTable.glClear != nullptr; }

    SkipApiBlockEventHandler handler;
};

TEST_F(SkipApiTest, FunctionsAreTakenOutOfWhicheverTableHasThem)
{
    Settings().AddSkipApiIds("glFlush,eglSwapBuffers,eglCreateSyncKHR,glInsertEventMarkerEXT",
                             Settings().m_skipFrameApiIds);
    ASSERT_EQ(Settings().m_skipFrameApiIds.size(), 4u);
    handler.BlockStart(BlockType::Frame);
    EXPECT_FALSE(HasFlush());
    EXPECT_EQ(KHRLayer::playbackEGLProcTable.eglSwapBuffers, nullptr);
    EXPECT_EQ(KHRLayer::playbackEGLExtProcTable.eglCreateSyncKHR, nullptr);
    EXPECT_EQ(KHRLayer::playbackGLESExtProcTable.glInsertEventMarkerEXT, nullptr);
    EXPECT_TRUE(HasClear());
    EXPECT_NE(KHRLayer::GLESProc().glFlush, nullptr) << "the live tables stay whole";
}

/// The first frame installs the frame set, each state block its own; later frames leave the tables alone.
TEST_F(SkipApiTest, BlocksInstallTheirSets)
{
    KHRLayer::playbackGLESProcTable.glClear = nullptr;
    handler.BlockStart(BlockType::State);
    EXPECT_TRUE(HasClear()) << "an empty set restores the tables";
    Settings().AddSkipApiIds("glFlush", Settings().m_skipFrameApiIds);
    Settings().AddSkipApiIds("glClear", Settings().m_skipStateApiIds);
    handler.BlockStart(BlockType::State);
    EXPECT_TRUE(HasFlush() && !HasClear());
    handler.BlockStart(BlockType::Frame);
    EXPECT_TRUE(!HasFlush() && HasClear());
    KHRLayer::playbackGLESProcTable.glFlush = KHRLayer::GLESProc().glFlush;
    handler.BlockStart(BlockType::Frame);
    EXPECT_TRUE(HasFlush()) << "a later frame";
    handler.BlockStart(BlockType::State);
    handler.BlockEnd(BlockType::State);
    handler.BlockStart(BlockType::Frame);
    EXPECT_TRUE(HasFlush() && !HasClear()) << "the state set stays";
}

} // namespace
} // namespace Playback
