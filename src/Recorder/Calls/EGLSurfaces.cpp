// Surfaces: their creation, with what a replay has to know of their configs and sizes, and their end. The forms of the
// platform extensions are recorded as the plain ones: a replay makes its own native objects.

#include "Recorder/AttribLists.h"
#include "Recorder/Calls/ReadBack.h"
#include "Recorder/EGLObjects.h"
#include "Recorder/FrameEnds.h"
#include "Recorder/RecordCalls.h"
#include "Recorder/Symbols/Export.h"
#include "Recorder/Symbols/LiveFunctions.h"

namespace Recorder {
namespace {

enum class SurfaceKind { Window, OffScreen };

/// Creates a surface, and records that with `record`, which is given the new surface. `begin` makes the record that
/// stands for it meanwhile.
template <class Begin, class Create, class Write>
EGLSurface CreateSurface(EGLDisplay display, EGLConfig config, SurfaceKind kind, Begin begin, Create create,
                         Write record)
{
    const EGLCall call;
    if (call)
        DescribeConfig(display, config);
    const EGLSurface result = While(call ? begin() : CallRecord(), create);
    if (call) {
        Guarded([&] { record(result); });
        if (result != EGL_NO_SURFACE)
            DescribeNewSurface(display, result, kind == SurfaceKind::Window);
    }
    return result;
}

template <class Attrib>
EGLSurface CreateWindow(Entry entry, EGLDisplay display, EGLConfig config, void* window, const Attrib* attribs)
{
    const auto live = Live<EGLSurface (*)(EGLDisplay, EGLConfig, void*, const Attrib*)>(entry);
    return CreateSurface(
        display, config, SurfaceKind::Window,
        [&] { return Record::Begin::eglCreateWindowSurface(display, config, window, nullptr); },
        [&] { return live(display, config, window, attribs); },
        [&](EGLSurface result) {
            const AttribList<EGLint> list(attribs);
            const Capturing capturing;
            if (result != EGL_NO_SURFACE)
                ExpectSwaps(capturing);
            Record::eglCreateWindowSurface(capturing, result, display, config, window, list.Get());
        });
}

template <class Attrib>
EGLSurface CreatePixmap(Entry entry, EGLDisplay display, EGLConfig config, void* pixmap, const Attrib* attribs)
{
    const auto live = Live<EGLSurface (*)(EGLDisplay, EGLConfig, void*, const Attrib*)>(entry);
    return CreateSurface(
        display, config, SurfaceKind::OffScreen,
        [&] { return Record::Begin::eglCreatePixmapSurface(display, config, pixmap, nullptr); },
        [&] { return live(display, config, pixmap, attribs); },
        [&](EGLSurface result) {
            const AttribList<EGLint> list(attribs);
            Record::eglCreatePixmapSurface(Capturing(), result, display, config, pixmap, list.Get());
        });
}

} // namespace
} // namespace Recorder

RECORDER_EXPORT EGLSurface eglCreateWindowSurface(EGLDisplay dpy, EGLConfig config, void* window, const EGLint* attribs)
{
    return Recorder::CreateWindow(Recorder::Entry::eglCreateWindowSurface, dpy, config, window, attribs);
}

RECORDER_EXPORT EGLSurface eglCreatePlatformWindowSurface(EGLDisplay dpy, EGLConfig config, void* window,
                                                          const EGLAttrib* attribs)
{
    return Recorder::CreateWindow(Recorder::Entry::eglCreatePlatformWindowSurface, dpy, config, window, attribs);
}

RECORDER_EXPORT EGLSurface eglCreatePlatformWindowSurfaceEXT(EGLDisplay dpy, EGLConfig config, void* window,
                                                             const EGLint* attribs)
{
    return Recorder::CreateWindow(Recorder::Entry::eglCreatePlatformWindowSurfaceEXT, dpy, config, window, attribs);
}

