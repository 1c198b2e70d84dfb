// Reads back what the current context has drawn.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Interfaces/Core.h"
#include "Interfaces/GLFramebuffers.h"

namespace Util {

/// Pixels as the driver gave them: bottom row first, rows without padding; `format` and `type` are GL transfer enums.
struct Pixels {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    unsigned int format = 0;
    unsigned int type = 0;
    std::vector<std::uint8_t> data;
};

/// Reads the framebuffer that is bound for drawing, which is the one that draws and blits have changed. Lives for one
/// screenshot: the constructor arranges the state that reading needs, the destructor puts all of it back. Errors that
/// the context had pending before are lost, and none are left behind.
class FramebufferReader {
public:
    FramebufferReader();
    ~FramebufferReader();
    FramebufferReader(const FramebufferReader&) = delete;
    FramebufferReader& operator=(const FramebufferReader&) = delete;

    /// Why nothing can be read; empty when reading is possible.
    [[nodiscard]] const std::string& Error() const { return m_error; }
    [[nodiscard]] std::int32_t Width() const { return m_width; }
    [[nodiscard]] std::int32_t Height() const { return m_height; }

    /// Without pixels and without an error, the framebuffer has no such buffer.
    struct Result {
        std::optional<Pixels> pixels;
        std::string error;
        /// The buffer is there, but OpenGL ES itself reads colours only and the driver lacks the extension.
        bool isBeyondDriver = false;
    };

    /// The colour buffers that are drawn to: GL_BACK, or attachments that have an image.
    [[nodiscard]] std::vector<unsigned int> ColorBuffers() const;
    /// One of these, resolved when it is multisampled.
    [[nodiscard]] Result ReadColor(unsigned int buffer);
    /// The first one.
    [[nodiscard]] Result ReadColor();
    /// These two are resolved likewise.
    [[nodiscard]] Result ReadDepth();
    [[nodiscard]] Result ReadStencil();

private:
    /// A buffer of a framebuffer object, and the bit that names its kind.
    struct Buffer {
        unsigned int attachment;
        unsigned int bit;
    };

    [[nodiscard]] std::int32_t Get(unsigned int name) const { return Core::GetInteger(m_gl, name); }
    [[nodiscard]] unsigned int TakeErrors() const { return Core::TakeErrors(m_gl); }
    [[nodiscard]] bool IsDefaultFramebuffer() const { return m_framebuffer == 0; }

    void ArrangeReadFramebuffer();
    void FindSize();
    /// Of the framebuffer that is read.
    [[nodiscard]] std::int32_t GetAttachment(unsigned int attachment, unsigned int name) const
    {
        return Core::GetAttachment(m_gl, Core::Framebuffer.target, attachment, name);
    }
    [[nodiscard]] Core::AttachmentStorage FindStorage(unsigned int attachment) const
    {
        return Core::FindStorage(m_gl, m_version, Core::Framebuffer.target, attachment);
    }
    [[nodiscard]] Result ReadBuffer(Buffer buffer, unsigned int format, unsigned int type);
    [[nodiscard]] Result ReadResolved(Buffer buffer, unsigned int format, unsigned int type);
    [[nodiscard]] Result Read(unsigned int format, unsigned int type);

    const Core::GLESProcTable& m_gl;
    std::string m_error;
    bool m_isES3 = false;
    /// 20 where the driver lacks functions of OpenGL ES 3.
    Core::ContextVersion m_version = 0;
    std::int32_t m_width = 0;
    std::int32_t m_height = 0;
    /// The framebuffer that is read: the one bound for drawing.
    unsigned int m_framebuffer = 0;
    /// GL_NONE when nothing is drawn to colour buffers.
    unsigned int m_colorBuffer = 0;

    // What is put back, in the opposite order.
    std::optional<Core::PackedRows> m_rows;
    Core::ScopedState m_readFramebuffer;
    Core::ScopedState m_readBuffer;
};

} // namespace Util
