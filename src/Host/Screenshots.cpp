#include "Host/Screenshots.h"

#include "Interfaces/Core.h"
#include "Playback/PlaybackSettings.h"
#include "Util/ImageFile.h"
#include "Util/PixelTransfer.h"

namespace Host {

Screenshots::Screenshots(const Playback::PlaybackEnvironment& settings)
    : GLScreenshotHandler(static_cast<Util::ImageFormat>(settings.m_screenshotFormat), settings.m_screenshotOpaque),
      m_settings(settings)
{
}

void Screenshots::WriteNextFrame()
{
    m_wantedFrame = m_frameToWrite = m_frame + 1;
}

void Screenshots::KeepNextFrame()
{
    m_wantedFrame = m_frameToKeep = m_frame + 1;
}

bool Screenshots::WriteKept()
{
    return !m_kept.data.empty() && Write(m_kept);
}

bool Screenshots::WriteScreenshot(const std::string& name, unsigned int width, unsigned int height, const void* data,
                                  unsigned int format, unsigned int type)
{
    if (m_frame != m_wantedFrame) {
        return GLScreenshotHandler::WriteScreenshot(name, width, height, data, format, type);
    }
    const auto* const bytes = static_cast<const std::uint8_t*>(data);
    Picture picture = {name, width, height, format, type, {}};
    picture.data.assign(bytes, bytes + std::size_t{width} * height * Util::BytesPerPixel(format, type));
    m_wantedFrame = 0;
    bool isWritten = true;
    if (m_frame == m_frameToWrite) {
        isWritten = Write(picture);
    } else if (m_settings.IsScreenshotFrame(m_frame)) {
        isWritten = GLScreenshotHandler::WriteScreenshot(name, width, height, data, format, type);
    }
    if (m_frame == m_frameToKeep) {
        m_kept = std::move(picture);
    }
    return isWritten;
}

bool Screenshots::Write(const Picture& picture)
{
    const bool isWritten = GLScreenshotHandler::WriteScreenshot(picture.name, picture.width, picture.height,
                                                                picture.data.data(), picture.format, picture.type);
    if (isWritten) {
        Core::Console::Print(Core::LogNotice, false, "Wrote %s%s.", picture.name.c_str(),
                             Util::FileExtension(static_cast<Util::ImageFormat>(m_settings.m_screenshotFormat)));
    }
    return isWritten;
}

} // namespace Host