RECORDER_EXPORT EGLSurface eglCreatePixmapSurface(EGLDisplay dpy, EGLConfig config, void* pixmap, const EGLint* attribs)
{
    return Recorder::CreatePixmap(Recorder::Entry::eglCreatePixmapSurface, dpy, config, pixmap, attribs);
}

RECORDER_EXPORT EGLSurface eglCreatePlatformPixmapSurface(EGLDisplay dpy, EGLConfig config, void* pixmap,
                                                          const EGLAttrib* attribs)
{
    return Recorder::CreatePixmap(Recorder::Entry::eglCreatePlatformPixmapSurface, dpy, config, pixmap, attribs);
}

RECORDER_EXPORT EGLSurface eglCreatePlatformPixmapSurfaceEXT(EGLDisplay dpy, EGLConfig config, void* pixmap,
                                                             const EGLint* attribs)
{
    return Recorder::CreatePixmap(Recorder::Entry::eglCreatePlatformPixmapSurfaceEXT, dpy, config, pixmap, attribs);
}

RECORDER_EXPORT EGLSurface eglCreatePbufferSurface(EGLDisplay dpy, EGLConfig config, const EGLint* attribs)
{
    using namespace Recorder;
    const auto live = Live<EGLSurface (*)(EGLDisplay, EGLConfig, const EGLint*)>(Entry::eglCreatePbufferSurface);
    return CreateSurface(
        dpy, config, SurfaceKind::OffScreen,
        [&] { return Record::Begin::eglCreatePbufferSurface(dpy, config, attribs); },
        [&] { return live(dpy, config, attribs); },
        [&](EGLSurface result) { Record::eglCreatePbufferSurface(Capturing(), result, dpy, config, attribs); });
}

RECORDER_EXPORT EGLSurface eglCreatePbufferFromClientBuffer(EGLDisplay dpy, EGLenum type, EGLClientBuffer buffer,
                                                            EGLConfig config, const EGLint* attribs)
{
    using namespace Recorder;
    const auto live = Live<EGLSurface (*)(EGLDisplay, EGLenum, EGLClientBuffer, EGLConfig, const EGLint*)>(
        Entry::eglCreatePbufferFromClientBuffer);
    return CreateSurface(
        dpy, config, SurfaceKind::OffScreen,
        [&] { return Record::Begin::eglCreatePbufferFromClientBuffer(dpy, type, buffer, config, attribs); },
        [&] { return live(dpy, type, buffer, config, attribs); },
        [&](EGLSurface result) {
            Record::eglCreatePbufferFromClientBuffer(Capturing(), result, dpy, type, buffer, config, attribs);
        });
}

RECORDER_EXPORT EGLBoolean eglDestroySurface(EGLDisplay dpy, EGLSurface surface)
{
    using namespace Recorder;
    const auto live = Live<EGLBoolean (*)(EGLDisplay, EGLSurface)>(Entry::eglDestroySurface);
    const EGLCall call;
    const EGLBoolean result =
        While(call ? Record::Begin::eglDestroySurface(dpy, surface) : CallRecord(), [&] { return live(dpy, surface); });
    if (call) {
        Record::eglDestroySurface(Capturing(), result, dpy, surface);
        RemoveSurface(surface);
    }
    return result;
}

/// Part of libwayland-egl. Drivers take up the new size at once, with the first drawing, or after the next swap. A
/// replay has to know before the frame is drawn, so the first two are settled here; drawing after a swap looks for the
/// third.
RECORDER_EXPORT void wl_egl_window_resize(struct wl_egl_window* window, int width, int height, int dx, int dy)
{
    using namespace Recorder;
    const auto live = Live<void (*)(struct wl_egl_window*, int, int, int, int)>(Entry::wl_egl_window_resize);
    live(window, width, height, dx, dy);
    const EGLCall call;
    if (call && thread.context != nullptr && current.draw != EGL_NO_SURFACE) {
        const KeptEGLError kept;
        static_cast<void>(ReadBack({.width = 1, .height = 1}));
        CheckWindowSize(current.display, current.draw);
    }
}
