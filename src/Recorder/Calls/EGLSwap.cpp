// The end of a frame.

#include <optional>

#include "Recorder/Calls/ReadBack.h"
#include "Recorder/EGLObjects.h"
#include "Recorder/FrameEnds.h"
#include "Recorder/RecordCalls.h"
#include "Recorder/Symbols/Export.h"
#include "Recorder/Symbols/LiveFunctions.h"

namespace Recorder {
namespace {

struct FrameHash {
    SurfaceSize size;
    std::uint64_t hash;
};

/// The hash of what the swap is about to show, where hashes are wanted and the surface is the current one.
std::optional<FrameHash> HashFrame(EGLDisplay display, EGLSurface surface)
{
    if (!IsHashWanted() || !MaySwapsEndFrames() || thread.context == nullptr || surface != current.draw ||
        surface != current.read)
        return std::nullopt;
    const SurfaceSize size = RecordedSize(display, surface);
    const auto hash = ReadBack(size);
    return hash ? std::optional(FrameHash{size, *hash}) : std::nullopt;
}

/// Swaps by `swap`, whatever form of the call that is: the damage it tells of changes no pixel.
template <class Swap> EGLBoolean SwapBuffers(EGLDisplay display, EGLSurface surface, Swap swap)
{
    const EGLCall call;
    if (!call)
        return swap();
    const std::optional<FrameHash> hash = HashFrame(display, surface);
    const EGLBoolean result = While(Record::Begin::eglSwapBuffers(display, surface), swap);
    bool last = false;
    {
        const Capturing capturing;
        if (result == EGL_TRUE)
            ExpectSwaps(capturing);
        if (capturing && hash && result == EGL_TRUE) {
            capturing->PutFrameHash(capture.frames + 1, Identify(Identifier::Surface, surface), hash->size.width,
                                    hash->size.height, hash->hash);
        }
        Record::eglSwapBuffers(capturing, result, display, surface);
        last = result == EGL_TRUE && MaySwapsEndFrames() && EndFrame(capturing);
    }
    if (last)
        EndRecording();
    else if (result == EGL_TRUE && thread.context != nullptr)
        thread.context->NoteSwap();
    return result;
}

EGLBoolean SwapWithDamage(Entry entry, EGLDisplay display, EGLSurface surface, const EGLint* rects, EGLint count)
{
    const auto live = Live<EGLBoolean (*)(EGLDisplay, EGLSurface, const EGLint*, EGLint)>(entry);
    return SwapBuffers(display, surface, [&] { return live(display, surface, rects, count); });
}

} // namespace
} // namespace Recorder

RECORDER_EXPORT EGLBoolean eglSwapBuffers(EGLDisplay dpy, EGLSurface surface)
{
    using namespace Recorder;
    const auto live = Live<EGLBoolean (*)(EGLDisplay, EGLSurface)>(Entry::eglSwapBuffers);
    return SwapBuffers(dpy, surface, [&] { return live(dpy, surface); });
}

RECORDER_EXPORT EGLBoolean eglSwapBuffersWithDamageKHR(EGLDisplay dpy, EGLSurface surface, const EGLint* rects,
                                                       EGLint count)
{
    return Recorder::SwapWithDamage(Recorder::Entry::eglSwapBuffersWithDamageKHR, dpy, surface, rects, count);
}

RECORDER_EXPORT EGLBoolean eglSwapBuffersWithDamageEXT(EGLDisplay dpy, EGLSurface surface, const EGLint* rects,
                                                       EGLint count)
{
    return Recorder::SwapWithDamage(Recorder::Entry::eglSwapBuffersWithDamageEXT, dpy, surface, rects, count);
}
