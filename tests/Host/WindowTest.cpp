// Windows under the compositor that the environment names; run inside scripts/with-weston.
#include "Host/Wayland/ReplayWindow.h"

#include <gmock/gmock.h>

#include "Host/Wayland/ReplayWindows.h"
#include "Host/Wayland/WaylandConnection.h"
#include "Interfaces/Core.h"
#include "Playback/PlaybackSettings.h"
#include "Replay/Driver/Driver.h"

namespace {

/// A window with a context, drawn by the machine's driver.
class WindowTest : public testing::Test {
protected:
    WindowTest() : m_connection(Host::WaylandConnection::Open(m_why)) {}
    ~WindowTest() override
    {
        if (m_display) {
            // Before the window goes, which the driver holds on to.
            Core::KHRLayer::EGLProc().eglMakeCurrent(m_display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
            Core::KHRLayer::EGLProc().eglTerminate(m_display);
            Core::KHRLayer::FreeGLES();
            Core::KHRLayer::FreeEGL();
        }
    }

    void Open(Host::PixelSize size, bool fullscreen)
    {
        Playback::PlaybackEnvironment& settings = *Playback::PlaybackEnvironment::Instance();
        settings.m_windowWidth = static_cast<int>(size.width);
        settings.m_windowHeight = static_cast<int>(size.height);
        settings.m_fullscreen = fullscreen;
        m_window = Host::ReplayWindow::Open("test", *m_connection, {});
        ASSERT_NE(m_window, nullptr);
        ASSERT_EQ(Replay::OpenDriver("", m_connection->Globals().display), "");
        const Core::EGLProcTable& egl = Core::KHRLayer::EGLProc();
        m_display = egl.eglGetDisplay(reinterpret_cast<EGLNativeDisplayType>(m_connection->Globals().display));
        const EGLint request[] = {EGL_RED_SIZE, 8, EGL_RENDERABLE_TYPE, EGL_OPENGL_ES2_BIT, EGL_NONE};
        EGLConfig config = nullptr;
        EGLint count = 0;
        ASSERT_TRUE(egl.eglChooseConfig(m_display, request, &config, 1, &count) && count == 1);
        void* window = nullptr;
        m_window->Window().GetNativeHandle(Playback::Window::NativeHandle::EGLWindow, &window);
        m_surface =
            egl.eglCreateWindowSurface(m_display, config, reinterpret_cast<EGLNativeWindowType>(window), nullptr);
        egl.eglBindAPI(EGL_OPENGL_ES_API);
        const EGLint version2[] = {EGL_CONTEXT_CLIENT_VERSION, 2, EGL_NONE};
        const EGLContext context = egl.eglCreateContext(m_display, config, EGL_NO_CONTEXT, version2);
        ASSERT_TRUE(egl.eglMakeCurrent(m_display, m_surface, m_surface, context));
    }

    void Swap() const
    {
        Core::KHRLayer::GLESProc().glClear(GL_COLOR_BUFFER_BIT);
        ASSERT_TRUE(Core::KHRLayer::EGLProc().eglSwapBuffers(m_display, m_surface));
    }

    std::string m_why;
    std::unique_ptr<Host::WaylandConnection> m_connection;
    std::unique_ptr<Host::ReplayWindow> m_window;
    EGLDisplay m_display = nullptr;
    EGLSurface m_surface = nullptr;
};

TEST_F(WindowTest, FullScreenKeepsThePixelsOfTheCapture)
{
    Open({300, 200}, true);
    for (int i = 0; i < 5; ++i) {
        Swap();
        ASSERT_TRUE(m_connection->Roundtrip());
    }
    const Playback::Window& window = m_window->Window();
    EXPECT_TRUE(window.IsFullscreen());
    EXPECT_EQ(std::pair(window.GetWidth(), window.GetHeight()), std::pair(300u, 200u));
    m_window->ToggleFullscreen();
    Swap();
    ASSERT_TRUE(m_connection->Roundtrip());
    EXPECT_FALSE(window.IsFullscreen());
}

TEST_F(WindowTest, AFrameIsAwaitedUntilTheCompositorHasShownIt)
{
    constexpr std::chrono::milliseconds Patience(400);
    Open({64, 64}, false);
    Core::KHRLayer::EGLProc().eglSwapInterval(m_display, 0);
    const auto time = [](auto action) {
        const auto start = std::chrono::steady_clock::now();
        action();
        return std::chrono::steady_clock::now() - start;
    };
    // The compositor refreshes at 60 Hz at most.
    const auto shown = time([&] {
        for (int i = 0; i < 13; ++i) {
            m_window->WaitForFrame(Patience);
            Swap();
        }
    });
    EXPECT_GT(shown, std::chrono::milliseconds(150));
    EXPECT_LT(shown, 13 * Patience);
    // Without a swap there is no frame to show, as with a window that is hidden.
    m_window->WaitForFrame(Patience);
    EXPECT_GE(time([&] { m_window->WaitForFrame(Patience); }), Patience);
}

TEST(WindowsTest, EachSurfaceHasAWindowAndTheLastOneStaysForTheNext)
{
    std::string why;
    const auto connection = Host::WaylandConnection::Open(why);
    const auto opened = Host::ReplayWindows::Open(*connection, {.title = "test", .fixed = {}});
    ASSERT_NE(opened, nullptr) << why;
    Playback::SingleWindowManager& windows = *opened;
    Playback::Window* const first = windows.GetActiveWindow();
    EXPECT_EQ(windows.GetWindow(3), nullptr);
    windows.AddWindow(3);
    windows.AddWindow(5);
    EXPECT_EQ(windows.GetWindow(3), first);
    EXPECT_THAT(windows.GetWindow(5), testing::AllOf(testing::NotNull(), testing::Ne(first)));
    windows.ActivateWindow(5);
    windows.ActivateWindow(77);
    EXPECT_EQ(windows.GetActiveWindow(), windows.GetWindow(5));
    windows.RemoveWindow(5);
    EXPECT_EQ(windows.GetActiveWindow(), first);
    windows.RemoveWindow(3);
    EXPECT_EQ(windows.GetWindow(3), nullptr);
    EXPECT_EQ(windows.GetActiveWindow(), first);
    windows.AddWindow(9);
    EXPECT_EQ(windows.GetWindow(9), first);
}

} // namespace
