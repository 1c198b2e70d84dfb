// Contexts: which thread's gl calls are recorded, and for which context.

#include <array>
#include <atomic>
#include <string>

#include "Recorder/Calls/DesktopGL.h"
#include "Recorder/EGLObjects.h"
#include "Recorder/RecordCalls.h"
#include "Recorder/Report.h"
#include "Recorder/Symbols/Export.h"
#include "Recorder/Symbols/LiveFunctions.h"
#include "Recorder/Symbols/Unrecorded.h"

namespace Recorder {
namespace {

/// Side of the surface that stands for a missing one, in pixels. Nothing is drawn to it.
constexpr EGLint PlaceholderSize = 16;

/// A list of attributes as the capture has it. Contexts of OpenGL ES 1.1 are told there from those of programs that
/// leave the version out and mean any, which older captures have: by their whole version.
class RecordedAttribs {
public:
    explicit RecordedAttribs(const EGLint* attribs) : m_list(attribs)
    {
        if (!Data::IsFirstVersion(attribs))
            return;
        EGLint* to = m_ofFirstVersion.data();
        for (; attribs != nullptr && attribs[0] != EGL_NONE; attribs += 2) {
            const bool isVersion = attribs[0] == EGL_CONTEXT_CLIENT_VERSION || attribs[0] == EGL_CONTEXT_MINOR_VERSION;
            if (!isVersion && to != m_ofFirstVersion.data() + Data::MaxAttribs - 4) {
                *to++ = attribs[0];
                *to++ = attribs[1];
            }
        }
        for (const EGLint value : {EGL_CONTEXT_CLIENT_VERSION, 1, EGL_CONTEXT_MINOR_VERSION, 1, EGL_NONE})
            *to++ = value;
        m_list = m_ofFirstVersion.data();
    }
    [[nodiscard]] const EGLint* Get() const { return m_list; }

private:
    const EGLint* m_list;
    std::array<EGLint, Data::MaxAttribs + 1> m_ofFirstVersion;
};

/// A config of the display that off-screen surfaces can have, else any.
EGLConfig AnyConfig(EGLDisplay display)
{
    using ChooseConfig = EGLBoolean (*)(EGLDisplay, const EGLint*, EGLConfig*, EGLint, EGLint*);
    const EGLint offScreen[] = {EGL_SURFACE_TYPE, EGL_PBUFFER_BIT, EGL_RENDERABLE_TYPE, EGL_OPENGL_ES2_BIT, EGL_NONE};
    const EGLint any[] = {EGL_SURFACE_TYPE, EGL_DONT_CARE, EGL_RENDERABLE_TYPE, EGL_OPENGL_ES2_BIT, EGL_NONE};
    EGLConfig config = EGL_NO_CONFIG_KHR;
    EGLint count = 0;
    const auto choose = Live<ChooseConfig>(Entry::eglChooseConfig);
    if (choose(display, offScreen, &config, 1, &count) != EGL_TRUE || count == 0)
        choose(display, any, &config, 1, &count);
    return config;
}

/// What a replay makes current where the program made a context current without surfaces: replays need one. It has the
/// context's config, as contexts and surfaces have to match.
EGLSurface Placeholder(EGLDisplay display, Context& context)
{
    const EGLSurface surface = context.Placeholder();
    if (context.TakePlaceholderCreation()) {
        const EGLConfig config = context.config != EGL_NO_CONFIG_KHR ? context.config : AnyConfig(display);
        DescribeConfig(display, config);
        const EGLint attribs[] = {EGL_WIDTH, PlaceholderSize, EGL_HEIGHT, PlaceholderSize, EGL_NONE};
        Record::eglCreatePbufferSurface(Capturing(), surface, display, config, attribs);
    }
    return surface;
}

std::string TextOf(const void* text)
{
    return text != nullptr ? static_cast<const char*>(text) : "";
}

/// What the file's header says of the driver is known as soon as the first context is current.
void DescribeDriver(EGLDisplay display)
{
    const auto eglString = Live<const char* (*)(EGLDisplay, EGLint)>(Entry::eglQueryString);
    const auto glString = Live<const GLubyte* (*)(GLenum)>(Entry::glGetString);
    const std::string eglVendor = TextOf(eglString(display, EGL_VENDOR));
    const std::string eglVersion = TextOf(eglString(display, EGL_VERSION));
    const std::string glVendor = TextOf(glString(GL_VENDOR));
    const std::string glRenderer = TextOf(glString(GL_RENDERER));
    const std::string glVersion = TextOf(glString(GL_VERSION));
    const Capturing capturing;
    if (capturing) {
        capture.header.eglVendor = eglVendor;
        capture.header.eglVersion = eglVersion;
        capture.header.glVendor = glVendor;
        capture.header.glRenderer = glRenderer;
        capture.header.glVersion = glVersion;
        UpdateHeader(capturing);
    }
}

/// And the size of the picture, as soon as the first surface is.
void DescribePicture(EGLDisplay display, EGLSurface surface)
{
    const SurfaceSize size = QuerySize(display, surface);
    const Capturing capturing;
    if (capturing) {
        capture.header.surfaceWidth = size.width;
        capture.header.surfaceHeight = size.height;
        UpdateHeader(capturing);
    }
}

void CompleteHeader(const CurrentObjects& objects)
{
    static std::atomic_flag driverKnown;
    static std::atomic_flag pictureKnown;
    if (!driverKnown.test_and_set())
        DescribeDriver(objects.display);
    if (objects.draw != EGL_NO_SURFACE && !pictureKnown.test_and_set())
        DescribePicture(objects.display, objects.draw);
}

/// Behind a make-current that succeeded.
void RecordMakeCurrent(const CurrentObjects& objects)
{
    const std::shared_ptr<Context> context = FindContext(objects.context);
    CurrentObjects written = objects;
    if (context == nullptr) {
        // A context that is not recorded is none to a replay.
        written.draw = written.read = EGL_NO_SURFACE;
        written.context = EGL_NO_CONTEXT;
    } else if (objects.draw == EGL_NO_SURFACE) {
        written.draw = written.read = Placeholder(objects.display, *context);
    }
    if (context != nullptr) {
        // Ahead of the call: a window that was resized before it is made current has its new size from there on.
        CheckWindowSize(objects.display, objects.draw);
    }
    Record::eglMakeCurrent(Capturing(), EGL_TRUE, written.display, written.draw, written.read, written.context);
    current = written;
    SetThreadContext(context);
    if (context != nullptr)
        CompleteHeader(objects);
}

} // namespace
} // namespace Recorder

