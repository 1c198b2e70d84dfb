// Windows under the compositor that the environment names; run inside scripts/with-weston.
#include "Host/ReplayWindow.h"

#include <cstdlib>

#include <gmock/gmock.h>

#include "Host/Driver.h"
#include "Host/HiddenSurface.h"
#include "Host/ReplayWindows.h"
#include "Host/WaylandConnection.h"
#include "Interfaces/Core.h"
#include "Playback/EGLProxySurface.h"

namespace {

using testing::HasSubstr;

TEST(WaylandConnectionTest, SaysWhichSocketItTried)
{
    const std::string display = std::getenv("WAYLAND_DISPLAY");
    setenv("WAYLAND_DISPLAY", "no-such-socket", 1);
    std::string why;
    EXPECT_EQ(Host::WaylandConnection::Open(why), nullptr);
    EXPECT_THAT(why, HasSubstr("WAYLAND_DISPLAY=no-such-socket"));
    setenv("WAYLAND_DISPLAY", display.c_str(), 1);
}

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

    void Open(Host::PixelSize captured, Host::PixelSize fixed = {}, bool fullscreen = false)
    {
        m_window = Host::ReplayWindow::Open("test", *m_connection, captured, fixed, fullscreen);
        ASSERT_NE(m_window, nullptr);
    }

    void OpenSurface()
    {
        ASSERT_EQ(Host::OpenDriver("", m_connection->Globals().display), "");
        const Core::EGLProcTable& egl = Core::KHRLayer::EGLProc();
        m_display = egl.eglGetDisplay(reinterpret_cast<EGLNativeDisplayType>(m_connection->Globals().display));
        const EGLint request[] = {EGL_RED_SIZE, 8, EGL_RENDERABLE_TYPE, EGL_OPENGL_ES2_BIT, EGL_NONE};
        EGLConfig config = nullptr;
        EGLint count = 0;
        ASSERT_TRUE(egl.eglChooseConfig(m_display, request, &config, 1, &count) && count == 1);
        void* window = nullptr;
        m_window->GetNativeHandle(Playback::Window::NativeHandle::EGLWindow, &window);
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

    [[nodiscard]] Host::PixelSize AttachedSize() const { return {m_window->GetWidth(), m_window->GetHeight()}; }

    std::string m_why;
    std::unique_ptr<Host::WaylandConnection> m_connection;
    std::unique_ptr<Host::ReplayWindow> m_window;
    EGLDisplay m_display = nullptr;
    EGLSurface m_surface = nullptr;
};

MATCHER_P2(IsSize, width, height, "")
{
    *result_listener << arg.width << "x" << arg.height;
    return arg.width == static_cast<unsigned int>(width) && arg.height == static_cast<unsigned int>(height);
}

TEST_F(WindowTest, FollowsTheSizesOfTheCaptureAtOnce)
{
    Open({300, 200});
    OpenSurface();
    Swap();
    EXPECT_THAT(AttachedSize(), IsSize(300, 200));
    m_window->EnqueueResizeRequest(120, 90);
    Swap();
    EXPECT_THAT(AttachedSize(), IsSize(120, 90));
}

TEST_F(WindowTest, AGivenWidthStaysWhateverTheCaptureSays)
{
    Open({300, 200}, {77, 0});
    OpenSurface();
    Swap();
    EXPECT_THAT(AttachedSize(), IsSize(77, 200));
    m_window->EnqueueResizeRequest(120, 90);
    Swap();
    EXPECT_THAT(AttachedSize(), IsSize(77, 90));
}

TEST_F(WindowTest, FullScreenKeepsThePixelsOfTheCapture)
{
    Open({300, 200}, {}, true);
    OpenSurface();
    for (int i = 0; i < 5; ++i) {
        Swap();
        ASSERT_TRUE(m_connection->Roundtrip());
    }
    EXPECT_TRUE(m_window->IsFullscreen());
    EXPECT_THAT(AttachedSize(), IsSize(300, 200));
    m_window->ExitFullscreenState();
    Swap();
    ASSERT_TRUE(m_connection->Roundtrip());
    EXPECT_FALSE(m_window->IsFullscreen());
}

TEST_F(WindowTest, AFrameIsAwaitedUntilTheCompositorHasShownIt)
{
    constexpr std::chrono::milliseconds patience(400);
    Open({64, 64});
    OpenSurface();
    Core::KHRLayer::EGLProc().eglSwapInterval(m_display, 0);
    const auto time = [this](auto action) {
        const auto start = std::chrono::steady_clock::now();
        action();
        return std::chrono::steady_clock::now() - start;
    };
    // The compositor refreshes at 60 Hz at most.
    const auto shown = time([&] {
        for (int i = 0; i < 13; ++i) {
            m_window->WaitForFrame(patience);
            Swap();
        }
    });
    EXPECT_GT(shown, std::chrono::milliseconds(150));
    EXPECT_LT(shown, 13 * patience);
    // Without a swap there is no frame to show, as with a window that is hidden.
    m_window->WaitForFrame(patience);
    EXPECT_GE(time([&] { m_window->WaitForFrame(patience); }), patience);
}

/// Windows by surface, with the engine's calls.
class WindowsTest : public testing::Test {
protected:
    WindowsTest()
        : m_connection(Host::WaylandConnection::Open(m_why)), m_windows(*m_connection, {"test", {}, {}, false})
    {
        EXPECT_TRUE(m_windows.Open());
    }

