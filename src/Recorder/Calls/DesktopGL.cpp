// The ways to desktop OpenGL. Where it is hidden, EGL answers as on a machine that has OpenGL ES alone, and GLX as on a
// screen without configs, so that programs go on to look for OpenGL ES on EGL.
//
// GLX itself stays, and configs for desktop OpenGL are those of OpenGL ES: some toolkits ask for them on their way to
// windows of any kind. The capture has calls as the driver got them, with the answers that the program got; what was
// refused here is not in it.

#include "Recorder/Calls/DesktopGL.h"

#include <vector>

#include "Recorder/Platform.h"
#include "Recorder/RecordCalls.h"
#include "Recorder/Report.h"
#include "Recorder/Symbols/Export.h"
#include "Recorder/Symbols/Extensions.h"
#include "Recorder/Symbols/LiveFunctions.h"
#include "Recorder/Symbols/PreferEs.h"
#include "Recorder/Thread.h"

namespace Recorder {
namespace {

/// Attributes whose values are bits of APIs.
bool HasApiBits(EGLint attribute)
{
    return attribute == EGL_RENDERABLE_TYPE || attribute == EGL_CONFORMANT;
}

/// The list with OpenGL ES in the place of desktop OpenGL.
std::vector<EGLint> WithoutDesktopGL(const EGLint* attribs)
{
    std::vector<EGLint> list;
    for (; attribs[0] != EGL_NONE; attribs += 2) {
        EGLint value = attribs[1];
        if (HasApiBits(attribs[0]) && value != EGL_DONT_CARE && (value & EGL_OPENGL_BIT) != 0)
            value = (value & ~EGL_OPENGL_BIT) | EGL_OPENGL_ES2_BIT;
        list.insert(list.end(), {attribs[0], value});
    }
    list.push_back(EGL_NONE);
    return list;
}

/// This thread's last eglBindAPI was refused.
constinit thread_local bool wasRefused = false;

/// What GLX answers where there is none: of a context, of a visual and of configs.
template <class... Parameters> void* FromGLX(Entry entry, Parameters... parameters)
{
    if (HidesDesktopGL())
        return nullptr;
    const DriverGuard guard;
    return Live<void* (*)(Parameters...)>(entry)(parameters...);
}

template <class... Parameters> void* ContextFromGLX(Entry entry, Parameters... parameters)
{
    if (!DriverGuard::Inside())
        ReportGlx();
    return FromGLX(entry, parameters...);
}

void* Configs(void* configs, int* count)
{
    if (configs == nullptr && count != nullptr)
        *count = 0;
    return configs;
}

EGLBoolean ChooseConfig(EGLDisplay dpy, const EGLint* attribs, EGLConfig* configs, EGLint size, EGLint* count)
{
    const auto live =
        Live<EGLBoolean (*)(EGLDisplay, const EGLint*, EGLConfig*, EGLint, EGLint*)>(Entry::eglChooseConfig);
    const EGLCall call;
    CallRecord record = call ? Record::Begin::eglChooseConfig(dpy, attribs, configs, size, count) : CallRecord();
    const EGLBoolean result = live(dpy, attribs, configs, size, count);
    if (call)
        Record::End::eglChooseConfig(record, Capturing(), result, dpy, attribs, configs, size, count);
    return result;
}

} // namespace

bool WasRefusedDesktopGL() noexcept
{
    return wasRefused && HidesDesktopGL();
}

} // namespace Recorder

RECORDER_EXPORT EGLBoolean eglBindAPI(EGLenum api)
{
    using namespace Recorder;
    const auto live = Live<EGLBoolean (*)(EGLenum)>(Entry::eglBindAPI);
    const bool hides = HidesDesktopGL();
    const EGLCall call;
    if (hides && api == EGL_OPENGL_API) {
        // The driver refuses what is no API, and has the error of that for the program.
        live(EGL_NONE);
        wasRefused = true;
        ReportDesktopContext();
        return EGL_FALSE;
    }
    CallRecord record = call ? Record::Begin::eglBindAPI(api) : CallRecord();
    const EGLBoolean result = live(api);
    if (call)
        Record::End::eglBindAPI(record, Capturing(), result, api);
    wasRefused = wasRefused && result != EGL_TRUE;
    return result;
}

RECORDER_EXPORT EGLBoolean eglChooseConfig(EGLDisplay dpy, const EGLint* attribs, EGLConfig* configs, EGLint size,
                                           EGLint* count)
{
    using namespace Recorder;
    std::vector<EGLint> list;
    if (attribs != nullptr && HidesDesktopGL())
        Guarded([&] { list = WithoutDesktopGL(attribs); });
    return ChooseConfig(dpy, list.empty() ? attribs : list.data(), configs, size, count);
}

RECORDER_EXPORT EGLBoolean eglGetConfigAttrib(EGLDisplay dpy, EGLConfig config, EGLint attribute, EGLint* value)
{
    using namespace Recorder;
    const auto live = Live<EGLBoolean (*)(EGLDisplay, EGLConfig, EGLint, EGLint*)>(Entry::eglGetConfigAttrib);
    const bool hides = HidesDesktopGL() && HasApiBits(attribute);
    const EGLCall call;
    CallRecord record = call ? Record::Begin::eglGetConfigAttrib(dpy, config, attribute, value) : CallRecord();
    const EGLBoolean result = live(dpy, config, attribute, value);
    if (hides && result == EGL_TRUE)
        *value &= ~EGL_OPENGL_BIT;
    if (call)
        Record::End::eglGetConfigAttrib(record, Capturing(), result, dpy, config, attribute, value);
    return result;
}

RECORDER_EXPORT void* glXChooseVisual(void* dpy, int screen, int* attribs)
{
    return Recorder::FromGLX(Recorder::Entry::glXChooseVisual, dpy, screen, attribs);
}

RECORDER_EXPORT void* glXChooseFBConfig(void* dpy, int screen, const int* attribs, int* count)
{
    using namespace Recorder;
    return Configs(FromGLX(Entry::glXChooseFBConfig, dpy, screen, attribs, count), count);
}

RECORDER_EXPORT void* glXGetFBConfigs(void* dpy, int screen, int* count)
{
    using namespace Recorder;
    return Configs(FromGLX(Entry::glXGetFBConfigs, dpy, screen, count), count);
}

RECORDER_EXPORT void* glXCreateContext(void* dpy, void* visual, void* share, int direct)
{
    return Recorder::ContextFromGLX(Recorder::Entry::glXCreateContext, dpy, visual, share, direct);
}

RECORDER_EXPORT void* glXCreateNewContext(void* dpy, void* config, int type, void* share, int direct)
{
    return Recorder::ContextFromGLX(Recorder::Entry::glXCreateNewContext, dpy, config, type, share, direct);
}

RECORDER_EXPORT void* glXCreateContextAttribsARB(void* dpy, void* config, void* share, int direct, const int* attribs)
{
    return Recorder::ContextFromGLX(Recorder::Entry::glXCreateContextAttribsARB, dpy, config, share, direct, attribs);
}

RECORDER_EXPORT const char* glXQueryExtensionsString(void* dpy, int screen)
{
    using namespace Recorder;
    const auto live = Live<const char* (*)(void*, int)>(Entry::glXQueryExtensionsString);
    const bool hides = HidesDesktopGL();
    const DriverGuard guard;
    const char* const list = live(dpy, screen);
    return hides ? WithoutHiddenExtensions(list) : list;
}
