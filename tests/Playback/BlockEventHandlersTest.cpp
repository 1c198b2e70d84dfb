#include "FakeDriver/FakeDriver.h"
#include "Playback/ForceFlushBlockEventHandler.h"

namespace Playback {
namespace {

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

} // namespace
} // namespace Playback
