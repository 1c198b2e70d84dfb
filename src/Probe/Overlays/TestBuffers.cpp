#include "Probe/Overlays/TestBuffers.h"

#include "Playback/Meta/RestorePixels.h"
#include "Probe/Contents/Contents.h"
#include "Probe/LiveGL.h"
#include "Util/FramebufferReader.h"

namespace Probe {

namespace {

/// The internal format of the depth buffer that is drawn to; of the default framebuffer as its bits tell.
GLenum DepthFormat(bool isDefault)
{
    switch (Core::GetInteger(GL(), GL_DEPTH_BITS)) {
    case 0:
        return GL_NONE;
    case 16:
        return GL_DEPTH_COMPONENT16;
    case 32:
        return GL_DEPTH_COMPONENT32F;
    default:
        break;
    }
    const Core::AttachmentStorage storage =
        isDefault ? Core::AttachmentStorage{}
                  : Core::FindStorage(GL(), Core::GetVersion(GL()), GL_DRAW_FRAMEBUFFER, GL_DEPTH_ATTACHMENT);
    return storage.internalFormat != 0 ? storage.internalFormat : static_cast<GLenum>(GL_DEPTH24_STENCIL8);
}

} // namespace

TestStorage TestStorage::OfDrawFramebuffer()
{
    if (Core::GetVersion(GL()) < 30 || !GL().glBlitFramebuffer)
        return {.problem = LackOfFunctions()};
    TestStorage storage;
    {
        const Util::FramebufferReader reader;
        storage.width = reader.Width();
        storage.height = reader.Height();
        storage.problem = reader.Error();
    }
    storage.hasStencil = Core::GetInteger(GL(), GL_STENCIL_BITS) > 0;
    storage.format = DepthFormat(Core::GetInteger(GL(), GL_DRAW_FRAMEBUFFER_BINDING) == 0);
    storage.hasDepth = storage.format != GL_NONE;
    if (storage.format == GL_DEPTH_COMPONENT16) {
        storage.attachment = GL_DEPTH_ATTACHMENT;
        return storage;
    }
    storage.attachment = GL_DEPTH_STENCIL_ATTACHMENT;
    const bool isFloat = storage.format == GL_DEPTH_COMPONENT32F || storage.format == GL_DEPTH32F_STENCIL8;
    storage.format = isFloat ? GL_DEPTH32F_STENCIL8 : GL_DEPTH24_STENCIL8;
    return storage;
}

bool TestStorage::HasRoomToCount() const
{
    return attachment == GL_DEPTH_STENCIL_ATTACHMENT;
}

TestFramebuffer::TestFramebuffer(const TestStorage& storage, Color color)
{
    const auto boundFramebuffer = Core::KeepBound(GL(), GL().glBindFramebuffer, Core::DrawFramebuffer);
    const auto boundRenderbuffer = Core::KeepBound(GL(), GL().glBindRenderbuffer, Core::Renderbuffer);
    GL().glGenFramebuffers(1, &m_framebuffer);
    GL().glBindFramebuffer(GL_DRAW_FRAMEBUFFER, m_framebuffer);
    const auto attach = [&](GLuint& renderbuffer, GLenum format, GLenum attachment) {
        GL().glGenRenderbuffers(1, &renderbuffer);
        GL().glBindRenderbuffer(GL_RENDERBUFFER, renderbuffer);
        GL().glRenderbufferStorage(GL_RENDERBUFFER, format, storage.width, storage.height);
        GL().glFramebufferRenderbuffer(GL_DRAW_FRAMEBUFFER, attachment, GL_RENDERBUFFER, renderbuffer);
    };
    attach(m_tests, storage.format, storage.attachment);
    if (color == Color::Bytes)
        attach(m_color, GL_RGBA8, GL_COLOR_ATTACHMENT0);
}

TestFramebuffer::~TestFramebuffer()
{
    GL().glDeleteFramebuffers(1, &m_framebuffer);
    for (const GLuint* const renderbuffer : {&m_tests, &m_color})
        if (*renderbuffer != 0)
            GL().glDeleteRenderbuffers(1, renderbuffer);
}

bool TestFramebuffer::CopyFrom(unsigned int framebuffer, const TestStorage& storage) const
{
    Core::TakeErrors(GL());
    const GLbitfield buffers =
        (storage.hasDepth ? GL_DEPTH_BUFFER_BIT : 0U) | (storage.hasStencil ? GL_STENCIL_BUFFER_BIT : 0U);
    const auto read = Core::BindScoped(GL(), GL().glBindFramebuffer, Core::ReadFramebuffer, framebuffer);
    const auto draw = Core::BindScoped(GL(), GL().glBindFramebuffer, Core::DrawFramebuffer, m_framebuffer);
    // It cuts blits as well.
    const auto scissor = Core::DisableScoped(GL(), GL_SCISSOR_TEST);
    if (buffers != 0)
        GL().glBlitFramebuffer(0, 0, storage.width, storage.height, 0, 0, storage.width, storage.height, buffers,
                               GL_NEAREST);
    return Core::TakeErrors(GL()) == GL_NO_ERROR;
}

TestBuffers::TestBuffers() : m_storage(TestStorage::OfDrawFramebuffer())
{
    if (!m_storage.problem.empty())
        return;
    m_framebuffer = std::make_unique<TestFramebuffer>(m_storage, TestFramebuffer::Color::None);
    const auto drawn = static_cast<GLuint>(Core::GetInteger(GL(), GL_DRAW_FRAMEBUFFER_BINDING));
    if (!m_framebuffer->CopyFrom(drawn, m_storage) && !TakeWideDepth())
        m_storage.problem = "the driver does not copy its depth and stencil buffers";
}

/// Surfaces may have depths of 32 bits that are no floating-point numbers, which no framebuffer object has. As such,
/// those above 1/256 are what the driver made them of.
bool TestBuffers::TakeWideDepth()
{
    if (m_storage.format != GL_DEPTH32F_STENCIL8 || m_storage.hasStencil)
        return false;
    const Contents depth = WithFloatDepth(ToContents(Util::FramebufferReader().ReadDepth()));
    if (depth.components != "depthfloat")
        return false;
    const auto bound = Core::BindScoped(GL(), GL().glBindFramebuffer, Core::DrawFramebuffer, m_framebuffer->Name());
    const auto scissor = Core::DisableScoped(GL(), GL_SCISSOR_TEST);
    const Core::PackedRows rows(GL(), Core::PixelTransfer::Upload, Core::GetVersion(GL()));
    Playback::RestoreDefaultBuffer(Playback::DefaultBuffer::Depth,
                                   {depth.width, depth.height, GL_DEPTH_COMPONENT, GL_FLOAT,
                                    static_cast<std::uint32_t>(depth.data.size()), depth.data.data()});
    return Core::TakeErrors(GL()) == GL_NO_ERROR;
}

} // namespace Probe
