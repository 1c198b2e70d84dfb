// Windows against a compositor with the old shells. The library behind wl_egl_window is replaced, so that the tests see
// which sizes the driver would get and can play the driver that attaches buffers.

#include "Playback/WaylandWindow.h"

#include <cstring>
#include <optional>

#include <gmock/gmock.h>
#include <wayland-client.h>

#include "Playback/PlaybackSettings.h"
#include "Playback/Result.h"
#include "Playback/SingleWindowManager.h"
#include "ShellServer.h"

using namespace Playback;
using testing::ElementsAre;
using testing::IsEmpty;

struct wl_egl_window {
    int width;
    int height;
    int attachedWidth;
    int attachedHeight;
};

extern "C" {
wl_egl_window* wl_egl_window_create(wl_surface*, int width, int height)
{
    return new wl_egl_window{width, height, 0, 0};
}
void wl_egl_window_destroy(wl_egl_window* window)
{
    delete window;
}
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

constexpr std::uint32_t Fullscreen = 2;
constexpr std::uint32_t Activated = 4;

/// Writes down the sizes that it is asked to take.
class TestWindow : public WaylandWindow {
public:
    explicit TestWindow(Display* display) : WaylandWindow("Cube", display, nullptr) {}
    void Resize(unsigned int width, unsigned int height) override
    {
        resizes.push_back(std::to_string(width) + "x" + std::to_string(height));
    }
    std::vector<std::string> resizes;
};

class WaylandWindowTest : public testing::Test {
protected:
    ~WaylandWindowTest() override
    {
        window.reset();
        if (display.compositor) {
            wl_compositor_destroy(display.compositor);
        }
        if (display.shell) {
            wl_shell_destroy(display.shell);
        }
        if (display.xdgShell) {
            wl_proxy_destroy(reinterpret_cast<wl_proxy*>(display.xdgShell));
        }
        wl_registry_destroy(m_registry);
        PlaybackEnvironment::Instance()->InitDefaultSettings();
    }

    void Connect(ShellServer::Shell shell)
    {
        server.emplace(shell);
        display.display = server->Client();
        display.windowState = &state;
        m_registry = wl_display_get_registry(display.display);
        static const wl_registry_listener listener = {
            [](void* data, wl_registry* registry, std::uint32_t name, const char* interface, std::uint32_t) {
                auto* bound = static_cast<Display*>(data);
                if (std::strcmp(interface, "wl_compositor") == 0) {
                    bound->compositor =
                        static_cast<wl_compositor*>(wl_registry_bind(registry, name, &wl_compositor_interface, 1));
                } else if (std::strcmp(interface, "wl_shell") == 0) {
                    bound->shell = static_cast<wl_shell*>(wl_registry_bind(registry, name, &wl_shell_interface, 1));
                } else if (std::strcmp(interface, "xdg_shell") == 0) {
                    bound->xdgShell = BindXdgShell(registry, name);
                }
            },
            [](void*, wl_registry*, std::uint32_t) {},
        };
        wl_registry_add_listener(m_registry, &listener, &display);
        server->Dispatch();
    }

    /// A window of 640 x 480 whose creation is not of interest.
    void Show(ShellServer::Shell shell = ShellServer::Shell::XdgShellV5)
    {
        Connect(shell);
        window.emplace(&display);
        window->Create(640, 480, false);
        server->TakeRequests();
    }

    std::string CurrentSize() const { return std::to_string(state.width) + "x" + std::to_string(state.height); }
    std::string EGLSize() const
    {
        return std::to_string(state.eglWindow->width) + "x" + std::to_string(state.eglWindow->height);
    }

    std::optional<ShellServer> server;
    WindowState state;
    Display display;
    std::optional<TestWindow> window;

private:
    wl_registry* m_registry = nullptr;
};

TEST_F(WaylandWindowTest, RemembersTheWindowedSizeWhileFullScreen)
{
    Show();
    server->ConfigureXdgSurface(800, 600, {Activated}, 1);
    EXPECT_EQ(EGLSize(), "800x600");
    server->ConfigureXdgSurface(1920, 1080, {Activated, Fullscreen}, 2);
    EXPECT_TRUE(window->IsFullscreen());
    EXPECT_EQ(EGLSize(), "1920x1080");
    server->ConfigureXdgSurface(0, 0, {Fullscreen}, 3);
    EXPECT_EQ(CurrentSize(), "1920x1080");
    server->ConfigureXdgSurface(0, 0, {}, 4);
    EXPECT_FALSE(window->IsFullscreen());
    EXPECT_EQ(CurrentSize(), "800x600");
    EXPECT_EQ(EGLSize(), "800x600");
    EXPECT_THAT(server->TakeRequests(), ElementsAre("xdg_surface.ack_configure(1)", "xdg_surface.ack_configure(2)",
                                                    "xdg_surface.ack_configure(3)", "xdg_surface.ack_configure(4)"));
}

TEST_F(WaylandWindowTest, SwitchesFullScreen)
{
    Connect(ShellServer::Shell::XdgShellV5);
    window.emplace(&display);
    window->Create(320, 200, true);
    EXPECT_TRUE(window->IsFullscreen());
    window->Move(5, 5);
    window->ExitFullscreenState(400, 300);
    EXPECT_FALSE(window->IsFullscreen());
    window->EnterFullscreenState(1, 1);
    EXPECT_TRUE(window->IsFullscreen());
    const auto requests = server->TakeRequests();
    EXPECT_THAT(std::vector(requests.begin() + 4, requests.end()),
                ElementsAre("xdg_surface.set_fullscreen(null)", "xdg_surface.set_window_geometry(0, 0, 320, 200)",
                            "xdg_surface.unset_fullscreen()", "xdg_surface.set_window_geometry(0, 0, 400, 300)",
                            "xdg_surface.set_fullscreen(null)"));
}

TEST_F(WaylandWindowTest, TitleShowsSurfaceAndFrame)
{
    Show();
    window->SetFrameCount(1, 200);
    window->SetSubTitle("EGLSurface 3");
    window->SetFrameCount(12, 200);
    window->SetTitle("Sphere");
    window->SetFrameCount(13, 200);
    EXPECT_THAT(server->TakeRequests(),
                ElementsAre("xdg_surface.set_title(\"Cube - Frame 1 of 200\")",
                            "xdg_surface.set_title(\"Cube - EGLSurface 3\")",
                            "xdg_surface.set_title(\"Cube - EGLSurface 3 - Frame 12 of 200\")",
                            "xdg_surface.set_title(\"Sphere\")",
                            "xdg_surface.set_title(\"Sphere - EGLSurface 3 - Frame 13 of 200\")"));
}

TEST_F(WaylandWindowTest, ResizeRequestsAreProcessedOnce)
{
    Show();
    window->ProcessResizeRequest(false); // from Create: nothing is attached yet
    window->ProcessResizeRequest(true);
    EXPECT_THAT(window->resizes, ElementsAre("640x480"));

    state.eglWindow->attachedWidth = 640;
    state.eglWindow->attachedHeight = 480;
    window->EnqueueResizeRequest(640, 480);
    window->ProcessResizeRequest(false);
    window->ProcessResizeRequest(true);
    EXPECT_THAT(window->resizes, ElementsAre("640x480")) << "a request for the size at hand is dropped";

    window->EnqueueResizeRequest(640, 480);
    window->ProcessResizeRequest(true);
    window->EnqueueResizeRequest(640, 481);
    window->ProcessResizeRequest(false);
    window->EnqueueResizeRequest(0, 100);
    window->ProcessResizeRequest(true);
    EXPECT_THAT(window->resizes, ElementsAre("640x480", "640x480", "640x481"));
}

TEST_F(WaylandWindowTest, FactoryFollowsTheSettings)
{
    Connect(ShellServer::Shell::XdgShellV5);
    EXPECT_EQ(WaylandWindow::CreateNewWindow(nullptr), nullptr);
    WaylandWindow::CreateParams params = {"Plain", &display, nullptr};
    std::unique_ptr<Window> plain(WaylandWindow::CreateNewWindow(&params));
    EXPECT_EQ(EGLSize(), "640x480");
    plain.reset();

    PlaybackEnvironment::Instance()->m_windowWidth = 1024;
    PlaybackEnvironment::Instance()->m_fullscreen = true;
    plain.reset(WaylandWindow::CreateNewWindow(&params));
    EXPECT_EQ(EGLSize(), "1024x480");
    EXPECT_TRUE(plain->IsFullscreen());
}

TEST_F(WaylandWindowTest, SingleManagerServesTheWindowForEverySurface)
{
    Show();
    SingleWindowManager manager(&*window);
    manager.RemoveWindow(7);
    manager.DestroyWindow(&*window);
    EXPECT_EQ(manager.GetWindow(7), &*window);
    EXPECT_EQ(manager.GetWindow(8), &*window);
    EXPECT_EQ(manager.GetActiveWindow(), &*window);
    EXPECT_EQ(manager.CreateNewWindow(), nullptr);
    EXPECT_THAT(server->TakeRequests(), IsEmpty());
}

} // namespace
