#include "Data/State/Sizes.h"

#include "Data/GLEnums.h"

namespace Data {

namespace {

using Wide = unsigned __int128;

std::int64_t Saturate(Wide bytes)
{
    return bytes < static_cast<Wide>(UnknownSize) ? static_cast<std::int64_t>(bytes) : UnknownSize;
}

/// Bytes of one pixel of a packed type, which holds all components; 0 for the other types.
std::uint32_t PackedPixelBytes(std::uint32_t type)
{
    switch (type) {
    case Enum::UnsignedShort4444:
    case Enum::UnsignedShort5551:
    case Enum::UnsignedShort565:
    case Enum::UnsignedShort4444Rev:
    case Enum::UnsignedShort1555Rev:
        return 2;
    case Enum::UnsignedInt8888:
    case Enum::UnsignedInt8888Rev:
    case Enum::UnsignedInt2101010Rev:
    case Enum::UnsignedInt248:
    case Enum::UnsignedInt10F11F11FRev:
    case Enum::UnsignedInt5999Rev:
        return 4;
    case Enum::Float32UnsignedInt248Rev:
        return 8;
    default:
        return 0;
    }
}

std::uint32_t ComponentBytes(std::uint32_t type)
{
    switch (type) {
    case Enum::Byte:
    case Enum::UnsignedByte:
        return 1;
    case Enum::Short:
    case Enum::UnsignedShort:
    case Enum::HalfFloat:
    case Enum::HalfFloatOes:
        return 2;
    case Enum::Int:
    case Enum::UnsignedInt:
    case Enum::Float:
    case Enum::Fixed:
        return 4;
    default:
        return 0;
    }
}

std::uint32_t Components(std::uint32_t format)
{
    switch (format) {
    case Enum::StencilIndex:
    case Enum::DepthComponent:
    case Enum::Red:
    case Enum::Green:
    case Enum::Blue:
    case Enum::Alpha:
    case Enum::Luminance:
    case Enum::RedInteger:
        return 1;
    case Enum::LuminanceAlpha:
    case Enum::Rg:
    case Enum::RgInteger:
    case Enum::DepthStencil:
        return 2;
    case Enum::Rgb:
    case Enum::Bgr:
    case Enum::Srgb:
    case Enum::RgbInteger:
        return 3;
    case Enum::Rgba:
    case Enum::Bgra:
    case Enum::SrgbAlpha:
    case Enum::RgbaInteger:
        return 4;
    default:
        return 0;
    }
}

/// GL_MODELVIEW_MATRIX, GL_PROJECTION_MATRIX and GL_TEXTURE_MATRIX, and those of GL_OES_matrix_get.
bool IsMatrix(std::uint32_t pname)
{
    return (pname >= 0x0BA6 && pname <= 0x0BA8) || (pname >= 0x898D && pname <= 0x898F);
}

} // namespace

std::uint32_t PixelBytes(std::uint32_t format, std::uint32_t type)
{
    const std::uint32_t components = Components(format);
    if (components == 0)
        return 0;
    const std::uint32_t packed = PackedPixelBytes(type);
    return packed != 0 ? packed : components * ComponentBytes(type);
}

std::int64_t ImageBytes(const PixelStore& store, std::int64_t width, std::int64_t height, std::uint32_t format,
                        std::uint32_t type)
{
    PixelStore flat = store;
    flat.imageHeight = 0;
    flat.skipImages = 0;
    return ImageBytes(flat, width, height, 1, format, type);
}

std::int64_t ImageBytes(const PixelStore& store, std::int64_t width, std::int64_t height, std::int64_t depth,
                        std::uint32_t format, std::uint32_t type)
{
    if (width <= 0 || height <= 0 || depth <= 0)
        return 0;
    const std::uint32_t pixel = PixelBytes(format, type);
    if (pixel == 0)
        return UnknownSize;
    const Wide alignment = static_cast<Wide>(store.alignment);
    const Wide rowPixels = static_cast<Wide>(store.rowLength > 0 ? store.rowLength : width);
    const Wide row = (rowPixels * pixel + alignment - 1) / alignment * alignment;
    const Wide image = row * static_cast<Wide>(store.imageHeight > 0 ? store.imageHeight : height);
    // Each factor is below 2^63 and row below 2^68, so three of them can pass 128 bits; give up long before.
    if (row > static_cast<Wide>(UnknownSize) || image > static_cast<Wide>(UnknownSize))
        return UnknownSize;
    const Wide images = static_cast<Wide>(store.skipImages) + static_cast<Wide>(depth) - 1;
    const Wide rows = static_cast<Wide>(store.skipRows) + static_cast<Wide>(height) - 1;
    const Wide pixels = static_cast<Wide>(store.skipPixels) + static_cast<Wide>(width);
    return Saturate(images * image + rows * row + pixels * pixel);
}

std::int64_t TexelBytes(std::int64_t format, std::int64_t type)
{
    const std::uint32_t bytes = PixelBytes(static_cast<std::uint32_t>(format), static_cast<std::uint32_t>(type));
    return bytes != 0 ? bytes : UnknownSize;
}

std::int64_t IndexSize(std::uint32_t type)
{
    switch (type) {
    case Enum::UnsignedByte:
        return 1;
    case Enum::UnsignedShort:
        return 2;
    case Enum::UnsignedInt:
        return 4;
    default:
        return 0;
    }
}

std::uint32_t VertexElementBytes(std::int32_t size, std::uint32_t type)
{
    switch (type) {
    case Enum::UnsignedInt2101010Rev:
    case Enum::Int2101010Rev:
    case Enum::UnsignedInt1010102Oes:
    case Enum::Int1010102Oes:
    case Enum::UnsignedInt10F11F11FRev:
        return 4;
    default:
        break;
    }
    // The BGRA extension gives the size as GL_BGRA.
    const std::uint32_t components =
        size == static_cast<std::int32_t>(Enum::Bgra) ? 4u : static_cast<std::uint32_t>(size);
    return components >= 1 && components <= 4 ? components * ComponentBytes(type) : 0;
}

std::int64_t ParameterCount(std::uint32_t pname)
{
    if (IsMatrix(pname))
        return 16;
    switch (pname) {
    case 0x92BE: // GL_PRIMITIVE_BOUNDING_BOX
        return 8;
    case 0x0B00: // GL_CURRENT_COLOR
    case 0x0B03: // GL_CURRENT_TEXTURE_COORDS
    case 0x0B53: // GL_LIGHT_MODEL_AMBIENT
    case 0x0B66: // GL_FOG_COLOR
    case 0x0BA2: // GL_VIEWPORT
    case 0x0C10: // GL_SCISSOR_BOX
    case 0x0C22: // GL_COLOR_CLEAR_VALUE
    case 0x0C23: // GL_COLOR_WRITEMASK
    case 0x1004: // GL_TEXTURE_BORDER_COLOR
    case 0x1200: // GL_AMBIENT
    case 0x1201: // GL_DIFFUSE
    case 0x1202: // GL_SPECULAR
    case 0x1203: // GL_POSITION
    case 0x1600: // GL_EMISSION
    case 0x1602: // GL_AMBIENT_AND_DIFFUSE
    case 0x2201: // GL_TEXTURE_ENV_COLOR
    case 0x8005: // GL_BLEND_COLOR
    case 0x8626: // GL_CURRENT_VERTEX_ATTRIB
    case 0x8B9D: // GL_TEXTURE_CROP_RECT_OES
    case 0x8E46: // GL_TEXTURE_SWIZZLE_RGBA
    case 0x8E74: // GL_PATCH_DEFAULT_OUTER_LEVEL
    case 0x8F12: // GL_WINDOW_RECTANGLE_EXT
        return 4;
    case 0x0B02: // GL_CURRENT_NORMAL
    case 0x1204: // GL_SPOT_DIRECTION
    case 0x8129: // GL_POINT_DISTANCE_ATTENUATION
    case 0x8267: // GL_COMPUTE_WORK_GROUP_SIZE
        return 3;
    case 0x0B12: // GL_POINT_SIZE_RANGE
    case 0x0B22: // GL_LINE_WIDTH_RANGE
    case 0x0B40: // GL_POLYGON_MODE_NV
    case 0x0B70: // GL_DEPTH_RANGE
    case 0x0D3A: // GL_MAX_VIEWPORT_DIMS
    case 0x825D: // GL_VIEWPORT_BOUNDS_RANGE_EXT
    case 0x846D: // GL_ALIASED_POINT_SIZE_RANGE
    case 0x846E: // GL_ALIASED_LINE_WIDTH_RANGE
    case 0x8E50: // GL_SAMPLE_POSITION
    case 0x8E73: // GL_PATCH_DEFAULT_INNER_LEVEL
    case 0x9381: // GL_MULTISAMPLE_LINE_WIDTH_RANGE
        return 2;
    case 0x86A3: // GL_COMPRESSED_TEXTURE_FORMATS
    case 0x86B7: // GL_SUPPORTED_MULTISAMPLE_MODES_AMD
    case 0x87FF: // GL_PROGRAM_BINARY_FORMATS
    case 0x8A43: // GL_UNIFORM_BLOCK_ACTIVE_UNIFORM_INDICES
    case 0x8DF8: // GL_SHADER_BINARY_FORMATS
    case 0x92C6: // GL_ATOMIC_COUNTER_BUFFER_ACTIVE_ATOMIC_COUNTER_INDICES
        return 0;
    default:
        return 1;
    }
}

std::int64_t ClearValues(std::uint32_t buffer)
{
    return buffer == Enum::Color ? 4 : 1;
}

} // namespace Data