    std::string m_why;
    std::unique_ptr<Host::WaylandConnection> m_connection;
    Host::ReplayWindows m_windows;
};

TEST_F(WindowsTest, EachSurfaceHasAWindowAndTheFirstOneIsThereFromTheStart)
{
    Playback::Window* first = m_windows.GetActiveWindow();
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(m_windows.GetWindow(3), nullptr);
    m_windows.AddWindow(3);
    m_windows.AddWindow(5);
    EXPECT_EQ(m_windows.GetWindow(3), first);
    EXPECT_THAT(m_windows.GetWindow(5), testing::AllOf(testing::NotNull(), testing::Ne(first)));
    m_windows.ActivateWindow(5);
    EXPECT_EQ(m_windows.GetActiveWindow(), m_windows.GetWindow(5));
    m_windows.ActivateWindow(77);
    EXPECT_EQ(m_windows.GetActiveWindow(), m_windows.GetWindow(5));
}

TEST_F(WindowsTest, TheLastWindowStaysForTheNextSurface)
{
    Playback::Window* first = m_windows.GetActiveWindow();
    m_windows.AddWindow(3);
    m_windows.AddWindow(5);
    m_windows.ActivateWindow(5);
    m_windows.RemoveWindow(5);
    EXPECT_EQ(m_windows.GetActiveWindow(), first);
    m_windows.RemoveWindow(3);
    EXPECT_EQ(m_windows.GetWindow(3), nullptr);
    EXPECT_EQ(m_windows.GetActiveWindow(), first);
    m_windows.AddWindow(9);
    EXPECT_EQ(m_windows.GetWindow(9), first);
}

TEST_F(WindowTest, PbuffersAreDrawnInHiddenWindows)
{
    Open({64, 64});
    OpenSurface();
    const Core::EGLProcTable& egl = Core::KHRLayer::EGLProc();
    EGLint configId = 0;
    EGLConfig config = nullptr;
    EGLint count = 0;
    egl.eglQuerySurface(m_display, m_surface, EGL_CONFIG_ID, &configId);
    const EGLint request[] = {EGL_CONFIG_ID, configId, EGL_NONE};
    ASSERT_TRUE(egl.eglChooseConfig(m_display, request, &config, 1, &count) && count == 1);

    Host::WindowSurfaceFactory factory(m_connection->Globals().compositor);
    const EGLint attribs[] = {EGL_WIDTH, 30, EGL_HEIGHT, 20, EGL_TEXTURE_TARGET, EGL_NO_TEXTURE, EGL_NONE};
    Playback::EGLProxySurface* pbuffer = factory.CreatePbufferSurface(m_display, config, attribs);
    ASSERT_TRUE(pbuffer->MakeCurrent(m_display, pbuffer, egl.eglGetCurrentContext()));
    EXPECT_EQ(pbuffer->GetOriginalType(), Playback::EGLProxySurface::OriginalPbuffer);

    const Core::GLESProcTable& gl = Core::KHRLayer::GLESProc();
    gl.glClearColor(0.0F, 1.0F, 0.0F, 1.0F);
    gl.glClear(GL_COLOR_BUFFER_BIT);
    EXPECT_TRUE(pbuffer->SwapBuffers(m_display));
    std::uint8_t pixel[4] = {};
    gl.glReadPixels(29, 19, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, pixel);
    EXPECT_THAT(pixel, testing::ElementsAre(0, 255, 0, 255));

    egl.eglMakeCurrent(m_display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    EXPECT_TRUE(factory.DestroySurface(m_display, pbuffer));
}

} // namespace
