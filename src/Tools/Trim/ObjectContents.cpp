#include "Tools/Trim/ObjectContents.h"

#include <algorithm>
#include <cstring>
#include <optional>

#include "Data/Sizes.h"

namespace Tools::Trim {

namespace {

using Data::CallId;

GLint LevelParameter(const Image& image, GLenum name)
{
    GLint value = 0;
    GL().glGetTexLevelParameteriv(image.face, static_cast<GLint>(image.level), name, &value);
    return value;
}

/// How an image is read and how it is uploaded. Reading gives four components of `componentBytes` bytes, of which the
/// upload takes the first `components`; 0 bytes: both are the same.
struct ImageTransfer {
    GLenum attachment = GL_COLOR_ATTACHMENT0;
    Transfer read = {};
    Transfer upload = {};
    std::size_t components = 4;
    std::size_t componentBytes = 0;
};

std::optional<ImageTransfer> ColorTransfer(const Image& image)
{
    const GLint bits[] = {LevelParameter(image, GL_TEXTURE_RED_SIZE), LevelParameter(image, GL_TEXTURE_GREEN_SIZE),
                          LevelParameter(image, GL_TEXTURE_BLUE_SIZE), LevelParameter(image, GL_TEXTURE_ALPHA_SIZE)};
    const auto components = static_cast<std::size_t>(std::ranges::count_if(bits, [](GLint size) { return size > 0; }));
    // Components come in this order, none left out: other formats, such as alpha alone, cannot be drawn to.
    if (components == 0 || bits[components - 1] == 0)
        return std::nullopt;
    constexpr GLenum formats[] = {GL_RED, GL_RG, GL_RGB, GL_RGBA};
    constexpr GLenum integerFormats[] = {GL_RED_INTEGER, GL_RG_INTEGER, GL_RGB_INTEGER, GL_RGBA_INTEGER};
    const auto transfer = [&](const GLenum (&all)[4], GLenum type, std::size_t componentBytes) {
        return ImageTransfer{GL_COLOR_ATTACHMENT0, {all[3], type}, {all[components - 1], type}, components,
                             componentBytes};
    };
    const GLint widest = *std::ranges::max_element(bits);
    switch (LevelParameter(image, GL_TEXTURE_RED_TYPE)) {
    case GL_UNSIGNED_NORMALIZED:
        if (widest <= 8)
            return transfer(formats, GL_UNSIGNED_BYTE, 1);
        if (widest == 10)
            return ImageTransfer{GL_COLOR_ATTACHMENT0, {GL_RGBA, GL_UNSIGNED_INT_2_10_10_10_REV},
                                 {GL_RGBA, GL_UNSIGNED_INT_2_10_10_10_REV}};
        return std::nullopt;
    case GL_FLOAT:
        return transfer(formats, GL_FLOAT, 4);
    case GL_INT:
        return transfer(integerFormats, GL_INT, 4);
    case GL_UNSIGNED_INT:
        return transfer(integerFormats, GL_UNSIGNED_INT, 4);
    default:
        return std::nullopt;
    }
}

std::optional<ImageTransfer> TransferOf(const Image& image)
{
    const GLint depth = LevelParameter(image, GL_TEXTURE_DEPTH_SIZE);
    if (depth == 0)
        return ColorTransfer(image);
    const GLint stencil = LevelParameter(image, GL_TEXTURE_STENCIL_SIZE);
    const std::optional<Transfer> transfer = DepthStencilTransfer(depth, stencil, false);
    if (!transfer)
        return std::nullopt;
    return ImageTransfer{stencil != 0 ? GLenum{GL_DEPTH_STENCIL_ATTACHMENT} : GLenum{GL_DEPTH_ATTACHMENT}, *transfer,
                         *transfer};
}

/// Leaves out the components that an upload does not take.
std::vector<std::uint8_t> Packed(const std::vector<std::uint8_t>& pixels, const ImageTransfer& transfer)
{
    if (transfer.componentBytes == 0 || transfer.components == 4)
        return pixels;
    const std::size_t wide = 4 * transfer.componentBytes;
    const std::size_t narrow = transfer.components * transfer.componentBytes;
    std::vector<std::uint8_t> packed(pixels.size() / wide * narrow);
    for (std::size_t i = 0; i < pixels.size() / wide; ++i)
        std::memcpy(packed.data() + i * narrow, pixels.data() + i * wide, narrow);
    return packed;
}

/// A framebuffer with one image of a texture, bound for reading while it lives.
class ImageFramebuffer {
public:
    ImageFramebuffer(GLenum attachment, const Image& image, GLuint texture)
    {
        GL().glGenFramebuffers(1, &m_name);
        GL().glBindFramebuffer(GL_FRAMEBUFFER, m_name);
        GL().glFramebufferTexture2D(GL_FRAMEBUFFER, attachment, image.face, texture, static_cast<GLint>(image.level));
    }
    ~ImageFramebuffer()
    {
        GL().glBindFramebuffer(GL_FRAMEBUFFER, 0);
        GL().glDeleteFramebuffers(1, &m_name);
    }
    ImageFramebuffer(const ImageFramebuffer&) = delete;
    ImageFramebuffer& operator=(const ImageFramebuffer&) = delete;

