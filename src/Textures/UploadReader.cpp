#include "Textures/UploadReader.h"

#include <utility>

#include "Data/State/Sizes.h"

#include <GLES3/gl32.h>

namespace Textures {

namespace {

bool IsFace(std::uint32_t target)
{
    return target >= GL_TEXTURE_CUBE_MAP_POSITIVE_X && target <= GL_TEXTURE_CUBE_MAP_NEGATIVE_Z;
}

std::int64_t RoundUp(std::int64_t value, std::int64_t multiple)
{
    return (value + multiple - 1) / multiple * multiple;
}

} // namespace

UploadReader::UploadReader(Data::CaptureFile& capture, Receiver receive)
    : m_capture(capture), m_receive(std::move(receive))
{
    capture.SetAdapter(this);
    capture.GetFrameProcessor()->Calls().SetStateModel(&m_state);
}

Upload UploadReader::Begin(const Place& place, const Size& size)
{
    Upload upload;
    upload.frame = m_capture.GetCurrentFrame() + 1;
    upload.texture = m_state.Object(m_state.BoundTexture(place.target)).name;
    upload.level = place.level;
    upload.layer =
        IsFace(place.target) ? static_cast<std::int32_t>(place.target - GL_TEXTURE_CUBE_MAP_POSITIVE_X) : place.z;
    upload.x = place.x;
    upload.y = place.y;
    upload.width = static_cast<std::uint32_t>(size.width);
    upload.height = static_cast<std::uint32_t>(size.height);
    return upload;
}

void UploadReader::Pixels(const Place& place, const Size& size, std::uint32_t internalFormat, std::uint32_t format,
                          std::uint32_t type, const Data::PointerData* pixels)
{
    m_fromBuffers += m_capture.Context().HasUnpackBuffer();
    // The reader made sure that the contents are as large as the transfer.
    const auto* const memory = pixels->HasData() ? pixels->As<const std::uint8_t>() : nullptr;
    const std::int64_t pixelBytes = Data::PixelBytes(format, type);
    if (!memory || size.width <= 0 || size.height <= 0 || pixelBytes == 0)
        return;
    const Data::PixelStore& store = m_capture.Context().Unpack();
    const std::int64_t rowBytes =
        RoundUp((store.rowLength > 0 ? store.rowLength : size.width) * pixelBytes, store.alignment);
    const std::int64_t imageRows = size.isVolume && store.imageHeight > 0 ? store.imageHeight : size.height;
    const std::int64_t skipped = (size.isVolume ? store.skipImages * imageRows * rowBytes : 0) +
                                 store.skipRows * rowBytes + store.skipPixels * pixelBytes;
    for (std::int32_t layer = 0; layer < size.depth; ++layer) {
        Upload upload = Begin({place.target, place.level, place.x, place.y, place.z + layer}, size);
        upload.internalFormat = internalFormat;
        upload.format = format;
        upload.type = type;
        const std::uint8_t* row = memory + skipped + layer * imageRows * rowBytes;
        for (std::int32_t y = 0; y < size.height; ++y, row += rowBytes)
            upload.data.insert(upload.data.end(), row, row + size.width * pixelBytes);
        m_receive(upload);
    }
}

void UploadReader::Blocks(const Place& place, const Size& size, std::uint32_t internalFormat, std::int32_t bytes,
                          const Data::PointerData* data)
{
    m_fromBuffers += m_capture.Context().HasUnpackBuffer();
    const auto* const memory = data->HasData() ? data->As<const std::uint8_t>() : nullptr;
    if (!memory || size.width <= 0 || size.height <= 0 || size.depth <= 0 || bytes <= 0)
        return;
    // Blocks of three-dimensional formats reach over several slices; all others lie slice after slice.
    const std::int32_t layers = bytes % size.depth == 0 ? size.depth : 1;
    const std::int32_t layerBytes = bytes / layers;
    for (std::int32_t layer = 0; layer < layers; ++layer) {
        Upload upload = Begin({place.target, place.level, place.x, place.y, place.z + layer}, size);
        upload.internalFormat = internalFormat;
        upload.data.assign(memory + std::int64_t{layer} * layerBytes, memory + std::int64_t{layer + 1} * layerBytes);
        m_receive(upload);
    }
}

void UploadReader::Process_glTexImage2D(std::uint32_t target, std::int32_t level, std::int32_t internalformat,
                                        std::int32_t width, std::int32_t height, std::int32_t, std::uint32_t format,
                                        std::uint32_t type, Data::PointerData* pixels)
{
    Pixels({target, level}, {width, height}, static_cast<std::uint32_t>(internalformat), format, type, pixels);
}

void UploadReader::Process_glTexSubImage2D(std::uint32_t target, std::int32_t level, std::int32_t xoffset,
                                           std::int32_t yoffset, std::int32_t width, std::int32_t height,
                                           std::uint32_t format, std::uint32_t type, Data::PointerData* pixels)
{
    Pixels({target, level, xoffset, yoffset}, {width, height}, format, format, type, pixels);
}

void UploadReader::Process_glTexImage3D(std::uint32_t target, std::int32_t level, std::int32_t internalformat,
                                        std::int32_t width, std::int32_t height, std::int32_t depth, std::int32_t,
                                        std::uint32_t format, std::uint32_t type, Data::PointerData* pixels)
{
    Pixels({target, level}, {width, height, depth, true}, static_cast<std::uint32_t>(internalformat), format, type,
           pixels);
}

void UploadReader::Process_glTexSubImage3D(std::uint32_t target, std::int32_t level, std::int32_t xoffset,
                                           std::int32_t yoffset, std::int32_t zoffset, std::int32_t width,
                                           std::int32_t height, std::int32_t depth, std::uint32_t format,
                                           std::uint32_t type, Data::PointerData* pixels)
{
    Pixels({target, level, xoffset, yoffset, zoffset}, {width, height, depth, true}, format, format, type, pixels);
}

void UploadReader::Process_glTexImage3DOES(std::uint32_t target, std::int32_t level, std::uint32_t internalformat,
                                           std::int32_t width, std::int32_t height, std::int32_t depth, std::int32_t,
                                           std::uint32_t format, std::uint32_t type, Data::PointerData* pixels)
{
    Pixels({target, level}, {width, height, depth, true}, internalformat, format, type, pixels);
}

void UploadReader::Process_glTexSubImage3DOES(std::uint32_t target, std::int32_t level, std::int32_t xoffset,
                                              std::int32_t yoffset, std::int32_t zoffset, std::int32_t width,
                                              std::int32_t height, std::int32_t depth, std::uint32_t format,
                                              std::uint32_t type, Data::PointerData* pixels)
{
    Pixels({target, level, xoffset, yoffset, zoffset}, {width, height, depth, true}, format, format, type, pixels);
}

void UploadReader::Process_glCompressedTexImage2D(std::uint32_t target, std::int32_t level,
                                                  std::uint32_t internalformat, std::int32_t width, std::int32_t height,
                                                  std::int32_t, std::int32_t imageSize, Data::PointerData* data)
{
    Blocks({target, level}, {width, height}, internalformat, imageSize, data);
}

void UploadReader::Process_glCompressedTexSubImage2D(std::uint32_t target, std::int32_t level, std::int32_t xoffset,
                                                     std::int32_t yoffset, std::int32_t width, std::int32_t height,
                                                     std::uint32_t format, std::int32_t imageSize,
                                                     Data::PointerData* data)
{
    Blocks({target, level, xoffset, yoffset}, {width, height}, format, imageSize, data);
}

void UploadReader::Process_glCompressedTexImage3D(std::uint32_t target, std::int32_t level,
                                                  std::uint32_t internalformat, std::int32_t width, std::int32_t height,
                                                  std::int32_t depth, std::int32_t, std::int32_t imageSize,
                                                  Data::PointerData* data)
{
    Blocks({target, level}, {width, height, depth}, internalformat, imageSize, data);
}

void UploadReader::Process_glCompressedTexSubImage3D(std::uint32_t target, std::int32_t level, std::int32_t xoffset,
                                                     std::int32_t yoffset, std::int32_t zoffset, std::int32_t width,
                                                     std::int32_t height, std::int32_t depth, std::uint32_t format,
                                                     std::int32_t imageSize, Data::PointerData* data)
{
    Blocks({target, level, xoffset, yoffset, zoffset}, {width, height, depth}, format, imageSize, data);
}

void UploadReader::Process_glCompressedTexImage3DOES(std::uint32_t target, std::int32_t level,
                                                     std::uint32_t internalformat, std::int32_t width,
                                                     std::int32_t height, std::int32_t depth, std::int32_t,
                                                     std::int32_t imageSize, Data::PointerData* data)
{
    Blocks({target, level}, {width, height, depth}, internalformat, imageSize, data);
}

void UploadReader::Process_glCompressedTexSubImage3DOES(std::uint32_t target, std::int32_t level, std::int32_t xoffset,
                                                        std::int32_t yoffset, std::int32_t zoffset, std::int32_t width,
                                                        std::int32_t height, std::int32_t depth, std::uint32_t format,
                                                        std::int32_t imageSize, Data::PointerData* data)
{
    Blocks({target, level, xoffset, yoffset, zoffset}, {width, height, depth}, format, imageSize, data);
}

} // namespace Textures
