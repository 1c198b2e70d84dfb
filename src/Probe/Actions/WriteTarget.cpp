// Putting contents back to where an action wrote them.
#include <cstring>

#include "Playback/Meta/RestorePixels.h"
#include "Probe/Actions/Targets.h"
#include "Probe/LiveGL.h"

namespace Probe {

namespace {

using Playback::DefaultBuffer;

/// Blits want the same format on both sides: depth or stencil of a buffer that has both goes with the other one, which
/// is not written.
std::vector<std::uint8_t> WithOther(const Contents& contents)
{
    const bool isDepth = contents.components != "stencil8";
    const std::size_t pixels = std::size_t{contents.width} * contents.height;
    std::vector<std::uint8_t> packed(pixels * sizeof(std::uint32_t));
    for (std::size_t i = 0; i < pixels; ++i) {
        std::uint32_t value = isDepth ? 0 : contents.data[i];
        if (isDepth)
            std::memcpy(&value, &contents.data[i * sizeof value], sizeof value);
        std::memcpy(&packed[i * sizeof value], &value, sizeof value);
    }
    return packed;
}

/// To a buffer of the framebuffer that is bound for drawing.
void Write(DefaultBuffer buffer, const Contents& contents)
{
    const PixelKind* const kind = FindKind(contents.components);
    // Signed bytes cannot be brought to a framebuffer.
    if (!kind || kind->type == GL_BYTE)
        return;
    const auto scissor = Core::DisableScoped(GL(), GL_SCISSOR_TEST);
    const Core::PackedRows rows(GL(), Core::PixelTransfer::Upload, Core::GetVersion(GL()));
    Playback::CapturedPixels pixels = {contents.width,
                                       contents.height,
                                       kind->format,
                                       kind->type,
                                       static_cast<std::uint32_t>(contents.data.size()),
                                       contents.data.data()};
    std::vector<std::uint8_t> packed;
    const bool isPacked = Core::GetInteger(GL(), GL_DEPTH_BITS) == 24 && Core::GetInteger(GL(), GL_STENCIL_BITS) == 8;
    if (buffer != DefaultBuffer::Color && isPacked) {
        packed = WithOther(contents);
        pixels.format = GL_DEPTH_STENCIL;
        pixels.type = GL_UNSIGNED_INT_24_8;
        pixels.size = static_cast<std::uint32_t>(packed.size());
        pixels.data = packed.data();
    }
    Playback::RestoreDefaultBuffer(buffer, pixels);
}

/// Only one buffer is drawn to while it lives.
class OneDrawBuffer {
public:
    explicit OneDrawBuffer(GLenum buffer)
    {
        if (buffer == GL_BACK || !GL().glDrawBuffers)
            return;
        m_before.resize(static_cast<std::size_t>(Core::GetInteger(GL(), GL_MAX_DRAW_BUFFERS)));
        std::vector<GLenum> wanted(m_before.size(), GL_NONE);
        for (std::size_t i = 0; i < m_before.size(); ++i)
            m_before[i] = static_cast<GLenum>(Core::GetInteger(GL(), GL_DRAW_BUFFER0 + static_cast<GLenum>(i)));
        // OpenGL ES takes attachment i as draw buffer i only.
        wanted[buffer - GL_COLOR_ATTACHMENT0] = buffer;
        GL().glDrawBuffers(static_cast<GLsizei>(wanted.size()), wanted.data());
    }
    ~OneDrawBuffer()
    {
        if (!m_before.empty())
            GL().glDrawBuffers(static_cast<GLsizei>(m_before.size()), m_before.data());
    }
    OneDrawBuffer(const OneDrawBuffer&) = delete;
    OneDrawBuffer& operator=(const OneDrawBuffer&) = delete;

private:
    std::vector<GLenum> m_before;
};

Contents WriteColor(GLenum buffer, const Contents& contents)
{
    {
        const OneDrawBuffer one(buffer);
        Write(DefaultBuffer::Color, contents);
    }
    Util::FramebufferReader reader;
    return ToContents(reader.ReadColor(buffer));
}

Contents WriteImage(const Place& place, const Contents& contents)
{
    const TemporaryFramebuffer framebuffer;
    switch (framebuffer.Attach(place.object, place.image)) {
    case GL_NONE:
        return {};
    case GL_COLOR_ATTACHMENT0:
        Write(DefaultBuffer::Color, contents);
        break;
    case GL_STENCIL_ATTACHMENT:
        Write(DefaultBuffer::Stencil, contents);
        break;
    default:
        Write(DefaultBuffer::Depth, contents);
        break;
    }
    return ReadImage(place.object, place.image);
}

Contents WriteBuffer(GLuint buffer, const Contents& contents)
{
    constexpr Core::BindingPoint CopyWrite = {GL_COPY_WRITE_BUFFER, GL_COPY_WRITE_BUFFER_BINDING};
    {
        const auto bound = Core::BindScoped(GL(), GL().glBindBuffer, CopyWrite, buffer);
        GL().glBufferSubData(GL_COPY_WRITE_BUFFER, 0, static_cast<GLsizeiptr>(contents.data.size()),
                             contents.data.data());
    }
    return ReadBuffer(buffer);
}

Contents WriteAndRead(const Place& place, const Contents& contents)
{
    switch (place.kind) {
    case Place::Kind::Color:
        return WriteColor(place.colorBuffer, contents);
    case Place::Kind::Depth:
        Write(DefaultBuffer::Depth, contents);
        return ToContents(Util::FramebufferReader().ReadDepth());
    case Place::Kind::Stencil:
        Write(DefaultBuffer::Stencil, contents);
        return ToContents(Util::FramebufferReader().ReadStencil());
    case Place::Kind::Image:
        return WriteImage(place, contents);
    case Place::Kind::Buffer:
        break;
    }
    return WriteBuffer(place.object, contents);
}

} // namespace

bool WriteTarget(const Place& place, const Contents& contents)
{
    Core::TakeErrors(GL());
    const bool isSame = WriteAndRead(place, contents).data == contents.data;
    Core::TakeErrors(GL());
    return isSame;
}

} // namespace Probe
