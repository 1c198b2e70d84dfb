#pragma once

#include <functional>

#include "Replay/Guards/SharedDisplays.h"

namespace Replay {

/// Replays EGL calls, and tells after each one that can change it whether the context that the capture has current is
/// current in the driver. It may not be: contexts and surfaces can fail to be made here, and a capture can hold
/// anything. GL calls would then reach a context whose state nobody has checked them against.
class ContextGate : public SharedDisplays {
public:
    using Tell = std::function<void(bool isLive)>;

    ContextGate(Playback::GLResourceTable* table, Playback::WindowManager* windows,
                Playback::EGLProxySurfaceFactory* surfaces, Tell tell);

    void SetCurrentThread(std::uint32_t threadId) override;
    void Process_eglMakeCurrent(std::int32_t captured, std::uint32_t dpy, std::uint32_t draw, std::uint32_t read,
                                std::uint32_t ctx) override;
    void Process_eglCreateContext(std::uint32_t captured, std::uint32_t dpy, std::uint32_t config,
                                  std::uint32_t share_context, Data::PointerData* attrib_list) override;
    void Process_eglChooseConfig(std::int32_t captured, std::uint32_t dpy, Data::PointerData* attrib_list,
                                 Data::PointerData* configs, std::int32_t config_size,
                                 Data::PointerData* num_config) override;
    void Process_eglDestroyContext(std::int32_t captured, std::uint32_t dpy, std::uint32_t ctx) override;
    void Process_eglReleaseThread(std::int32_t captured) override;
    void Process_eglTerminate(std::int32_t captured, std::uint32_t dpy) override;
    /// Skipped for an image of a GL object whose context is not there: drivers take that for granted.
    void Process_eglCreateImageKHR(std::uint32_t captured, std::uint32_t dpy, std::uint32_t ctx, std::int32_t target,
                                   std::uint32_t buffer, Data::PointerData* attrib_list) override;

private:
    /// The live context of a captured one; null when there is none.
    [[nodiscard]] EGLContext FindContext(std::uint32_t capturedDisplay, std::uint32_t capturedContext) const;
    [[nodiscard]] bool IsLive() const;
    /// After any call but eglTerminate that can change what is current.
    void TellAnew();

    Playback::GLResourceTable* m_table;
    Tell m_tell;
    /// A context that is current although its display has ended: its captured name and the live one; null for none.
    std::uint32_t m_capturedSurvivor = 0;
    EGLContext m_survivor = EGL_NO_CONTEXT;
};

} // namespace Replay
