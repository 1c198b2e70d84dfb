#include "Playback/Controller.h"

#include <gmock/gmock.h>

#include "Interfaces/Data.h"
#include "Playback/SingleWindowManager.h"
#include "StubWindow.h"

namespace Playback {
namespace {

/// A capture of so many frames.
class StubReader : public Data::CaptureFileReader, public Data::DCAPFileProcessor {
public:
    explicit StubReader(std::uint32_t frameCount) : m_frameCount(frameCount) {}

    DCAPFileProcessor* GetFrameProcessor() override { return this; }
    std::uint32_t GetCurrentFrame() const override { return m_frame; }
    std::uint32_t GetFrameCount() const override { return m_frameCount; }
    bool ProcessNextFrame() override
    {
        ++calls;
        if (m_frame == m_frameCount) {
            return false;
        }
        ++m_frame;
        return true;
    }

    int calls = 0;

private:
    std::uint32_t m_frame = 0;
    std::uint32_t m_frameCount;
};

TEST(ControllerTest, ReplaysToTheEndAndReadsNoFurther)
{
    StubReader reader(2);
    Controller controller(nullptr, &reader);
    EXPECT_TRUE(controller.Update());
    EXPECT_TRUE(controller.Update());
    EXPECT_FALSE(controller.Update());
    EXPECT_FALSE(controller.HasMoreFrames());
    EXPECT_FALSE(controller.FrameForward());
    EXPECT_FALSE(controller.Update());
    EXPECT_EQ(reader.calls, 3);
}

TEST(ControllerTest, WhilePausedOnlySingleStepsReplay)
{
    StubReader reader(5);
    Controller controller(nullptr, &reader);
    EXPECT_FALSE(controller.IsPaused());
    controller.Pause();
    EXPECT_TRUE(controller.Update());
    EXPECT_EQ(reader.calls, 0);
    EXPECT_TRUE(controller.FrameForward());
    EXPECT_EQ(reader.calls, 1);
    EXPECT_TRUE(controller.IsPaused());
    controller.Play();
    EXPECT_TRUE(controller.Update());
    EXPECT_EQ(reader.calls, 2);
}

TEST(ControllerTest, TheActiveWindowShowsTheFrameThatWasReplayed)
{
    StubReader reader(1);
    testing::StrictMock<StubWindow> window;
    SingleWindowManager windows(&window);
    Controller controller(&windows, &reader);
    EXPECT_CALL(window, SetFrameCount(1, 1)).Times(2); // also after the step that found the end
    controller.Update();
    controller.Update();

    SingleWindowManager noWindow(nullptr);
    StubReader again(1);
    EXPECT_TRUE(Controller(&noWindow, &again).Update());
}

} // namespace
} // namespace Playback
