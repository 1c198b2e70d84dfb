// Fences that the program waits for or asks about. It may ask with a short limit or none, as often as it likes, and go
// on when it learns that the fence is signaled. A driver that replays that may be slower, and is asked but once: what
// told the program that a fence is signaled is recorded as a wait without limit.

#include "Recorder/Memory/WatchedBuffers.h"
#include "Recorder/Platform.h"
#include "Recorder/RecordCalls.h"
#include "Recorder/Symbols/Export.h"
#include "Recorder/Symbols/LiveFunctions.h"
#include "Recorder/Thread.h"

namespace Recorder {
namespace {

/// What was asked for before the fence is to be under way, or the wait would not end.
void RecordWait(const Capturing& capturing, Context& context, GLenum result, GLsync sync, GLbitfield flags)
{
    Record::glClientWaitSync(capturing, context, result, sync, flags | GL_SYNC_FLUSH_COMMANDS_BIT, GL_TIMEOUT_IGNORED);
}

GLenum ClientWaitSync(Entry entry, GLsync sync, GLbitfield flags, GLuint64 timeout)
{
    const auto live = Live<GLenum (*)(GLsync, GLbitfield, GLuint64)>(entry);
    const GLCall call;
    const GLenum result = While(call ? Record::Begin::glClientWaitSync(*call, sync, flags, timeout) : CallRecord(),
                                [&] { return live(sync, flags, timeout); });
    if (call) {
        AfterWait(*call);
        if (result == GL_ALREADY_SIGNALED || result == GL_CONDITION_SATISFIED)
            RecordWait(Capturing(), *call, result, sync, flags);
        else
            Record::glClientWaitSync(Capturing(), *call, result, sync, flags, timeout);
    }
    return result;
}

void GetSynciv(Entry entry, GLsync sync, GLenum pname, GLsizei count, GLsizei* length, GLint* values)
{
    const auto live = Live<void (*)(GLsync, GLenum, GLsizei, GLsizei*, GLint*)>(entry);
    const GLCall call;
    live(sync, pname, count, length, values);
    if (call) {
        AfterWait(*call);
        const Capturing capturing;
        if (pname == GL_SYNC_STATUS && count > 0 && values != nullptr && values[0] == GL_SIGNALED)
            RecordWait(capturing, *call, GL_ALREADY_SIGNALED, sync, 0);
        Record::glGetSynciv(capturing, *call, sync, pname, count, length, values);
    }
}

void AfterEGLWait()
{
    if (thread.context != nullptr)
        AfterWait(*thread.context);
}

/// How long a replay is to wait for a sync object that is signaled. One that the program signals itself, on any of its
/// threads, may be signaled only later in the capture.
EGLTimeKHR ReplayTimeout(EGLDisplay display, EGLSync sync)
{
    EGLint type = EGL_SYNC_REUSABLE_KHR;
    Live<EGLBoolean (*)(EGLDisplay, EGLSync, EGLint, EGLint*)>(Entry::eglGetSyncAttribKHR)(display, sync,
                                                                                           EGL_SYNC_TYPE_KHR, &type);
    return type == EGL_SYNC_REUSABLE_KHR || type == EGL_SYNC_CLIENT_EXT ? 0 : EGL_FOREVER_KHR;
}

EGLint ClientWaitSync(Entry entry, EGLDisplay display, EGLSync sync, EGLint flags, EGLTimeKHR timeout)
{
    const auto live = Live<EGLint (*)(EGLDisplay, EGLSync, EGLint, EGLTimeKHR)>(entry);
    const EGLCall call;
    const EGLint result =
        While(call ? Record::Begin::eglClientWaitSyncKHR(display, sync, flags, timeout) : CallRecord(),
              [&] { return live(display, sync, flags, timeout); });
    AfterEGLWait();
    if (call && result == EGL_CONDITION_SATISFIED_KHR) {
        const EGLTimeKHR replayTimeout = ReplayTimeout(display, sync);
        Record::eglClientWaitSyncKHR(Capturing(), result, display, sync, flags | EGL_SYNC_FLUSH_COMMANDS_BIT_KHR,
                                     replayTimeout);
    } else if (call) {
        Record::eglClientWaitSyncKHR(Capturing(), result, display, sync, flags, timeout);
    }
    return result;
}

/// For values of 32 and of 64 bits.
template <class Value>
EGLBoolean GetSyncAttrib(Entry entry, EGLDisplay display, EGLSync sync, EGLint attribute, Value* value)
{
    const auto live = Live<EGLBoolean (*)(EGLDisplay, EGLSync, EGLint, Value*)>(entry);
    const EGLCall call;
    const EGLBoolean result = live(display, sync, attribute, value);
    AfterEGLWait();
    if (call) {
        EGLint narrow = value != nullptr ? static_cast<EGLint>(*value) : 0;
        const bool isSignaled = result == EGL_TRUE && attribute == EGL_SYNC_STATUS_KHR && narrow == EGL_SIGNALED_KHR;
        const EGLTimeKHR timeout = isSignaled ? ReplayTimeout(display, sync) : 0;
        const Capturing capturing;
        if (isSignaled) {
            Record::eglClientWaitSyncKHR(capturing, EGL_CONDITION_SATISFIED_KHR, display, sync,
                                         EGL_SYNC_FLUSH_COMMANDS_BIT_KHR, timeout);
        }
        Record::eglGetSyncAttribKHR(capturing, result, display, sync, attribute, value != nullptr ? &narrow : nullptr);
    }
    return result;
}

} // namespace
} // namespace Recorder

