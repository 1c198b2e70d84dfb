#include "FakeDriver/FakeDriver.h"
#include "Playback/ForceFlushBlockEventHandler.h"
#include "Playback/PlaybackSettings.h"
#include "Playback/SkipApiBlockEventHandler.h"

namespace Playback {
namespace {

using Core::KHRLayer;
using Data::BlockType;
using testing::ElementsAre;
using testing::IsEmpty;

using BlockEventHandlersTest = FakeDriverTest;

TEST_F(BlockEventHandlersTest, FlushesAfterFramesAndSwapsAfterTheStateBlock)
{
    const auto calls = [&](ForceFlushBlockEventHandler handler, BlockType type) {
        driver.ClearLog();
        handler.BlockStart(type);
        handler.BlockEnd(type);
        auto log = driver.Log();
        std::erase_if(log, [](const std::string& call) { return call.starts_with("eglGetCurrent"); });
        return log;
    };
    const auto current = [&](std::uintptr_t context, std::uintptr_t surface) {
        driver.Returns("eglGetCurrentContext", context);
        driver.Returns("eglGetCurrentSurface", surface);
    };
    driver.Returns("eglGetCurrentDisplay", 16);
    current(32, 48);
    EXPECT_THAT(calls({}, BlockType::Frame), ElementsAre("glFlush()"));
    EXPECT_THAT(calls({}, BlockType::State), IsEmpty());
    EXPECT_THAT(calls({false, false}, BlockType::Frame), IsEmpty());
    EXPECT_THAT(calls({false, true}, BlockType::State), ElementsAre("eglSwapBuffers(16, 48) = 1"));
    current(32, 0);
    EXPECT_THAT(calls({false, true}, BlockType::State), IsEmpty());
    current(0, 48);
    EXPECT_THAT(calls({true, true}, BlockType::State), IsEmpty());
    EXPECT_THAT(calls({true, true}, BlockType::Frame), IsEmpty());
}

/// The first frame installs the frame set, each state block its own; later frames leave the tables alone.
TEST_F(BlockEventHandlersTest, BlocksInstallTheirSetsOfSkippedFunctions)
{
    PlaybackEnvironment& settings = *PlaybackEnvironment::Instance();
    const auto& gl = KHRLayer::playbackGLESProcTable;
    SkipApiBlockEventHandler handler;
    KHRLayer::playbackGLESProcTable.glClear = nullptr;
    handler.BlockStart(BlockType::State);
    EXPECT_TRUE(gl.glClear) << "an empty set restores the tables";
    settings.AddSkipApiIds("glFlush,eglSwapBuffers,eglCreateSyncKHR,glInsertEventMarkerEXT",
                           settings.m_skipFrameApiIds);
    settings.AddSkipApiIds("glClear", settings.m_skipStateApiIds);
    handler.BlockStart(BlockType::State);
    EXPECT_TRUE(gl.glFlush && !gl.glClear);
    handler.BlockStart(BlockType::Frame);
    EXPECT_TRUE(!gl.glFlush && gl.glClear);
    EXPECT_FALSE(KHRLayer::playbackEGLProcTable.eglSwapBuffers || KHRLayer::playbackEGLExtProcTable.eglCreateSyncKHR ||
                 KHRLayer::playbackGLESExtProcTable.glInsertEventMarkerEXT);
    EXPECT_TRUE(KHRLayer::GLESProc().glFlush) << "the live tables stay whole";
    KHRLayer::playbackGLESProcTable.glFlush = KHRLayer::GLESProc().glFlush;
    handler.BlockStart(BlockType::Frame);
    EXPECT_TRUE(gl.glFlush) << "a later frame";
    handler.BlockStart(BlockType::State);
    handler.BlockEnd(BlockType::State);
    handler.BlockStart(BlockType::Frame);
    EXPECT_TRUE(gl.glFlush && !gl.glClear) << "the state set stays";

    settings.m_skipStateApiIds.clear();
    settings.m_skipFrameApiIds.clear();
    KHRLayer::SetSkipApis({});
}

} // namespace
} // namespace Playback
