#pragma once

#include <string>

namespace Playback {

/// A native window as the engine sees it. Sizes and positions are pixels. Replay thread only.
///
/// Resizing has two steps, since a window system may only take a new size at certain points of a frame: the wish is
/// enqueued when the capture changes a surface's size, and processed at make-current and at swap.
class Window {
public:
    /// What GetNativeHandle can hand out. The EGL kinds are the values for eglGetDisplay and eglCreateWindowSurface.
    enum class NativeHandle : unsigned int {
        Window = 1,
        Display = 2,
        EGLDisplay = 4,
        EGLWindow = 5,
    };

    virtual ~Window() = default;

    [[nodiscard]] virtual bool IsValid() const = 0;
    [[nodiscard]] virtual bool CanShow() const = 0;
    [[nodiscard]] virtual bool CanHide() const = 0;
    [[nodiscard]] virtual bool CanRaise() const = 0;
    [[nodiscard]] virtual bool CanMove() const = 0;
    [[nodiscard]] virtual bool CanResize() const = 0;
    [[nodiscard]] virtual bool CanEnqueueResizeRequest() const = 0;
    [[nodiscard]] virtual bool SupportsFullscreen() const = 0;
    virtual void Show() = 0;
    virtual void Hide() = 0;
    virtual void Raise() = 0;
    virtual void EnterFullscreenState() = 0;
    virtual void EnterFullscreenState(unsigned int width, unsigned int height) = 0;
    virtual void ExitFullscreenState() = 0;
    virtual void ExitFullscreenState(unsigned int width, unsigned int height) = 0;
    [[nodiscard]] virtual bool IsVisible() const = 0;
    [[nodiscard]] virtual bool IsFullscreen() const = 0;
    virtual void Move(unsigned int x, unsigned int y) = 0;
    virtual void Resize(unsigned int width, unsigned int height) = 0;
    virtual void Position(unsigned int x, unsigned int y, unsigned int width, unsigned int height) = 0;
    /// Replaces a request that was not processed yet. A zero width or height withdraws it.
    virtual void EnqueueResizeRequest(unsigned int width, unsigned int height) = 0;
    /// Resizes to the enqueued size, if there is one. A size that the window already has is only taken with `force`.
    virtual void ProcessResizeRequest(bool force) = 0;
    [[nodiscard]] virtual unsigned int GetX() const = 0;
    [[nodiscard]] virtual unsigned int GetY() const = 0;
    [[nodiscard]] virtual unsigned int GetWidth() const = 0;
    [[nodiscard]] virtual unsigned int GetHeight() const = 0;
    virtual void SetTitle(const std::string& title) = 0;
    virtual void SetSubTitle(const std::string& subTitle) = 0;
    /// Shows frame `frame` of `frameCount` after title and sub-title.
    virtual void SetFrameCount(unsigned int frame, unsigned int frameCount) = 0;
    /// Stores the handle through `out` and returns ResultSuccess; ResultInvalidArgument when `out` is null,
    /// ResultUnsupported for a kind that the window does not have.
    virtual unsigned int GetNativeHandle(NativeHandle kind, void** out) = 0;
    /// Makes the native window. False when that fails; IsValid stays false then.
    virtual bool Create(unsigned int width, unsigned int height, bool fullscreen) = 0;
};

} // namespace Playback
