// The egl functions that programs are handed. Most are made from the description. Here are those that answer something
// else than the driver does, and those whose record is the record of another call.

#include "Recorder/AttribLists.h"
#include "Recorder/FrameEnds.h"
#include "Recorder/Images/ImportedImages.h"
#include "Recorder/Memory/WatchedBuffers.h"
#include "Recorder/Platform.h"
#include "Recorder/RecordCalls.h"
#include "Recorder/Symbols/Export.h"
#include "Recorder/Symbols/Extensions.h"
#include "Recorder/Symbols/LiveFunctions.h"
#include "Recorder/Symbols/PreferEs.h"
#include "Recorder/Symbols/Unrecorded.h"
#include "Recorder/Thread.h"

#include "Recorder/EGLEntryPoints.inc"

namespace Recorder {
namespace {

/// Images of GL objects are made again by a replay, and imported ones are read; what other images show is known to the
/// window system alone.
void CountUnrecordedImage(EGLenum target)
{
    switch (target) {
    case EGL_LINUX_DMA_BUF_EXT:
    case EGL_GL_TEXTURE_2D_KHR:
    case EGL_GL_TEXTURE_3D_KHR:
    case EGL_GL_RENDERBUFFER_KHR:
        return;
    default:
        if (target < EGL_GL_TEXTURE_CUBE_MAP_POSITIVE_X_KHR || target > EGL_GL_TEXTURE_CUBE_MAP_NEGATIVE_Z_KHR)
            CountUnrecorded("contents of an EGLImage that is not of a GL object");
    }
}

void RecordImage(EGLImageKHR image, EGLDisplay display, EGLContext context, EGLenum target, EGLClientBuffer buffer,
                 const EGLint* attribs)
{
    CountUnrecordedImage(target);
    const auto record = [&](const Capturing& capturing) {
        Record::eglCreateImageKHR(capturing, image, display, context, target, buffer, attribs);
    };
    if (target == EGL_LINUX_DMA_BUF_EXT)
        RecordImport(display, image, attribs, record);
    else
        record(Capturing());
}

EGLBoolean DestroyImage(Entry entry, EGLDisplay display, EGLImageKHR image)
{
    const auto live = Live<EGLBoolean (*)(EGLDisplay, EGLImageKHR)>(entry);
    const EGLCall call;
    CallRecord record = call ? Record::Begin::eglDestroyImageKHR(display, image) : CallRecord();
    RemoveImportedImage(image);
    const EGLBoolean result = live(display, image);
    if (call)
        Record::End::eglDestroyImageKHR(record, Capturing(), result, display, image);
    return result;
}

} // namespace
} // namespace Recorder

RECORDER_EXPORT EGLint eglGetError()
{
    using namespace Recorder;
    const auto live = Live<EGLint (*)()>(Entry::eglGetError);
    const EGLint kept = DriverGuard::Inside() ? 0 : thread.eglError;
    const EGLCall call;
    CallRecord record = call ? Record::Begin::eglGetError() : CallRecord();
    const EGLint result = kept != 0 ? kept : live();
    if (call)
        Record::End::eglGetError(record, Capturing(), result);
    return result;
}

RECORDER_EXPORT const char* eglQueryString(EGLDisplay dpy, EGLint name)
{
    using namespace Recorder;
    const auto live = Live<const char* (*)(EGLDisplay, EGLint)>(Entry::eglQueryString);
    const bool hidesApi = name == EGL_CLIENT_APIS && HidesDesktopGL();
    const EGLCall call;
    const char* result = live(dpy, name);
    if (hidesApi || (call && name == EGL_EXTENSIONS))
        result = WithoutHiddenExtensions(result);
    if (call)
        Record::eglQueryString(Capturing(), result, dpy, name);
    return result;
}

RECORDER_EXPORT EGLBoolean eglQuerySurface(EGLDisplay dpy, EGLSurface surface, EGLint attribute, EGLint* value)
{
    using namespace Recorder;
    const auto live = Live<EGLBoolean (*)(EGLDisplay, EGLSurface, EGLint, EGLint*)>(Entry::eglQuerySurface);
    const EGLCall call;
    const EGLBoolean result = live(dpy, surface, attribute, value);
    if (call) {
        // Unknown: the program then draws all of the frame, since what is left of earlier ones differs in a replay.
        if (attribute == EGL_BUFFER_AGE_EXT && result == EGL_TRUE && value != nullptr)
            *value = 0;
        Record::eglQuerySurface(Capturing(), result, dpy, surface, attribute, value);
    }
    return result;
}

