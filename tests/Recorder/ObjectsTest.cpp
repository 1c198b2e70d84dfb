// What a replay needs to know of configs, surfaces and contexts.

#include <array>
#include <cstddef>
#include <dlfcn.h>

#include "Client.h"
#include "ClientContext.h"
#include "FakeDriver/FakeControl.h"
#include "RecordedClient.h"

namespace Recorder {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

CLIENT(CreatesASurface)
{
    const ClientContext current;
    eglCreateWindowSurface(current.display, current.config, EGLNativeWindowType{}, nullptr);
    glFlush();
    return 0;
}

TEST_F(RecorderTest, ConfigsAreDescribedOnceAheadAndSizesComeDirectlyBehind)
{
    EXPECT_EQ(Record("CreatesASurface").status, 0);
    const auto all = Dump();
    EXPECT_THAT(After(all, "eglChooseConfig"),
                ElementsAre(StartsWith("-- config 1: attributes"), StartsWith("eglCreateWindowSurface"),
                            "-- window of surface 1: 0x0", StartsWith("-- surface 1: attributes"),
                            StartsWith("eglCreateContext"), "eglMakeCurrent(dpy=1, draw=1, read=1, ctx=1) = 1",
                            StartsWith("eglCreateWindowSurface"), "-- window of surface 2: 0x0",
                            StartsWith("-- surface 2: attributes"), "glFlush()"));
}

CLIENT(MakesCurrentWithoutSurfaces)
{
    const ClientContext current;
    eglMakeCurrent(current.display, EGL_NO_SURFACE, EGL_NO_SURFACE, current.context);
    glClear(1);
    eglMakeCurrent(current.display, current.surface, current.surface, current.context);
    eglMakeCurrent(current.display, EGL_NO_SURFACE, EGL_NO_SURFACE, current.context);
    eglMakeCurrent(current.display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    return 0;
}

TEST_F(RecorderTest, AMissingSurfaceIsReplacedByOneOfTheRecorders)
{
    EXPECT_EQ(Record("MakesCurrentWithoutSurfaces").status, 0);
    EXPECT_THAT(After(Dump(), "eglMakeCurrent"),
                ElementsAre("eglCreatePbufferSurface(dpy=1, config=1, attrib_list=[EGL_WIDTH, 16, EGL_HEIGHT, 16, "
                            "EGL_NONE]) = 2",
                            "eglMakeCurrent(dpy=1, draw=2, read=2, ctx=1) = 1", "glClear(mask=0x1)",
                            "eglMakeCurrent(dpy=1, draw=1, read=1, ctx=1) = 1",
                            "eglMakeCurrent(dpy=1, draw=2, read=2, ctx=1) = 1",
                            "eglMakeCurrent(dpy=1, draw=0, read=0, ctx=0) = 1"));
    // The driver itself was asked for no such surface.
    EXPECT_THAT(DriverLog("eglCreatePbufferSurface"), IsEmpty());
}

CLIENT(AsksForFences)
{
    const ClientContext current;
    const auto control = reinterpret_cast<Fake::Control* (*)()>(dlsym(RTLD_DEFAULT, "fake_control"))();
    int asked = 0;
    control->Answer("glClientWaitSync", [&](const Fake::Arguments&) {
        return Fake::Word{++asked == 1 ? GLenum{GL_TIMEOUT_EXPIRED} : GLenum{GL_CONDITION_SATISFIED}};
    });
    control->Answer("glGetSynciv", [&](const Fake::Arguments& arguments) {
        *arguments.Get<GLint*>(4) = ++asked == 3 ? GL_UNSIGNALED : GL_SIGNALED;
        return Fake::Word{0};
    });
    control->Answer("eglGetSyncAttribKHR", [](const Fake::Arguments& arguments) {
        *arguments.Get<EGLint*>(3) = EGL_SYNC_FENCE_KHR;
        return Fake::Word{EGL_TRUE};
    });
    glDeleteSync(glFenceSync(GL_SYNC_GPU_COMMANDS_COMPLETE, 0));
    const GLsync fence = glFenceSync(GL_SYNC_GPU_COMMANDS_COMPLETE, 0); // gets a number of its own
    GLint status = 0;
    glClientWaitSync(fence, 0, 0);
    glClientWaitSync(fence, 0, 7);
    glGetSynciv(fence, GL_SYNC_STATUS, 1, nullptr, &status);
    glGetSynciv(fence, GL_SYNC_STATUS, 1, nullptr, &status);
    const EGLSync sync = eglCreateSync(current.display, EGL_SYNC_FENCE, nullptr);
    eglClientWaitSync(current.display, sync, 0, 0);
    return 0;
}

TEST_F(RecorderTest, LearningThatAFenceIsSignaledIsRecordedAsAWait)
{
    EXPECT_EQ(Record("AsksForFences").status, 0);
    const std::string wait = "glClientWaitSync(sync=3, flags=GL_SYNC_FLUSH_COMMANDS_BIT, timeout=-1)";
    const std::string ask = "glGetSynciv(sync=3, pname=GL_SYNC_STATUS, count=1, length=null, values=";
    EXPECT_THAT(After(Dump(), "glDeleteSync(sync=2)"),
                ElementsAre(StartsWith("glFenceSync"), StartsWith("glClientWaitSync(sync=3, flags=0x0, timeout=0)"),
                            StartsWith(wait), StartsWith(ask), StartsWith(wait), StartsWith(ask),
                            StartsWith("eglCreateSync"),
                            StartsWith("eglClientWaitSyncKHR(dpy=1, sync=1, flags=1, timeout=-1)")));
}

CLIENT(UsesOtherAPIs)
{
    const ClientContext current;
    glFlush();
    eglCreateContext(current.display, current.config, EGL_NO_CONTEXT, nullptr);
    eglBindAPI(EGL_OPENGL_API);
    const EGLContext desktop = eglCreateContext(current.display, current.config, EGL_NO_CONTEXT, nullptr);
    eglMakeCurrent(current.display, current.surface, current.surface, desktop);
    glFlush();
    return 0;
}

TEST_F(RecorderTest, ContextsOfOtherAPIsAreLeftAloneAndReported)
{
    driver = Driver::Systems;
    EXPECT_THAT(Record("UsesOtherAPIs").err, HasSubstr("contexts of desktop OpenGL (1 time)"));
    EXPECT_THAT(Dump("glFlush", "capture.glcap"), SizeIs(1));
    // One without a version is of OpenGL ES 1.1, and says so in the capture.
    EXPECT_THAT(Dump("eglCreateContext", "capture.glcap"),
                ElementsAre(testing::Not(HasSubstr("EGL_CONTEXT_MINOR_VERSION")),
                            HasSubstr("EGL_CONTEXT_CLIENT_VERSION, 1, EGL_CONTEXT_MINOR_VERSION, 1")));
}

CLIENT(AsksForTheAgeOfABuffer)
{
    const auto control = reinterpret_cast<Fake::Control* (*)()>(dlsym(RTLD_DEFAULT, "fake_control"));
    control()->Answer("eglQuerySurface", [](const Fake::Arguments& arguments) {
        *arguments.Get<EGLint*>(3) = 2;
        return Fake::Word{EGL_TRUE};
    });
    const ClientContext current;
    EGLint age = -1;
    EGLint width = -1;
    eglQuerySurface(current.display, current.surface, EGL_BUFFER_AGE_EXT, &age);
    eglQuerySurface(current.display, current.surface, EGL_WIDTH, &width);
    std::printf("%d %d\n", age, width);
    return 0;
}

TEST_F(RecorderTest, WhatIsLeftOfEarlierFramesIsNotKnown)
{
    EXPECT_EQ(Record("AsksForTheAgeOfABuffer").out, "0 2\n");
}

CLIENT(ResizesItsWindow)
{
    static int size = 100;
    const auto control = reinterpret_cast<Fake::Control* (*)()>(dlsym(RTLD_DEFAULT, "fake_control"));
    control()->Answer("eglQuerySurface", [](const Fake::Arguments& arguments) {
        *arguments.Get<EGLint*>(3) = size;
        return Fake::Word{EGL_TRUE};
    });
    const ClientContext current;
    const auto resize =
        reinterpret_cast<void (*)(void*, int, int, int, int)>(dlsym(RTLD_DEFAULT, "wl_egl_window_resize"));
    std::array<std::max_align_t, 16> window = {};
    size = 120; // taken up at once
    resize(&window, size, size, 0, 0);
    eglSwapBuffers(current.display, current.surface);
    resize(&window, size, size, 0, 0);
    eglSwapBuffers(current.display, current.surface);
    size = 140; // taken up with the next frame, or another program's doing
    control()->Answer("eglGetError", [](const Fake::Arguments&) {
        static EGLint error = EGL_BAD_MATCH;
        return Fake::ToWord(std::exchange(error, EGL_SUCCESS));
    });
    glClear(GL_COLOR_BUFFER_BIT);
    const EGLint error = eglGetError();
    return error == EGL_BAD_MATCH && eglGetError() == EGL_SUCCESS ? 0 : 1;
}

TEST_F(RecorderTest, SizesAreWrittenWhenTheDriverTakesThemUp)
{
    EXPECT_EQ(Record("ResizesItsWindow").status, 0);
    const std::string makeCurrent = "eglMakeCurrent(dpy=1, draw=1, read=1, ctx=1) = 1";
    const std::string swap = "eglSwapBuffers(dpy=1, surface=1) = 1";
    EXPECT_THAT(After(Dump(), "eglMakeCurrent"),
                ElementsAre("-- window of surface 1: 120x120", makeCurrent, swap, StartsWith("-- end of frame"), swap,
                            StartsWith("-- end of frame"), "-- window of surface 1: 140x140", makeCurrent,
                            StartsWith("glClear("), "eglGetError() = EGL_BAD_MATCH", "eglGetError() = EGL_SUCCESS"));
}

} // namespace
} // namespace Recorder