RECORDER_EXPORT EGLContext eglCreateContext(EGLDisplay dpy, EGLConfig config, EGLContext share, const EGLint* attribs)
{
    using namespace Recorder;
    const auto live = Live<EGLContext (*)(EGLDisplay, EGLConfig, EGLContext, const EGLint*)>(Entry::eglCreateContext);
    // Some programs do not look whether they got the API that they asked for, and go on with the first version of the
    // other one. A context that they do not get leads them on.
    const bool isRefused = WasRefusedDesktopGL() && Data::IsFirstVersion(attribs);
    const EGLCall call;
    if (isRefused) {
        const EGLint noAttribute[] = {EGL_CONTEXT_CLIENT_TYPE, 0, EGL_NONE};
        live(dpy, config, share, noAttribute);
        return EGL_NO_CONTEXT;
    }
    const bool recorded = call && !UsesDesktopGL();
    if (recorded)
        DescribeConfig(dpy, config);
    const RecordedAttribs written(attribs);
    const EGLContext result =
        While(recorded ? Record::Begin::eglCreateContext(dpy, config, share, written.Get()) : CallRecord(),
              [&] { return live(dpy, config, share, attribs); });
    if (recorded) {
        Record::eglCreateContext(Capturing(), result, dpy, config, share, written.Get());
        if (result != EGL_NO_CONTEXT && !AddContext(result, share, config))
            AbandonCapture(Capturing());
        if (const auto context = FindContext(result); context != nullptr && Data::IsFirstVersion(attribs))
            context->State().UseFixedFunctions();
    } else if (call && result != EGL_NO_CONTEXT) {
        CountUnrecorded("contexts of desktop OpenGL");
        ReportDesktopContext();
    }
    return result;
}

RECORDER_EXPORT EGLBoolean eglDestroyContext(EGLDisplay dpy, EGLContext ctx)
{
    using namespace Recorder;
    const auto live = Live<EGLBoolean (*)(EGLDisplay, EGLContext)>(Entry::eglDestroyContext);
    const EGLCall call;
    const EGLBoolean result =
        While(call ? Record::Begin::eglDestroyContext(dpy, ctx) : CallRecord(), [&] { return live(dpy, ctx); });
    if (call && FindContext(ctx) != nullptr) {
        Record::eglDestroyContext(Capturing(), result, dpy, ctx);
        if (result == EGL_TRUE)
            RemoveContext(ctx);
    }
    return result;
}

RECORDER_EXPORT EGLBoolean eglMakeCurrent(EGLDisplay dpy, EGLSurface draw, EGLSurface read, EGLContext ctx)
{
    using namespace Recorder;
    const auto live = Live<EGLBoolean (*)(EGLDisplay, EGLSurface, EGLSurface, EGLContext)>(Entry::eglMakeCurrent);
    const EGLCall call;
    const EGLBoolean result = While(call ? Record::Begin::eglMakeCurrent(dpy, draw, read, ctx) : CallRecord(),
                                    [&] { return live(dpy, draw, read, ctx); });
    // One that failed is not recorded: a replay runs on one thread, where it could succeed and change what is current.
    if (call && result == EGL_TRUE)
        Guarded([&] { RecordMakeCurrent({dpy, draw, read, ctx}); });
    return result;
}

RECORDER_EXPORT EGLBoolean eglReleaseThread()
{
    using namespace Recorder;
    const auto live = Live<EGLBoolean (*)()>(Entry::eglReleaseThread);
    const EGLCall call;
    const EGLBoolean result = While(call ? Record::Begin::eglReleaseThread() : CallRecord(), [&] { return live(); });
    if (call && result == EGL_TRUE) {
        Record::eglReleaseThread(Capturing(), result);
        current = {};
        SetThreadContext(nullptr);
    }
    return result;
}
