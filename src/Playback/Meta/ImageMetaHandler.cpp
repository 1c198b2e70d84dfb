#include "Playback/Meta/ImageMetaHandler.h"

#include "Interfaces/Util.h"
#include "Playback/PlaybackSettings.h"

namespace Playback {

void ImageMetaHandler::ProcessDefaultColorBuffer(std::uint32_t /*display*/, std::uint32_t surface, std::uint32_t width,
                                                 std::uint32_t height, std::uint32_t format, std::uint32_t type,
                                                 std::uint32_t /*size*/, const std::uint8_t* data)
{
    WriteImage("state_defaultcolor", surface, width, height, format, type, data);
}

void ImageMetaHandler::ProcessDefaultDepthBuffer(std::uint32_t /*display*/, std::uint32_t surface, std::uint32_t width,
                                                 std::uint32_t height, std::uint32_t format, std::uint32_t type,
                                                 std::uint32_t /*size*/, const std::uint8_t* data)
{
    WriteImage("state_defaultdepth", surface, width, height, format, type, data);
}

void ImageMetaHandler::ProcessDefaultStencilBuffer(std::uint32_t /*display*/, std::uint32_t surface,
                                                   std::uint32_t width, std::uint32_t height, std::uint32_t format,
                                                   std::uint32_t type, std::uint32_t /*size*/, const std::uint8_t* data)
{
    WriteImage("state_defaultstencil", surface, width, height, format, type, data);
}

void ImageMetaHandler::WriteImage(const char* name, std::uint32_t surface, std::uint32_t width, std::uint32_t height,
                                  std::uint32_t format, std::uint32_t type, const std::uint8_t* data)
{
    const PlaybackEnvironment& settings = *PlaybackEnvironment::Instance();
    if (!m_screenshotHandler || !data || !settings.m_defaultFbo || !settings.m_dumpDefaultFbo)
        return;
    m_screenshotHandler->WriteScreenshot(settings.m_screenshotPath + name + std::to_string(surface), width, height,
                                         data, format, type);
}

} // namespace Playback
