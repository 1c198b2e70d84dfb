// The EGL objects of the program that the library has to remember.
#pragma once

#include <cstdint>
#include <memory>

#include "Recorder/Capture.h"
#include "Recorder/Context.h"
#include "Recorder/Platform.h"

namespace Recorder {

/// What the program made current on this thread.
struct CurrentObjects {
    EGLDisplay display = EGL_NO_DISPLAY;
    EGLSurface draw = EGL_NO_SURFACE;
    EGLSurface read = EGL_NO_SURFACE;
    EGLContext context = EGL_NO_CONTEXT;
};
extern constinit thread_local CurrentObjects current __attribute__((tls_model("initial-exec")));

/// Remembers a new context. False, with nothing remembered, without memory.
bool AddContext(EGLContext handle, EGLContext share, EGLConfig config) noexcept;
/// Lets go of the context; where it is current it stays alive.
void RemoveContext(EGLContext handle) noexcept;
/// Null for contexts that are not recorded.
[[nodiscard]] std::shared_ptr<Context> FindContext(EGLContext handle) noexcept;
/// Makes the context this thread's; null: none. It lives at least until the next call.
void SetThreadContext(std::shared_ptr<Context> context) noexcept;

/// Writes the attributes of the config into the capture, when that was not done before. Asks the driver, so it comes
/// ahead of the program's call, whose error is to stand.
void DescribeConfig(EGLDisplay display, EGLConfig config) noexcept;

/// Behind the record of a window surface's creation: its size. Its attributes go along.
void DescribeNewSurface(EGLDisplay display, EGLSurface surface, bool isWindow) noexcept;

/// Writes the size of the surface if it is a window whose size changed since it was last written, and has a replay
/// follow at once where the surface is current.
void CheckWindowSize(EGLDisplay display, EGLSurface surface) noexcept;

/// While one lives, the library may ask EGL in the middle of a call that is none of EGL's: the program's eglGetError
/// answers as if it had not.
class KeptEGLError {
public:
    KeptEGLError() noexcept;
    ~KeptEGLError();
    KeptEGLError(const KeptEGLError&) = delete;
    KeptEGLError& operator=(const KeptEGLError&) = delete;

private:
    const EGLint m_error;
};

void RemoveSurface(EGLSurface surface) noexcept;

/// True when the program bound desktop OpenGL on this thread: its contexts are not recorded, and need their functions.
[[nodiscard]] bool UsesDesktopGL() noexcept;

/// Size of a surface in pixels, as the driver has it.
struct SurfaceSize {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    friend bool operator==(const SurfaceSize&, const SurfaceSize&) = default;
};
[[nodiscard]] SurfaceSize QuerySize(EGLDisplay display, EGLSurface surface) noexcept;
/// As a replay has it in this frame: of a window, what was last written. Drivers tell of a new size that they do not
/// draw in before the next frame.
[[nodiscard]] SurfaceSize RecordedSize(EGLDisplay display, EGLSurface surface) noexcept;

} // namespace Recorder
