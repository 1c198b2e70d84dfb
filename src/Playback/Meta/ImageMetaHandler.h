#pragma once

#include "Interfaces/Data.h"

namespace Util {
class GLScreenshotHandler;
}

namespace Playback {

/// Writes the captured contents of the default framebuffer to image files, as -dumpdefaultfbo asks for. The files are
/// named like screenshots, with "state_defaultcolor", "state_defaultdepth" or "state_defaultstencil" and the captured
/// surface.
class ImageMetaHandler : public Data::NullMetaHandler {
public:
    /// `screenshotHandler` may be null and is not owned.
    explicit ImageMetaHandler(Util::GLScreenshotHandler* screenshotHandler) : m_screenshotHandler(screenshotHandler) {}

    void ProcessDefaultColorBuffer(std::uint32_t display, std::uint32_t surface, std::uint32_t width,
                                   std::uint32_t height, std::uint32_t format, std::uint32_t type, std::uint32_t size,
                                   const std::uint8_t* data) override;
    void ProcessDefaultDepthBuffer(std::uint32_t display, std::uint32_t surface, std::uint32_t width,
                                   std::uint32_t height, std::uint32_t format, std::uint32_t type, std::uint32_t size,
                                   const std::uint8_t* data) override;
    void ProcessDefaultStencilBuffer(std::uint32_t display, std::uint32_t surface, std::uint32_t width,
                                     std::uint32_t height, std::uint32_t format, std::uint32_t type, std::uint32_t size,
                                     const std::uint8_t* data) override;

private:
    void WriteImage(const char* name, std::uint32_t surface, std::uint32_t width, std::uint32_t height,
                    std::uint32_t format, std::uint32_t type, const std::uint8_t* data);

    Util::GLScreenshotHandler* m_screenshotHandler;
};

} // namespace Playback