RECORDER_EXPORT GLenum glClientWaitSync(GLsync sync, GLbitfield flags, GLuint64 timeout)
{
    return Recorder::ClientWaitSync(Recorder::Entry::glClientWaitSync, sync, flags, timeout);
}

RECORDER_EXPORT GLenum glClientWaitSyncAPPLE(GLsync sync, GLbitfield flags, GLuint64 timeout)
{
    return Recorder::ClientWaitSync(Recorder::Entry::glClientWaitSyncAPPLE, sync, flags, timeout);
}

RECORDER_EXPORT void glGetSynciv(GLsync sync, GLenum pname, GLsizei count, GLsizei* length, GLint* values)
{
    Recorder::GetSynciv(Recorder::Entry::glGetSynciv, sync, pname, count, length, values);
}

RECORDER_EXPORT void glGetSyncivAPPLE(GLsync sync, GLenum pname, GLsizei count, GLsizei* length, GLint* values)
{
    Recorder::GetSynciv(Recorder::Entry::glGetSyncivAPPLE, sync, pname, count, length, values);
}

RECORDER_EXPORT EGLint eglClientWaitSyncKHR(EGLDisplay dpy, EGLSyncKHR sync, EGLint flags, EGLTimeKHR timeout)
{
    return Recorder::ClientWaitSync(Recorder::Entry::eglClientWaitSyncKHR, dpy, sync, flags, timeout);
}

RECORDER_EXPORT EGLint eglClientWaitSync(EGLDisplay dpy, EGLSync sync, EGLint flags, EGLTime timeout)
{
    return Recorder::ClientWaitSync(Recorder::Entry::eglClientWaitSync, dpy, sync, flags, timeout);
}

RECORDER_EXPORT EGLBoolean eglGetSyncAttribKHR(EGLDisplay dpy, EGLSyncKHR sync, EGLint attribute, EGLint* value)
{
    return Recorder::GetSyncAttrib(Recorder::Entry::eglGetSyncAttribKHR, dpy, sync, attribute, value);
}

RECORDER_EXPORT EGLBoolean eglGetSyncAttrib(EGLDisplay dpy, EGLSync sync, EGLint attribute, EGLAttrib* value)
{
    return Recorder::GetSyncAttrib(Recorder::Entry::eglGetSyncAttrib, dpy, sync, attribute, value);
}
