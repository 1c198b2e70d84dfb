#include "Playback/Meta/KHRMetaHandler.h"

#include "Playback/Meta/RestorePixels.h"
#include "Playback/Names/GLResourceTable.h"
#include "Playback/PlaybackSettings.h"
#include "Playback/Surfaces/EGLProxySurface.h"

namespace Playback {

void KHRMetaHandler::ProcessSetWindowSizeCommand(std::uint32_t /*display*/, std::uint32_t surface, std::uint32_t width,
                                                 std::uint32_t height)
{
    if (EGLProxySurface* proxy = m_resourceTable->GetValueEGLSurface(surface))
        proxy->SetSize(width, height);
}

void KHRMetaHandler::ProcessCreateEGLImageBufferCommand(std::uint32_t display, std::uint32_t image,
                                                        const Data::EGLImageData* data)
{
    if (m_resourceTable && data)
        m_resourceTable->AddEGLImageBuffer(display, image, *data);
}

void KHRMetaHandler::ProcessSetEGLImageContentCommand(std::uint32_t image, const Data::EGLImageData* data)
{
    if (m_resourceTable && data)
        m_resourceTable->SetEGLImageData(image, *data);
}

void KHRMetaHandler::ProcessEGLConfigStateDesc(std::uint32_t /*display*/, std::uint32_t config,
                                               const std::int32_t* attribs, std::uint64_t /*count*/)
{
    m_resourceTable->AddEGLConfigAttribs(config, attribs);
}

void KHRMetaHandler::ProcessEGLSurfaceStateDesc(std::uint32_t /*display*/, std::uint32_t surface,
                                                const std::int32_t* attribs, std::uint64_t /*count*/)
{
    m_resourceTable->AddEGLSurfaceAttribs(surface, attribs);
}

void KHRMetaHandler::ProcessDefaultColorBuffer(std::uint32_t display, std::uint32_t surface, std::uint32_t width,
                                               std::uint32_t height, std::uint32_t format, std::uint32_t type,
                                               std::uint32_t size, const std::uint8_t* data)
{
    if (display != 0 && surface != 0 && PlaybackEnvironment::Instance()->m_defaultFbo)
        RestoreDefaultBuffer(DefaultBuffer::Color, {width, height, format, type, size, data});
}

void KHRMetaHandler::ProcessDefaultDepthBuffer(std::uint32_t display, std::uint32_t surface, std::uint32_t width,
                                               std::uint32_t height, std::uint32_t format, std::uint32_t type,
                                               std::uint32_t size, const std::uint8_t* data)
{
    if (display != 0 && surface != 0 && PlaybackEnvironment::Instance()->m_defaultFbo)
        RestoreDefaultBuffer(DefaultBuffer::Depth, {width, height, format, type, size, data});
}

void KHRMetaHandler::ProcessDefaultStencilBuffer(std::uint32_t display, std::uint32_t surface, std::uint32_t width,
                                                 std::uint32_t height, std::uint32_t format, std::uint32_t type,
                                                 std::uint32_t size, const std::uint8_t* data)
{
    if (display != 0 && surface != 0 && PlaybackEnvironment::Instance()->m_defaultFbo)
        RestoreDefaultBuffer(DefaultBuffer::Stencil, {width, height, format, type, size, data});
}

void KHRMetaHandler::ProcessMultiSampleTexture(std::uint32_t target, std::uint32_t texture, std::uint32_t width,
                                               std::uint32_t height, std::uint32_t depth, std::uint32_t internalFormat,
                                               std::uint32_t format, std::uint32_t type, std::uint32_t layerSize,
                                               std::uint32_t size, const std::uint8_t* data)
{
    DrawDataToTarget(target, texture, depth, internalFormat, layerSize, {width, height, format, type, size, data});
}

} // namespace Playback
