// What a window decides by itself; what it asks of a compositor is tested with whole programs.

#include "Playback/WaylandWindow.h"

#include <gmock/gmock.h>

namespace Playback {
namespace {

/// Writes down the sizes that it is asked to take.
class TestWindow : public WaylandWindow {
public:
    explicit TestWindow(Display* display) : WaylandWindow("Cube", display, nullptr) {}
    void Resize(unsigned int width, unsigned int height) override { sizes.emplace_back(width, height); }
    std::vector<std::pair<unsigned int, unsigned int>> sizes;
};

TEST(WaylandWindowTest, TakesTheSizesOfTheCompositorAndOfTheCapture)
{
    WindowState state;
    Display display{.windowState = &state};
    TestWindow window(&display);
    const struct {
        int width, height;
        bool isFullscreen;
        std::uint32_t expectedWidth;
    } events[] = {{800, 600, false, 800}, {1920, 1080, true, 1920}, {0, 0, true, 1920}, {0, 0, false, 800}};
    for (const auto& event : events) {
        state.Configure(event.width, event.height, event.isFullscreen);
        EXPECT_EQ(window.IsFullscreen(), event.isFullscreen);
        EXPECT_EQ(state.width, event.expectedWidth) << "the windowed size is remembered";
    }
    for (const auto& [width, height] : {std::pair{640u, 480u}, {0u, 100u}}) {
        window.EnqueueResizeRequest(width, height);
        window.ProcessResizeRequest(false);
        window.ProcessResizeRequest(true);
    }
    EXPECT_THAT(window.sizes, testing::ElementsAre(std::pair(640u, 480u))) << "once";
}

} // namespace
} // namespace Playback
