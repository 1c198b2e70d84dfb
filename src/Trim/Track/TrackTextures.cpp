// Calls on textures, samplers and renderbuffers: uploads, copies, parameters.
#include <algorithm>

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES2/gl2.h>
#include <GLES2/gl2ext.h>
#include <GLES3/gl32.h>

#include "Trim/Track/StateTracker.h"

namespace Trim {

namespace {

using Data::CallId;

/// Pixel-store parameters that decide where an upload reads.
constexpr std::uint32_t unpackParameters[] = {GL_UNPACK_ALIGNMENT, GL_UNPACK_ROW_LENGTH,  GL_UNPACK_IMAGE_HEIGHT,
                                              GL_UNPACK_SKIP_ROWS, GL_UNPACK_SKIP_PIXELS, GL_UNPACK_SKIP_IMAGES};

/// A level above which no texture has any.
constexpr std::int32_t maxLevels = 16;

} // namespace

Owner StateTracker::BoundTexture(std::uint32_t target)
{
    const Owner texture = m_state.BoundTexture(target);
    Reads(ContextSlot(State::ActiveTexture));
    Reads(ContextSlot(State::Texture, m_state.Unit(), Data::StateModel::TextureTarget(target)));
    return texture;
}

void StateTracker::ReadsUpload(std::uint32_t target)
{
    for (const std::uint32_t parameter : unpackParameters)
        Reads(ContextSlot(State::PixelStore, parameter));
    ReadsAll(BoundBuffer(target));
}

void StateTracker::ReplacesImage(const Image& image, ImageSize size)
{
    Object(image.object).sizes[image.Place()] = size;
    Object(image.object).drawn.erase(image.Place());
    Replaces(SlotOf(image.object, State::Storage, image.face, image.level));
    for (const Aspects aspect : {Color, Depth, Stencil})
        Replaces(PixelsOf(image, aspect));
}

void StateTracker::ChangesPixels(const Image& image, std::uint32_t aspects)
{
    for (const Aspects aspect : {Color, Depth, Stencil}) {
        if ((aspects & aspect) != 0)
            Changes(PixelsOf(image, aspect));
    }
    if (Object(image.object).isAliased)
        m_log.SetVerdict(Verdict::Keep);
}

void StateTracker::WritesArea(const Image& image, std::int32_t x, std::int32_t y, ImageSize size)
{
    const std::optional<ImageSize> whole = SizeOf(image);
    if (x == 0 && y == 0 && whole == size && !Object(image.object).isAliased) {
        for (const Aspects aspect : {Color, Depth, Stencil})
            Replaces(PixelsOf(image, aspect));
    } else {
        ChangesPixels(image, AllAspects);
    }
    Reads(SlotOf(image.object, State::Storage, image.face, image.level));
    Reads(SlotOf(image.object, State::Storage));
}

std::optional<ImageSize> StateTracker::SizeOf(const Image& image)
{
    const auto& sizes = Object(image.object).sizes;
    if (const auto size = sizes.find(image.Place()); size != sizes.end())
        return size->second;
    // Levels that were generated or allocated together follow from the first one.
    const auto first = sizes.find({image.face, 0});
    if (first == sizes.end() || image.level >= maxLevels)
        return std::nullopt;
    return ImageSize{std::max(first->second.width >> image.level, 1), std::max(first->second.height >> image.level, 1)};
}

bool StateTracker::TrackTexture(const CallArguments& call)
{
    const std::uint32_t target = call.Count() > 0 ? call.Unsigned(0) : 0;
    const auto imageAt = [&](std::size_t level) { return Image{BoundTexture(target), target, call.Unsigned(level)}; };
    const auto sizeAt = [&](std::size_t width) { return ImageSize{call.Signed(width), call.Signed(width + 1)}; };
    switch (call.Call()) {
    case CallId::glTexImage2D:
    case CallId::glCompressedTexImage2D:
        ReplacesImage(imageAt(1), sizeAt(3));
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
        ReplacesImage(imageAt(1), {});
        ReadsUpload(GL_PIXEL_UNPACK_BUFFER);
        return true;
    case CallId::glTexSubImage2D:
    case CallId::glCompressedTexSubImage2D:
        WritesArea(imageAt(1), call.Signed(2), call.Signed(3), sizeAt(4));
        ReadsUpload(GL_PIXEL_UNPACK_BUFFER);
        return true;
    case CallId::glTexSubImage3D:
    case CallId::glTexSubImage3DOES:
    case CallId::glCompressedTexSubImage3D:
    case CallId::glCompressedTexSubImage3DOES:
        WritesArea(imageAt(1), -1, -1, {});
        ReadsUpload(GL_PIXEL_UNPACK_BUFFER);
        return true;
    case CallId::glCopyTexImage2D:
        ReplacesImage(imageAt(1), sizeAt(5));
        CopiesTo(imageAt(1));
        return true;
    case CallId::glCopyTexSubImage2D:
        WritesArea(imageAt(1), call.Signed(2), call.Signed(3), sizeAt(6));
        CopiesTo(imageAt(1));
        return true;
    case CallId::glCopyTexSubImage3D:
    case CallId::glCopyTexSubImage3DOES:
        WritesArea(imageAt(1), -1, -1, {});
        CopiesTo(imageAt(1));
        return true;
    default:
        return TrackTextureStorage(call);
    }
}

void StateTracker::MakeMipmaps(Owner texture)
{
    const Slot mipmaps = SlotOf(texture, State::Mipmaps);
    for (const Slot slot : m_state.Slots().Of(texture)) {
        if (slot != mipmaps)
            Reads(slot);
    }
    Replaces(mipmaps);
    Object(texture).hasMipmaps = true;
    if (Object(texture).isAliased)
        m_log.SetVerdict(Verdict::Keep);
}

void StateTracker::ClearTexture(const CallArguments& call)
{
    const Owner texture = Find(ObjectKind::Texture, call.Unsigned(0));
    const Image image{texture, Object(texture).target, call.Unsigned(1)};
    if (texture == 0)
        return;
    if (image.face == GL_TEXTURE_2D) {
        const bool isPart = call.Call() == CallId::glClearTexSubImageEXT;
        const ImageSize size = isPart ? ImageSize{call.Signed(5), call.Signed(6)} : SizeOf(image).value_or(ImageSize{});
        WritesArea(image, isPart ? call.Signed(2) : 0, isPart ? call.Signed(3) : 0, size);
    } else {
        ChangesAllPixels(texture);
        ReadsAll(texture);
    }
    Exists(texture);
}

bool StateTracker::TrackTextureStorage(const CallArguments& call)
{
    const std::uint32_t target = call.Count() > 0 ? call.Unsigned(0) : 0;
    const auto sizeAt = [&](std::size_t width) { return ImageSize{call.Signed(width), call.Signed(width + 1)}; };
    switch (call.Call()) {
    case CallId::glTexStorage2D: {
        const Owner texture = BoundTexture(target);
        Replaces(SlotOf(texture, State::Storage));
        const bool isCube = target == GL_TEXTURE_CUBE_MAP;
        for (std::uint32_t face = 0; face < (isCube ? 6u : 1u); ++face)
            Object(texture).sizes[{isCube ? GL_TEXTURE_CUBE_MAP_POSITIVE_X + face : target, 0}] = sizeAt(3);
        return true;
    }
    case CallId::glTexStorage3D:
    case CallId::glTexStorage2DMultisample:
    case CallId::glTexStorage3DMultisample:
    case CallId::glTexStorage3DMultisampleOES:
        Replaces(SlotOf(BoundTexture(target), State::Storage));
        return true;
    case CallId::glTexBuffer:
    case CallId::glTexBufferRange: {
        const Owner texture = BoundTexture(target);
        Replaces(SlotOf(texture, State::Storage));
        if (const Owner buffer = Find(ObjectKind::Buffer, call.Unsigned(2))) {
            Refer(texture, buffer);
            Exists(buffer);
        }
        return true;
    }
    case CallId::glGenerateMipmap:
        MakeMipmaps(BoundTexture(target));
        return true;
    case CallId::glRenderbufferStorage:
    case CallId::glRenderbufferStorageMultisample:
    case CallId::glRenderbufferStorageMultisampleAdvancedAMD:
    case CallId::glRenderbufferStorageMultisampleEXT:
        Reads(ContextSlot(State::Renderbuffer));
        if (const Owner renderbuffer = m_state.Bound(State::Renderbuffer))
            ReplacesImage({renderbuffer, 0, 0}, sizeAt(call.Count() - 2));
        return true;
    case CallId::glEGLImageTargetTexture2DOES:
        ReplacesImage({BoundTexture(target), target, 0}, {});
        Object(BoundTexture(target)).isAliased = true;
        return true;
    case CallId::glEGLImageTargetRenderbufferStorageOES:
        Reads(ContextSlot(State::Renderbuffer));
        if (const Owner renderbuffer = m_state.Bound(State::Renderbuffer)) {
            ReplacesImage({renderbuffer, 0, 0}, {});
            Object(renderbuffer).isAliased = true;
        }
        return true;
    default:
        return false;
    }
}

void StateTracker::CopiesTo(const Image& image)
{
    Object(image.object).drawn.insert(image.Place());
    ReadsReadFramebuffer();
}

void StateTracker::CreateEGLImage(const CallArguments& call)
{
    const Data::StateContext* const context = m_state.AllContexts().Find(call.Unsigned(1));
    if (!context)
        return;
    const bool isRenderbuffer = call.Unsigned(2) == EGL_GL_RENDERBUFFER_KHR;
    const ObjectKind kind = isRenderbuffer ? ObjectKind::Renderbuffer : ObjectKind::Texture;
    const auto& objects = context->group->objects.owners;
    if (const auto object = objects.find({kind, call.Unsigned(3)}); object != objects.end()) {
        Object(object->second).isAliased = true;
        ReadsAll(object->second);
    }
}

} // namespace Trim
