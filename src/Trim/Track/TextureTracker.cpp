#include "Trim/Track/TextureTracker.h"

#include <GLES2/gl2.h>
#include <GLES2/gl2ext.h>
#include <GLES3/gl32.h>

namespace Trim {

namespace {

using Data::CallId;

/// Pixel-store parameters that decide where an upload reads.
constexpr std::uint32_t UnpackParameters[] = {GL_UNPACK_ALIGNMENT, GL_UNPACK_ROW_LENGTH,  GL_UNPACK_IMAGE_HEIGHT,
                                              GL_UNPACK_SKIP_ROWS, GL_UNPACK_SKIP_PIXELS, GL_UNPACK_SKIP_IMAGES};

} // namespace

bool TextureTracker::Track(const CallArguments& call)
{
    const std::uint32_t target = call.Count() > 0 ? call.Unsigned(0) : 0;
    const auto imageAt = [&](std::size_t level) {
        return Image{m_tracked.BoundTexture(target), target, call.Unsigned(level)};
    };
    const auto sizeAt = [&](std::size_t width) { return ImageSize{call.Signed(width), call.Signed(width + 1)}; };
    switch (call.Call()) {
    case CallId::glTexImage2D:
    case CallId::glCompressedTexImage2D:
        m_images.Replaces(imageAt(1), sizeAt(3));
        ReadsUpload(GL_PIXEL_UNPACK_BUFFER);
        return true;
    case CallId::glClearTexImageEXT:
    case CallId::glClearTexSubImageEXT:
        ClearTexture(call);
        return true;
    case CallId::glTexImage3D:
    case CallId::glTexImage3DOES:
    case CallId::glCompressedTexImage3D:
    case CallId::glCompressedTexImage3DOES:
        m_images.Replaces(imageAt(1), {});
        ReadsUpload(GL_PIXEL_UNPACK_BUFFER);
        return true;
    case CallId::glTexSubImage2D:
    case CallId::glCompressedTexSubImage2D:
        m_images.WritesArea(imageAt(1), call.Signed(2), call.Signed(3), sizeAt(4));
        ReadsUpload(GL_PIXEL_UNPACK_BUFFER);
        return true;
    case CallId::glTexSubImage3D:
    case CallId::glTexSubImage3DOES:
    case CallId::glCompressedTexSubImage3D:
    case CallId::glCompressedTexSubImage3DOES:
        m_images.WritesArea(imageAt(1), -1, -1, {});
        ReadsUpload(GL_PIXEL_UNPACK_BUFFER);
        return true;
    case CallId::glCopyTexImage2D:
        m_images.Replaces(imageAt(1), sizeAt(5));
        CopiesTo(imageAt(1));
        return true;
    case CallId::glCopyTexSubImage2D:
        m_images.WritesArea(imageAt(1), call.Signed(2), call.Signed(3), sizeAt(6));
        CopiesTo(imageAt(1));
        return true;
    case CallId::glCopyTexSubImage3D:
    case CallId::glCopyTexSubImage3DOES:
        m_images.WritesArea(imageAt(1), -1, -1, {});
        CopiesTo(imageAt(1));
        return true;
    default:
        return TrackStorage(call);
    }
}

void TextureTracker::MakeMipmaps(Owner texture)
{
    const Slot mipmaps = m_tracked.SlotOf(texture, State::Mipmaps);
    for (const Slot slot : m_tracked.Slots().Of(texture))
        if (slot != mipmaps)
            m_tracked.Reads(slot);
    m_tracked.Replaces(mipmaps);
    m_tracked.Object(texture).hasMipmaps = true;
    if (m_tracked.Object(texture).isAliased)
        m_tracked.Log().SetVerdict(Verdict::Keep);
}

void TextureTracker::ClearTexture(const CallArguments& call)
{
    const Owner texture = m_tracked.Find(ObjectKind::Texture, call.Unsigned(0));
    const Image image{texture, m_tracked.Object(texture).target, call.Unsigned(1)};
    if (texture == 0)
        return;
    if (image.face == GL_TEXTURE_2D) {
        const bool isPart = call.Call() == CallId::glClearTexSubImageEXT;
        const ImageSize size =
            isPart ? ImageSize{call.Signed(5), call.Signed(6)} : m_images.SizeOf(image).value_or(ImageSize{});
        m_images.WritesArea(image, isPart ? call.Signed(2) : 0, isPart ? call.Signed(3) : 0, size);
    } else {
        m_images.ChangesAll(texture);
        m_tracked.ReadsAll(texture);
    }
    m_tracked.Exists(texture);
}

bool TextureTracker::TrackStorage(const CallArguments& call)
{
    const std::uint32_t target = call.Count() > 0 ? call.Unsigned(0) : 0;
    const auto sizeAt = [&](std::size_t width) { return ImageSize{call.Signed(width), call.Signed(width + 1)}; };
    switch (call.Call()) {
    case CallId::glTexStorage2D: {
        const Owner texture = m_tracked.BoundTexture(target);
        m_tracked.Replaces(m_tracked.SlotOf(texture, State::Storage));
        m_images.HasOwnStorage(texture);
        const bool isCube = target == GL_TEXTURE_CUBE_MAP;
        for (std::uint32_t face = 0; face < (isCube ? 6u : 1u); ++face)
            m_tracked.Object(texture).sizes[{isCube ? GL_TEXTURE_CUBE_MAP_POSITIVE_X + face : target, 0}] = sizeAt(3);
        return true;
    }
    case CallId::glTexStorage3D:
    case CallId::glTexStorage2DMultisample:
    case CallId::glTexStorage3DMultisample:
    case CallId::glTexStorage3DMultisampleOES:
        m_tracked.Replaces(m_tracked.SlotOf(m_tracked.BoundTexture(target), State::Storage));
        return true;
    case CallId::glTexBuffer:
    case CallId::glTexBufferRange: {
        const Owner texture = m_tracked.BoundTexture(target);
        m_tracked.Replaces(m_tracked.SlotOf(texture, State::Storage));
        if (const Owner buffer = m_tracked.Find(ObjectKind::Buffer, call.Unsigned(2))) {
            m_tracked.Refer(texture, buffer);
            m_tracked.Exists(buffer);
        }
        return true;
    }
    case CallId::glGenerateMipmap:
        MakeMipmaps(m_tracked.BoundTexture(target));
        return true;
    case CallId::glRenderbufferStorage:
    case CallId::glRenderbufferStorageMultisample:
    case CallId::glRenderbufferStorageMultisampleAdvancedAMD:
    case CallId::glRenderbufferStorageMultisampleEXT:
        m_tracked.Reads(m_tracked.ContextSlot(State::Renderbuffer));
        if (const Owner renderbuffer = m_tracked.Model().Bound(State::Renderbuffer))
            m_images.Replaces({renderbuffer, 0, 0}, sizeAt(call.Count() - 2));
        return true;
    case CallId::glEGLImageTargetTexture2DOES:
        m_images.ReplacesByEGLImage({m_tracked.BoundTexture(target), target, 0}, call.Unsigned(1));
        return true;
    case CallId::glEGLImageTargetTexStorageEXT:
    case CallId::glEGLImageTargetTextureStorageEXT:
        m_images.UsesUnseen(call.Unsigned(1));
        return false;
    case CallId::glEGLImageTargetRenderbufferStorageOES:
        m_tracked.Reads(m_tracked.ContextSlot(State::Renderbuffer));
        if (const Owner renderbuffer = m_tracked.Model().Bound(State::Renderbuffer))
            m_images.ReplacesByEGLImage({renderbuffer, 0, 0}, call.Unsigned(1));
        return true;
    default:
        return false;
    }
}

void TextureTracker::CopiesTo(const Image& image)
{
    m_tracked.Object(image.object).drawn.insert(image.Place());
    m_framebuffers.ReadsReadFramebuffer();
}

void TextureTracker::ReadsUpload(std::uint32_t target)
{
    for (const std::uint32_t parameter : UnpackParameters)
        m_tracked.Reads(m_tracked.ContextSlot(State::PixelStore, parameter));
    m_tracked.ReadsAll(m_tracked.BoundBuffer(target));
}

} // namespace Trim
