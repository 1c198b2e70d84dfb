#include "Host/Screenshots.h"

#include <GLES3/gl32.h>

#include "Host/Timing/FrameTimer.h"
#include "Interfaces/Core.h"
#include "Playback/PlaybackSettings.h"
#include "Util/ImageFile.h"
#include "Util/PixelTransfer.h"

namespace Host {

namespace {

/// The buffers that belong to a filter of PlaybackEnvironment::GetResourceType. Pictures are taken of framebuffers
/// only, so that nothing belongs to those of unordered access.
unsigned int ChosenBuffers(std::int32_t filter)
{
    constexpr unsigned int Buffers[] = {GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT,
                                        GL_COLOR_BUFFER_BIT, GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT, 0};
    return Buffers[filter];
}

} // namespace

Screenshots::Screenshots(const Playback::PlaybackEnvironment& settings, FrameSet listed, FrameTimer* timer)
    : GLScreenshotHandler(static_cast<Util::ImageFormat>(settings.m_screenshotFormat), settings.m_screenshotOpaque),
      m_settings(settings), m_listed(std::move(listed)), m_timer(timer)
{
    m_wantedFrame = m_listed.FirstAfter(0);
}

void Screenshots::StartPass(std::uint32_t pass, std::uint32_t framesBefore)
{
    m_pass = pass;
    m_frame = framesBefore;
    m_draw = m_blit = m_frameToWrite = m_frameToKeep = 0;
    m_wantedFrame = m_listed.FirstAfter(framesBefore);
    m_kept = {};
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
    return !m_kept.data.empty() && WriteAsked(m_kept);
}

void Screenshots::TakeScreenshot(const std::string& name, unsigned int bufferMask)
{
    const bool isFrame = name == FrameName(m_frame);
    const unsigned int chosen = isFrame ? bufferMask : bufferMask & ChosenBuffers(m_settings.m_perDrawScreenshotFilter);
    if (chosen == 0)
        return;
    TakePictures(m_action, [&] { GLScreenshotHandler::TakeScreenshot(name, chosen); });
    if (isFrame && m_wantedFrame <= m_frame)
        m_wantedFrame = m_listed.FirstAfter(m_frame);
}

void Screenshots::TakePictures(const std::string& action, const std::function<void()>& take)
{
    m_action = action;
    const FrameTimer::Break pause(m_timer, FrameTimer::Beside::Pictures);
    // Pictures that cannot be read are logged, as those that cannot be written.
    const std::uint64_t errors = Core::Log::ErrorCount();
    const std::uint64_t failures = m_failures;
    take();
    m_action.clear();
    m_failures = failures + Core::Log::ErrorCount() - errors;
}

bool Screenshots::WriteScreenshot(const std::string& name, unsigned int width, unsigned int height, const void* data,
                                  unsigned int format, unsigned int type)
{
    const auto* const bytes = static_cast<const std::uint8_t*>(data);
    const std::size_t size = std::size_t{width} * height * Util::BytesPerPixel(format, type);
    Picture picture = {m_frame, name, width, height, format, type, {}};
    if (m_frame != m_wantedFrame || name != FrameName(m_frame))
        return WriteFile(picture, data);
    picture.data.assign(bytes, bytes + size);
    bool isWritten = true;
    if (m_frame == m_frameToWrite)
        isWritten = WriteAsked(picture);
    else if (m_settings.IsScreenshotFrame(m_frame) || m_listed.FirstAfter(m_frame - 1) == m_frame)
        isWritten = WriteFile(picture, data);
    if (m_frame == m_frameToKeep)
        m_kept = std::move(picture);
    return isWritten;
}

bool Screenshots::WriteFile(const Picture& picture, const void* data)
{
    const FrameTimer::Break pause(m_timer, FrameTimer::Beside::Pictures, FrameTimer::Break::Driver::NotNeeded);
    const bool isWritten = GLScreenshotHandler::WriteScreenshot(picture.name, picture.width, picture.height, data,
                                                                picture.format, picture.type);
    const Telling::InHost inHost(&m_timer->Teller());
    if (!isWritten) {
        ++m_failures;
        return false;
    }
    ++m_written;
    if (picture.name == FrameName(picture.frame))
        m_files.push_back({m_pass, picture.frame, picture.name + Extension()});
    else if (picture.frame + 1 == static_cast<std::uint32_t>(m_settings.m_perDrawScreenshotFrame))
        m_actionFiles.push_back({m_pass, picture.frame + 1, picture.name + Extension(),
                                 m_action.empty() ? std::to_string(m_draw + m_blit) : m_action});
    return isWritten;
}

bool Screenshots::WriteAsked(const Picture& picture)
{
    const bool isWritten = WriteFile(picture, picture.data.data());
    if (isWritten)
        Core::Console::Print(Core::LogNotice, false, "Wrote %s.", m_files.back().name.c_str());
    return isWritten;
}

std::string Screenshots::FrameName(std::uint32_t frame) const
{
    return m_settings.m_screenshotPath + "frame" + std::to_string(frame);
}

const char* Screenshots::Extension() const
{
    return Util::FileExtension(static_cast<Util::ImageFormat>(m_settings.m_screenshotFormat));
}

} // namespace Host
