#pragma once

#include "Interfaces/Data.h"

namespace Playback {

class GLResourceTable;

/// The meta commands that reach the live driver: contents of the default framebuffer and of multisample textures are
/// put back into the current context; descriptions of EGL objects go to the resource table.
///
/// Contents need a current live context. What a driver's version cannot do is left out without a message.
class KHRMetaHandler : public Data::NullMetaHandler {
public:
    /// `resourceTable` is not owned.
    explicit KHRMetaHandler(GLResourceTable* resourceTable) : m_resourceTable(resourceTable) {}

    void SetCurrentThread(std::uint32_t threadId) override { m_currentThread = threadId; }
    void ProcessSetWindowSizeCommand(std::uint32_t display, std::uint32_t surface, std::uint32_t width,
                                     std::uint32_t height) override;
    void ProcessCreateEGLImageBufferCommand(std::uint32_t display, std::uint32_t image,
                                            const Data::EGLImageData* data) override;
    void ProcessSetEGLImageContentCommand(std::uint32_t image, const Data::EGLImageData* data) override;
    void ProcessEGLConfigStateDesc(std::uint32_t display, std::uint32_t config, const std::int32_t* attribs,
                                   std::uint64_t count) override;
    void ProcessEGLSurfaceStateDesc(std::uint32_t display, std::uint32_t surface, const std::int32_t* attribs,
                                    std::uint64_t count) override;
    void ProcessDefaultColorBuffer(std::uint32_t display, std::uint32_t surface, std::uint32_t width,
                                   std::uint32_t height, std::uint32_t format, std::uint32_t type, std::uint32_t size,
                                   const std::uint8_t* data) override;
    void ProcessDefaultDepthBuffer(std::uint32_t display, std::uint32_t surface, std::uint32_t width,
                                   std::uint32_t height, std::uint32_t format, std::uint32_t type, std::uint32_t size,
                                   const std::uint8_t* data) override;
    void ProcessDefaultStencilBuffer(std::uint32_t display, std::uint32_t surface, std::uint32_t width,
                                     std::uint32_t height, std::uint32_t format, std::uint32_t type, std::uint32_t size,
                                     const std::uint8_t* data) override;
    /// `texture` is used as it stands, without translation.
    void ProcessMultiSampleTexture(std::uint32_t target, std::uint32_t texture, std::uint32_t width,
                                   std::uint32_t height, std::uint32_t depth, std::uint32_t internalFormat,
                                   std::uint32_t format, std::uint32_t type, std::uint32_t layerSize,
                                   std::uint32_t size, const std::uint8_t* data) override;

private:
    std::uint32_t m_currentThread = 0;
    GLResourceTable* m_resourceTable;
};

} // namespace Playback
