// What a window decides by itself; what it asks of a compositor is tested with whole programs, under one with the old
// shells. The library behind wl_egl_window is replaced, so that the tests see which sizes the driver would get and can
// play the driver that attaches buffers.

#include "Playback/WaylandWindow.h"

#include <gmock/gmock.h>
#include <wayland-client.h>

#include "Playback/SingleWindowManager.h"

using namespace Playback;
using testing::ElementsAre;

struct wl_egl_window {
    int width;
    int height;
    int attachedWidth;
    int attachedHeight;
};

extern "C" {
wl_egl_window* wl_egl_window_create(wl_surface*, int, int)
{
    return nullptr;
}
void wl_egl_window_destroy(wl_egl_window*) {}
void wl_egl_window_resize(wl_egl_window* window, int width, int height, int, int)
{
    window->width = width;
    window->height = height;
}
void wl_egl_window_get_attached_size(wl_egl_window* window, int* width, int* height)
{
    if (width) {
        *width = window->attachedWidth;
    }
    if (height) {
        *height = window->attachedHeight;
    }
}
}

namespace {

std::string Size(unsigned int width, unsigned int height)
{
    return std::to_string(width) + "x" + std::to_string(height);
}

/// Writes down what it is to become.
class TestWindow : public WaylandWindow {
public:
    explicit TestWindow(Display* display) : WaylandWindow("Cube", display, nullptr) {}
    void Resize(unsigned int width, unsigned int height) override { seen.push_back(Size(width, height)); }
    void SendTitle(const std::string& text) override { seen.push_back(text); }
    std::vector<std::string> seen;
};

class WaylandWindowTest : public testing::Test {
protected:
    WaylandWindowTest() { state.eglWindow = &eglWindow; }

    wl_egl_window eglWindow = {};
    WindowState state;
    Display display{.windowState = &state};
    TestWindow window{&display};
};

TEST_F(WaylandWindowTest, RemembersTheWindowedSizeWhileFullScreen)
{
    const struct {
        int width, height;
        bool isFullscreen;
        std::string expected;
    } events[] = {{800, 600, false, "800x600"},
                  {1920, 1080, true, "1920x1080"},
                  {0, 0, true, "1920x1080"},
                  {0, 0, false, "800x600"}};
    for (const auto& event : events) {
        state.Configure(event.width, event.height, event.isFullscreen);
        EXPECT_EQ(window.IsFullscreen(), event.isFullscreen);
        EXPECT_EQ(Size(state.width, state.height), event.expected);
        EXPECT_EQ(Size(eglWindow.width, eglWindow.height), event.expected);
    }
}

TEST_F(WaylandWindowTest, TitleShowsSurfaceAndFrame)
{
    window.SetFrameCount(1, 200);
    window.SetSubTitle("EGLSurface 3");
    window.SetTitle("Sphere");
    window.SetFrameCount(13, 200);
    EXPECT_THAT(window.seen, ElementsAre("Cube - Frame 1 of 200", "Cube - EGLSurface 3", "Sphere",
                                         "Sphere - EGLSurface 3 - Frame 13 of 200"));
}

TEST_F(WaylandWindowTest, ResizeRequestsAreProcessedOnce)
{
    const auto request = [&](unsigned int width, unsigned int height, bool force) {
        window.EnqueueResizeRequest(width, height);
        window.ProcessResizeRequest(force);
        window.ProcessResizeRequest(true);
    };
    request(640, 480, false); // nothing is attached yet
    eglWindow.attachedWidth = 640;
    eglWindow.attachedHeight = 480;
    request(640, 480, false); // dropped: it is the size at hand
    request(640, 480, true);
    request(640, 481, false);
    request(0, 100, true);
    EXPECT_THAT(window.seen, ElementsAre("640x480", "640x480", "640x481"));
}

TEST_F(WaylandWindowTest, SingleManagerServesTheWindowForEverySurface)
{
    SingleWindowManager manager(&window);
    manager.RemoveWindow(7);
    manager.DestroyWindow(&window);
    EXPECT_EQ(manager.GetWindow(8), &window);
    EXPECT_EQ(manager.GetActiveWindow(), &window);
}

} // namespace
