#pragma once

#include <cstdint>
#include <vector>

#include "Trim/Restore/LiveGL.h"
#include "Trim/Track/StateTracker.h"

namespace Trim {

/// An image of a live texture or renderbuffer that is read back. The object stays bound to its target while this
/// lives.
class LiveImage {
public:
    LiveImage(const Image& image, GLuint object);
    ~LiveImage();
    LiveImage(const LiveImage&) = delete;
    LiveImage& operator=(const LiveImage&) = delete;

    /// Of an image of the texture that is bound; 0 when there is no such level.
    static ImageSize SizeOf(const Image& image);

    /// There is a way to read it and to upload what is read without a loss, as far as the format tells.
    [[nodiscard]] bool IsReadable() const { return m_isReadable; }
    [[nodiscard]] ImageSize Size() const { return m_size; }
    /// Where a framebuffer takes it, and the bits of a blit.
    [[nodiscard]] GLenum Attachment() const { return m_attachment; }
    [[nodiscard]] GLbitfield BlitMask() const;
    /// How it is uploaded.
    [[nodiscard]] Transfer Upload() const { return m_upload; }

    /// False on an error.
    bool Read(std::vector<std::uint8_t>& pixels) const;
    /// What was read as uploads take it.
    [[nodiscard]] std::vector<std::uint8_t> Packed(const std::vector<std::uint8_t>& pixels) const;

private:
    [[nodiscard]] GLint AttachmentParameter(GLenum name) const;
    bool Attach(const Image& image, GLuint object);
    void FindColorTransfer();
    void FindDepthTransfer();

    GLuint m_framebuffer = 0;
    GLenum m_attachment = 0;
    ImageSize m_size;
    bool m_isReadable = false;
    Transfer m_read{};
    Transfer m_upload{};
    /// Colour is read as four components, of which uploads take the first ones; 0 bytes: pixels are taken as they are.
    std::size_t m_components = 4;
    std::size_t m_componentBytes = 0;
};

} // namespace Trim
