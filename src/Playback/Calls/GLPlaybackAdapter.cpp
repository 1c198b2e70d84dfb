#include "Playback/Calls/GLPlaybackAdapter.h"
#include "Playback/Calls/ClientArrays.h"

#include <string>

#include "Playback/Names/LiveNames.h"
#include "Playback/PlaybackSettings.h"

namespace Playback {

using Core::KHRLayer;

#include "Playback/GLPlaybackHandlers.inc"

GLPlaybackAdapter::GLPlaybackAdapter(GLResourceTable* table)
    : m_resourceTable(table), m_settings(PlaybackEnvironment::Instance())
{
    KHRLayer::LoadGLESCore();
}

GLPlaybackAdapter::~GLPlaybackAdapter()
{
    KHRLayer::FreeGLES();
}

void GLPlaybackAdapter::CheckErrorState(std::string_view name)
{
    if (m_settings->m_skipErrorCheck)
        return;
    const auto getError = KHRLayer::playbackGLESProcTable.glGetError;
    if (!getError)
        return;
    const GLenum error = getError();
    if (error != GL_NO_ERROR) {
        ++m_errorCounts[error];
        PLAYBACK_LOG(Error, General, SourceFile, "%.*s failed with error %s", static_cast<int>(name.size()),
                     name.data(), Core::LogFormat::GetGLEnumString(error).c_str());
    }
}

void GLPlaybackAdapter::ProcessVertexAttribData(std::uint32_t index, std::int32_t size, std::uint32_t type,
                                                std::uint32_t normalized, std::int32_t stride, std::uint8_t* data,
                                                std::uint32_t /*first*/, std::uint32_t /*count*/)
{
    const auto function = KHRLayer::playbackGLESProcTable.glVertexAttribPointer;
    if (function) {
        const auto program = m_resourceTable->GetCurrentProgram();
        function(m_resourceTable->GetValueGLAttribLocation(program, index), size, type,
                 static_cast<GLboolean>(normalized), stride, data);
    } else {
        SetClientArray(index, size, type, stride, data);
    }
}

void GLPlaybackAdapter::ProcessVertexAttribIData(std::uint32_t index, std::int32_t size, std::uint32_t type,
                                                 std::int32_t stride, std::uint8_t* data, std::uint32_t /*first*/,
                                                 std::uint32_t /*count*/)
{
    const auto function = KHRLayer::playbackGLESProcTable.glVertexAttribIPointer;
    if (function) {
        const auto program = m_resourceTable->GetCurrentProgram();
        function(m_resourceTable->GetValueGLAttribLocation(program, index), size, type, stride, data);
    }
}

void GLPlaybackAdapter::ProcessFlushMappedBufferRange(std::uint32_t target, std::uint32_t offset, std::uint32_t length,
                                                      std::uint8_t* data)
{
    m_resourceTable->FlushMappedBufferRange(target, offset, length, data);
}

void GLPlaybackAdapter::ProcessUnmapBuffer(std::uint32_t target, std::uint32_t length, std::uint8_t* data)
{
    m_resourceTable->UnmapBuffer(target, length, data);
}

bool GLPlaybackAdapter::IsEventSelected() const
{
    if (m_screenshotHandler->m_frame + 1 != static_cast<std::uint32_t>(m_settings->m_perDrawScreenshotFrame))
        return false;
    const std::uint32_t event = m_screenshotHandler->m_draw + m_screenshotHandler->m_blit;
    const auto first = static_cast<std::uint32_t>(m_settings->m_perDrawScreenshotFirstDraw);
    const auto last = static_cast<std::uint32_t>(m_settings->m_perDrawScreenshotLastDraw);
    if (first != 0) {
        // The upper bound holds here even when it is 0: a lower bound without an upper one selects nothing.
        return event >= first && event <= last;
    }
    return last == 0 || event <= last;
}

void GLPlaybackAdapter::PostDrawCommon()
{
    if (!m_screenshotHandler)
        return;
    ++m_screenshotHandler->m_draw;
    if (IsEventSelected()) {
        m_screenshotHandler->TakeScreenshot(m_settings->m_screenshotPath + "frame" +
                                                std::to_string(m_screenshotHandler->m_frame + 1) + "_draw" +
                                                std::to_string(m_screenshotHandler->m_draw),
                                            GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
    }
}

void GLPlaybackAdapter::PostBlitFrameBuffer(std::uint32_t mask)
{
    if (!m_screenshotHandler)
        return;
    ++m_screenshotHandler->m_blit;
    if (IsEventSelected()) {
        m_screenshotHandler->TakeScreenshot(m_settings->m_screenshotPath + "frame" +
                                                std::to_string(m_screenshotHandler->m_frame + 1) + "_blit" +
                                                std::to_string(m_screenshotHandler->m_blit),
                                            mask);
    }
}

} // namespace Playback