    [[nodiscard]] bool IsComplete() const
    {
        return GL().glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
    }

private:
    GLuint m_name = 0;
};

void Upload(const ImageContents& contents, const std::vector<std::uint8_t>& pixels)
{
    GL().glTexSubImage2D(contents.image.face, static_cast<GLint>(contents.image.level), 0, 0, contents.size.width,
                         contents.size.height, contents.transfer.format, contents.transfer.type, pixels.data());
}

/// The texture is bound. Nothing when it cannot be read or what is read cannot be uploaded exactly.
std::optional<ImageContents> ReadImage(const Image& image, GLuint texture)
{
    const ImageSize size{LevelParameter(image, GL_TEXTURE_WIDTH), LevelParameter(image, GL_TEXTURE_HEIGHT)};
    const std::optional<ImageTransfer> transfer = TransferOf(image);
    if (!transfer || size.width <= 0 || size.height <= 0)
        return std::nullopt;
    const ImageFramebuffer framebuffer(transfer->attachment, image, texture);
    std::vector<std::uint8_t> pixels;
    if (!framebuffer.IsComplete() || !ReadPixels(size.width, size.height, transfer->read, pixels))
        return std::nullopt;
    ImageContents contents{image, size, transfer->upload, Packed(pixels, *transfer)};
    std::vector<std::uint8_t> others = contents.pixels;
    for (std::uint8_t& byte : others)
        byte = static_cast<std::uint8_t>(~byte);
    Upload(contents, others);
    Upload(contents, contents.pixels);
    const bool isUploaded = GL().glGetError() == GL_NO_ERROR;
    std::vector<std::uint8_t> again;
    if (!isUploaded || !ReadPixels(size.width, size.height, transfer->read, again) || again != pixels)
        return std::nullopt;
    return contents;
}

std::optional<TextureContents> ReadTexture(StateTracker& tracker, Owner owner, GLuint texture)
{
    const ObjectInfo& object = tracker.Object(owner);
    if (object.isAliased || (object.target != GL_TEXTURE_2D && object.target != GL_TEXTURE_CUBE_MAP))
        return std::nullopt;
    GL().glBindTexture(object.target, texture);
    TextureContents contents{owner, object.hasMipmaps, {}};
    std::set<Image> images = object.drawn;
    if (object.hasMipmaps) {
        // All levels of all faces, since the call that allocates them writes them too.
        for (const auto& [place, size] : object.sizes) {
            Image image{owner, place.first, 0};
            for (; image.level < 16 && LevelParameter(image, GL_TEXTURE_WIDTH) > 0; ++image.level)
                images.insert(image);
        }
    }
    for (const Image& image : images) {
        std::optional<ImageContents> read = ReadImage(image, texture);
        if (read)
            contents.images.push_back(std::move(*read));
        else if (object.hasMipmaps)
            return std::nullopt;
    }
    return contents;
}

std::optional<BufferContents> ReadBuffer(StateTracker& tracker, Owner owner, GLuint buffer)
{
    const auto& gl = GL();
    BufferContents contents{owner, std::vector<std::uint8_t>(static_cast<std::size_t>(tracker.Object(owner).bytes))};
    const auto bytes = static_cast<GLsizeiptr>(contents.bytes.size());
    ForgetErrors();
    gl.glBindBuffer(GL_ARRAY_BUFFER, buffer);
    const void* const mapped = gl.glMapBufferRange(GL_ARRAY_BUFFER, 0, bytes, GL_MAP_READ_BIT);
    if (!mapped)
        return std::nullopt;
    std::memcpy(contents.bytes.data(), mapped, contents.bytes.size());
    gl.glUnmapBuffer(GL_ARRAY_BUFFER);
    // Not all buffers take an upload.
    gl.glBufferSubData(GL_ARRAY_BUFFER, 0, bytes, contents.bytes.data());
    return gl.glGetError() == GL_NO_ERROR ? std::optional(std::move(contents)) : std::nullopt;
}

} // namespace

std::vector<Slot> ObjectContents::Slots(StateTracker& tracker) const
{
    std::vector<Slot> slots;
    for (const TextureContents& texture : textures) {
        for (const ImageContents& contents : texture.images)
            std::ranges::copy(tracker.PixelSlots(contents.image), std::back_inserter(slots));
        if (texture.hasMipmaps)
            slots.push_back(tracker.Slots().At(texture.texture, Piece::Mipmaps));
    }
    for (const BufferContents& buffer : buffers)
        slots.push_back(tracker.Slots().At(buffer.buffer, Piece::Data));
    return slots;
}

ObjectContents ReadObjectContents(StateTracker& tracker, const ContextState& context,
                                  const Playback::GLResourceTable& names)
{
    ObjectContents all;
    if (!GL().glGetTexLevelParameteriv || !GL().glMapBufferRange)
        return all;
    SetPlainTransfers();
    for (const auto& [key, owner] : *context.shared) {
        const auto& [kind, name] = key;
        const ObjectInfo& object = tracker.Object(owner);
        if (kind == ObjectKind::Texture && !object.drawn.empty()) {
            if (std::optional<TextureContents> read = ReadTexture(tracker, owner, names.GetValueGLTexture(name)))
                all.textures.push_back(std::move(*read));
        } else if (kind == ObjectKind::Buffer && object.isDrawn && object.bytes > 0) {
            if (std::optional<BufferContents> read = ReadBuffer(tracker, owner, names.GetValueGLBuffer(name)))
                all.buffers.push_back(std::move(*read));
        }
    }
    return all;
}

void WriteObjectContents(RecordOutput& output, StateTracker& tracker, const ContextState& context,
                         const ObjectContents& contents)
{
    StateSlots& slots = tracker.Slots();
    const auto nameAt = [&](Piece piece, std::uint32_t first, std::uint32_t second = 0) {
        return tracker.Object(slots.Value(slots.At(context.owner, piece, first, second))).name;
    };
    const std::uint32_t unit = slots.Value(slots.At(context.owner, Piece::ActiveUnit));
    for (const TextureContents& texture : contents.textures) {
        const ObjectInfo& object = tracker.Object(texture.texture);
        output.WriteCall(CallId::glBindTexture, {object.target, object.name});
        if (texture.hasMipmaps)
            output.WriteCall(CallId::glGenerateMipmap, {object.target});
        for (const ImageContents& image : texture.images)
            output.WriteCall(CallId::glTexSubImage2D,
                             {image.image.face, image.image.level, 0, 0, image.size.width, image.size.height,
                              image.transfer.format, image.transfer.type, std::span(image.pixels)});
        output.WriteCall(CallId::glBindTexture, {object.target, nameAt(Piece::TextureBinding, unit, object.target)});
    }
    for (const BufferContents& buffer : contents.buffers) {
        output.WriteCall(CallId::glBindBuffer, {GL_ARRAY_BUFFER, tracker.Object(buffer.buffer).name});
        output.WriteCall(CallId::glBufferSubData,
                         {GL_ARRAY_BUFFER, 0, buffer.bytes.size(), std::span(buffer.bytes)});
    }
    if (!contents.buffers.empty())
        output.WriteCall(CallId::glBindBuffer, {GL_ARRAY_BUFFER, nameAt(Piece::BufferBinding, GL_ARRAY_BUFFER)});
}

} // namespace Tools::Trim
