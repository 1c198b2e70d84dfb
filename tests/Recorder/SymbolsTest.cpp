// However a program gets at a function, its calls are recorded once and reach the driver once.

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <thread>

#include "Client.h"
#include "ClientContext.h"
#include "RecordedClient.h"

namespace Recorder {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

using Clear = void (*)(GLbitfield);

CLIENT(EveryWayToAFunction)
{
    const ClientContext current;
    void* const library = dlopen("libGLESv2.so.2", RTLD_NOW);
    void* const program = dlopen(nullptr, RTLD_NOW);
    glClear(1);
    reinterpret_cast<Clear>(dlsym(library, "glClear"))(2);
    reinterpret_cast<Clear>(dlsym(program, "glClear"))(3);
    reinterpret_cast<Clear>(dlsym(RTLD_DEFAULT, "glClear"))(4);
    ProcAddress<Clear>("glClear")(5);
    void* const egl = dlopen("libEGL.so.1", RTLD_NOW);
    reinterpret_cast<Clear>(reinterpret_cast<PFNEGLGETPROCADDRESSPROC>(dlsym(egl, "eglGetProcAddress"))("glClear"))(6);
    return eglSwapBuffers(current.display, current.surface) == EGL_TRUE ? 0 : 1;
}

TEST_F(RecorderTest, EveryWayToAFunctionIsRecordedOnce)
{
    EXPECT_EQ(Record("EveryWayToAFunction").status, 0);
    EXPECT_THAT(Dump("glClear(", "capture.glcap"),
                ElementsAre("glClear(mask=0x1)", "glClear(mask=0x2)", "glClear(mask=0x3)", "glClear(mask=0x4)",
                            "glClear(mask=0x5)", "glClear(mask=0x6)"));
    EXPECT_THAT(DriverLog("glClear("), SizeIs(6));
}

extern "C" int NextValue();

CLIENT(LooksUpOtherThings)
{
    std::printf("%d\n", NextValue());
    std::printf("%s\n", dlsym(RTLD_DEFAULT, "no_such_function") == nullptr && dlerror() != nullptr ? "error" : "none");
    std::printf("%s\n", dlsym(dlopen("libEGL.so.1", RTLD_NOW), "glNoSuchFunction") == nullptr ? "null" : "found");
    return 0;
}

TEST_F(RecorderTest, OtherLookUpsWorkAsWithoutTheRecorder)
{
    EXPECT_EQ(Record("LooksUpOtherThings").out, "21\nerror\nnull\n");
}

CLIENT(DrawsWithoutAContext)
{
    glClear(7);
    const ClientContext current;
    eglMakeCurrent(current.display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    glClear(8);
    return 0;
}

TEST_F(RecorderTest, CallsWithoutAnEGLContextGoToTheDriverOnly)
{
    const Outcome outcome = Record("DrawsWithoutAContext");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("NOTHING WAS RECORDED"));
    EXPECT_THAT(Dump("glClear", "capture.glcap"), IsEmpty());
    EXPECT_THAT(DriverLog("glClear"), SizeIs(2));
}

CLIENT(AsksForExtensions)
{
    const ClientContext current;
    const char* const text = reinterpret_cast<const char*>(glGetString(GL_EXTENSIONS));
    GLint count = 0;
    glGetIntegerv(GL_NUM_EXTENSIONS, &count);
    int hidden = 0;
    for (GLint i = 0; i < count; ++i) {
        const char* const name = reinterpret_cast<const char*>(glGetStringi(GL_EXTENSIONS, static_cast<GLuint>(i)));
        hidden += name == nullptr || std::strstr(text, name) == nullptr ? 1 : 0;
    }
    std::printf("%s\n%s\n%d of %d unknown, then %s\n", text, eglQueryString(current.display, EGL_EXTENSIONS), hidden,
                count, glGetStringi(GL_EXTENSIONS, static_cast<GLuint>(count)) == nullptr ? "null" : "a name");
    std::printf("same text: %d\n", glGetString(GL_EXTENSIONS) == reinterpret_cast<const GLubyte*>(text));
    return 0;
}

TEST_F(RecorderTest, HiddenExtensionsAreMissingFromEveryList)
{
    setenv("PLAYBACK_FAKE_EXTENSIONS", "GL_OES_mapbuffer GL_EXT_semaphore_fd GL_NV_path_rendering GL_KHR_debug", 1);
    setenv("PLAYBACK_FAKE_EGL_EXTENSIONS", "EGL_KHR_stream EGL_KHR_image_base EGL_NV_stream_sync", 1);
    EXPECT_EQ(Record("AsksForExtensions").out, "GL_OES_mapbuffer GL_KHR_debug\nEGL_KHR_image_base\n"
                                               "0 of 2 unknown, then null\nsame text: 1\n");
    // Each of the four once, and the one that there is none of.
    EXPECT_THAT(DriverLog("glGetStringi"), SizeIs(5));
    unsetenv("PLAYBACK_FAKE_EXTENSIONS");
    unsetenv("PLAYBACK_FAKE_EGL_EXTENSIONS");
}

CLIENT(AsksForAnUnknownFunction)
{
    const ClientContext current;
    const bool first = ProcAddress<Clear>("glFinish") != nullptr;
    const bool unknown = ProcAddress<Clear>("glNobodyDescribesThis") != nullptr;
    std::printf("%d %d\n", first, unknown);
    // Whoever uses desktop OpenGL needs its functions, here one that OpenGL ES has too.
    eglBindAPI(EGL_OPENGL_API);
    const auto offset = ProcAddress<void (*)(GLfloat, GLfloat, GLfloat)>("glPolygonOffsetClamp");
    ProcAddress<Clear>("glNeverCalled");
    eglBindAPI(EGL_OPENGL_ES_API);
    offset(0.5F, 1.5F, 0);
    offset(2.5F, 3.5F, 0);
    GLfloat values[2] = {};
    glGetFloatv(GL_POLYGON_OFFSET_FACTOR, &values[0]);
    glGetFloatv(GL_POLYGON_OFFSET_UNITS, &values[1]);
    std::printf("%.1f %.1f\n", static_cast<double>(values[0]), static_cast<double>(values[1]));
    return 0;
}

TEST_F(RecorderTest, FunctionsThatCannotBeRecordedLookMissingOrAreCounted)
{
    // A dispatch library, which has a function for every name.
    driver = Driver::Systems;
    const Outcome outcome = Record("AsksForAnUnknownFunction");
    EXPECT_EQ(outcome.out, "1 0\n2.5 3.5\n");
    EXPECT_THAT(outcome.err, testing::EndsWith("Could not be recorded:\n    glPolygonOffsetClamp (2 times)\n"));
}

CLIENT(AsksForDesktopGL)
{
    const EGLDisplay display = eglGetDisplay(EGL_DEFAULT_DISPLAY);
    eglInitialize(display, nullptr, nullptr);
    const bool hasName = std::strstr(eglQueryString(display, EGL_CLIENT_APIS), "OpenGL ") != nullptr;
    const bool isBound = eglBindAPI(EGL_OPENGL_API) == EGL_TRUE;
    const EGLint error = eglGetError();
    std::printf("named %d, bound %d, errors 0x%x 0x%x", hasName, isBound, error, eglGetError());
    const EGLint desktop[] = {EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT, EGL_SURFACE_TYPE, EGL_DONT_CARE, EGL_NONE};
    EGLConfig config = nullptr;
    EGLint count = 0;
    EGLint apis = 0;
    eglChooseConfig(display, desktop, &config, 1, &count);
    eglGetConfigAttrib(display, config, EGL_RENDERABLE_TYPE, &apis);
    std::printf("; %d config for %d and %d; context %d", count, (apis & EGL_OPENGL_BIT) != 0,
                (apis & EGL_OPENGL_ES2_BIT) != 0,
                eglCreateContext(display, config, EGL_NO_CONTEXT, nullptr) != EGL_NO_CONTEXT);
    // By version 2 or later it is a context of OpenGL ES that is asked for, whose API is the bound one from the start.
    const EGLint version[] = {EGL_CONTEXT_CLIENT_VERSION, 2, EGL_NONE};
    std::printf(", %d", eglCreateContext(display, config, EGL_NO_CONTEXT, version) != EGL_NO_CONTEXT);
    const auto glx = reinterpret_cast<void* (*)(void*, void*, void*, int)>(dlsym(RTLD_DEFAULT, "glXCreateContext"));
    std::printf(", %d\n", isBound || glx(nullptr, nullptr, nullptr, 1) != nullptr);
    const ClientContext current;
    glClear(0);
    return 0;
}

TEST_F(RecorderTest, DesktopGLIsHiddenOnRequest)
{
    driver = Driver::Systems;
    EXPECT_EQ(Record("AsksForDesktopGL").out,
              "named 1, bound 1, errors 0x3000 0x3000; 1 config for 1 and 1; context 1, 1, 1\n");
    EXPECT_EQ(Record("AsksForDesktopGL", "--prefer-es").out,
              "named 0, bound 0, errors 0x300c 0x3000; 1 config for 0 and 1; context 0, 1, 0\n");
    EXPECT_THAT(Dump("eglBindAPI", "capture.glcap"), ElementsAre("eglBindAPI(api=EGL_OPENGL_ES_API) = 1"));
    EXPECT_THAT(Dump("eglChooseConfig", "capture.glcap").front(), HasSubstr("EGL_RENDERABLE_TYPE, 4"));
}

CLIENT(KeepsErrno)
{
    const ClientContext current;
    int changed = 0;
    for (int i = 0; i < 200000; ++i) {
        errno = 42;
        glUniform4f(i, 1, 2, 3, 4);
        changed += errno != 42 ? 1 : 0;
    }
    std::printf("%d\n", changed);
    return 0;
}

TEST_F(RecorderTest, ErrnoIsAsTheProgramLeftIt)
{
    EXPECT_EQ(Record("KeepsErrno").out, "0\n");
}

CLIENT(DrawsOnTwoThreads)
{
    const ClientContext current;
    eglMakeCurrent(current.display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    const auto draw = [&](GLbitfield mask) {
        const EGLSurface surface = eglCreatePbufferSurface(current.display, current.config, nullptr);
        const EGLContext context = eglCreateContext(current.display, current.config, current.context, nullptr);
        eglMakeCurrent(current.display, surface, surface, context);
        for (int i = 0; i < 20000; ++i)
            glClear(mask);
        eglMakeCurrent(current.display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    };
    std::thread first(draw, 0x100);
    std::thread second(draw, 0x4000);
    first.join();
    second.join();
    return 0;
}

TEST_F(RecorderTest, ThreadsAreToldApartAndLoseNothing)
{
    EXPECT_EQ(Record("DrawsOnTwoThreads").status, 0);
    std::string thread;
    int strangers = 0;
    std::map<std::string, std::string> threadOf;
    std::map<std::string, int> calls;
    for (const std::string& line : Dump()) {
        if (line.starts_with("-- thread")) {
            thread = line;
        } else if (line.starts_with("glClear")) {
            ++calls[line];
            strangers += threadOf.try_emplace(line, thread).first->second != thread ? 1 : 0;
        }
    }
    EXPECT_THAT(calls, ElementsAre(testing::Pair("glClear(mask=GL_COLOR_BUFFER_BIT)", 20000),
                                   testing::Pair("glClear(mask=GL_DEPTH_BUFFER_BIT)", 20000)));
    EXPECT_EQ(strangers, 0);
    EXPECT_NE(threadOf["glClear(mask=GL_DEPTH_BUFFER_BIT)"], threadOf["glClear(mask=GL_COLOR_BUFFER_BIT)"]);
}

} // namespace
} // namespace Recorder