RECORDER_EXPORT EGLDisplay eglGetPlatformDisplayEXT(EGLenum platform, void* native, const EGLint* attribs)
{
    using namespace Recorder;
    const auto live = Live<EGLDisplay (*)(EGLenum, void*, const EGLint*)>(Entry::eglGetPlatformDisplayEXT);
    const EGLCall call;
    const EGLDisplay result = live(platform, native, attribs);
    if (call) {
        Guarded([&] {
            const AttribList<EGLAttrib> list(attribs);
            Record::eglGetPlatformDisplay(Capturing(), result, platform, native, list.Get());
        });
    }
    return result;
}

RECORDER_EXPORT EGLImageKHR eglCreateImageKHR(EGLDisplay dpy, EGLContext ctx, EGLenum target, EGLClientBuffer buffer,
                                              const EGLint* attribs)
{
    using namespace Recorder;
    const auto live = Live<EGLImageKHR (*)(EGLDisplay, EGLContext, EGLenum, EGLClientBuffer, const EGLint*)>(
        Entry::eglCreateImageKHR);
    const EGLCall call;
    const EGLImageKHR result =
        While(call ? Record::Begin::eglCreateImageKHR(dpy, ctx, target, buffer, attribs) : CallRecord(),
              [&] { return live(dpy, ctx, target, buffer, attribs); });
    if (call)
        Guarded([&] { RecordImage(result, dpy, ctx, target, buffer, attribs); });
    return result;
}

RECORDER_EXPORT EGLImageKHR eglCreateImage(EGLDisplay dpy, EGLContext ctx, EGLenum target, EGLClientBuffer buffer,
                                           const EGLAttrib* attribs)
{
    using namespace Recorder;
    const auto live = Live<EGLImageKHR (*)(EGLDisplay, EGLContext, EGLenum, EGLClientBuffer, const EGLAttrib*)>(
        Entry::eglCreateImage);
    const EGLCall call;
    const EGLImageKHR result = live(dpy, ctx, target, buffer, attribs);
    if (call) {
        Guarded([&] {
            const AttribList<EGLint> list(attribs);
            RecordImage(result, dpy, ctx, target, buffer, list.Get());
        });
    }
    return result;
}

RECORDER_EXPORT EGLBoolean eglDestroyImageKHR(EGLDisplay dpy, EGLImageKHR image)
{
    return Recorder::DestroyImage(Recorder::Entry::eglDestroyImageKHR, dpy, image);
}

RECORDER_EXPORT EGLBoolean eglDestroyImage(EGLDisplay dpy, EGLImageKHR image)
{
    return Recorder::DestroyImage(Recorder::Entry::eglDestroyImage, dpy, image);
}

RECORDER_EXPORT EGLBoolean eglTerminate(EGLDisplay dpy)
{
    using namespace Recorder;
    const auto live = Live<EGLBoolean (*)(EGLDisplay)>(Entry::eglTerminate);
    const EGLCall call;
    CallRecord record = call ? Record::Begin::eglTerminate(dpy) : CallRecord();
    RemoveImportedImages(dpy);
    const EGLBoolean result = live(dpy);
    if (call)
        Record::End::eglTerminate(record, Capturing(), result, dpy);
    return result;
}

RECORDER_EXPORT EGLBoolean eglWaitSync(EGLDisplay dpy, EGLSync sync, EGLint flags)
{
    using namespace Recorder;
    const auto live = Live<EGLBoolean (*)(EGLDisplay, EGLSync, EGLint)>(Entry::eglWaitSync);
    const EGLCall call;
    const EGLBoolean result = While(call ? Record::Begin::eglWaitSyncKHR(dpy, sync, flags) : CallRecord(),
                                    [&] { return live(dpy, sync, flags); });
    if (call)
        Record::eglWaitSyncKHR(Capturing(), static_cast<EGLint>(result), dpy, sync, flags);
    return result;
}
