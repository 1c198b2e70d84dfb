#include "Recorder/Images/DmaBuf.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>

#include <fcntl.h>
#include <linux/dma-buf.h>
#include <linux/magic.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/vfs.h>

namespace Recorder {
namespace {

/// DRM_FORMAT_MOD_INVALID of drm_fourcc.h.
constexpr std::uint64_t NoModifier = 0x00FFFFFFFFFFFFFF;

/// fourcc_code of drm_fourcc.h.
constexpr std::uint32_t FourCC(const char (&code)[5])
{
    std::uint32_t value = 0;
    for (int i = 0; i < 4; ++i)
        value |= static_cast<std::uint32_t>(static_cast<unsigned char>(code[i])) << 8 * i;
    return value;
}

void Same(const std::uint8_t* rgba, std::uint8_t* pixel)
{
    std::copy_n(rgba, 4, pixel);
}

void BlueFirst(const std::uint8_t* rgba, std::uint8_t* pixel)
{
    const std::uint8_t bgra[] = {rgba[2], rgba[1], rgba[0], rgba[3]};
    std::copy_n(bgra, 4, pixel);
}

void Red(const std::uint8_t* rgba, std::uint8_t* pixel)
{
    *pixel = rgba[0];
}

void RedGreen(const std::uint8_t* rgba, std::uint8_t* pixel)
{
    std::copy_n(rgba, 2, pixel);
}

void FiveSixFive(const std::uint8_t* rgba, std::uint8_t* pixel)
{
    // A driver expands 5 and 6 bits so that the upper ones are as they were.
    const std::uint32_t value = (rgba[0] >> 3) << 11 | (rgba[1] >> 2) << 5 | rgba[2] >> 3;
    pixel[0] = static_cast<std::uint8_t>(value);
    pixel[1] = static_cast<std::uint8_t>(value >> 8);
}

constexpr PixelFormat Formats[] = {
    {FourCC("AB24"), 28, 4, Same},      {FourCC("XB24"), 507, 4, Same},       {FourCC("AR24"), 87, 4, BlueFirst},
    {FourCC("XR24"), 88, 4, BlueFirst}, {FourCC("RG16"), 85, 2, FiveSixFive}, {FourCC("R8  "), 61, 1, Red},
    {FourCC("GR88"), 49, 2, RedGreen},  {FourCC("AB30"), 24, 4, nullptr},     {FourCC("AB4H"), 10, 8, nullptr},
};

/// While it lives, what is read from a dma-buf is what was written to it before.
class ReadAccess {
public:
    explicit ReadAccess(int descriptor) : m_descriptor(descriptor) { Sync(DMA_BUF_SYNC_START | DMA_BUF_SYNC_READ); }
    ~ReadAccess() { Sync(DMA_BUF_SYNC_END | DMA_BUF_SYNC_READ); }
    ReadAccess(const ReadAccess&) = delete;
    ReadAccess& operator=(const ReadAccess&) = delete;

private:
    void Sync(std::uint64_t flags) const
    {
        dma_buf_sync sync = {flags};
        while (m_descriptor >= 0 && ioctl(m_descriptor, DMA_BUF_IOCTL_SYNC, &sync) != 0)
            if (errno != EINTR && errno != EAGAIN)
                return;
    }

    const int m_descriptor;
};

} // namespace

const PixelFormat rgbaFormat = {FourCC("AB24"), 28, 4, Same};

const PixelFormat* FindPixelFormat(std::uint32_t fourcc)
{
    const auto* const found = std::ranges::find(Formats, fourcc, &PixelFormat::fourcc);
    return found != std::end(Formats) ? found : nullptr;
}

std::optional<DmaBufDescription> DmaBufDescription::Of(const EGLint* attribs)
{
    DmaBufDescription result;
    result.modifier = NoModifier;
    for (; attribs != nullptr && attribs[0] != EGL_NONE; attribs += 2) {
        const auto value = static_cast<std::uint32_t>(attribs[1]);
        switch (attribs[0]) {
        case EGL_WIDTH:
            result.width = value;
            break;
        case EGL_HEIGHT:
            result.height = value;
            break;
        case EGL_LINUX_DRM_FOURCC_EXT:
            result.fourcc = value;
            break;
        case EGL_DMA_BUF_PLANE0_FD_EXT:
            result.descriptor = attribs[1];
            break;
        case EGL_DMA_BUF_PLANE0_OFFSET_EXT:
            result.offset = value;
            break;
        case EGL_DMA_BUF_PLANE0_PITCH_EXT:
            result.pitch = value;
            break;
        case EGL_DMA_BUF_PLANE0_MODIFIER_LO_EXT:
            result.modifier = (result.modifier & ~std::uint64_t{0xFFFFFFFF}) | value;
            break;
        case EGL_DMA_BUF_PLANE0_MODIFIER_HI_EXT:
            result.modifier = (result.modifier & 0xFFFFFFFF) | std::uint64_t{value} << 32;
            break;
        default:
            break;
        }
    }
    constexpr std::uint32_t LargestSide = 1 << 16;
    const bool isImage = result.width - 1 < LargestSide && result.height - 1 < LargestSide && result.descriptor >= 0;
    return isImage ? std::optional(result) : std::nullopt;
}

bool MappedPlane::IsDmaBuf(int descriptor)
{
    struct statfs system = {};
    return fstatfs(descriptor, &system) == 0 && static_cast<std::uint32_t>(system.f_type) == DMA_BUF_MAGIC;
}

/// Without a modifier the layout of a dma-buf is known to drivers alone; other memory is linear.
MappedPlane::MappedPlane(const DmaBufDescription& description, std::uint32_t pixelBytes)
    : m_description(description), m_rowBytes(description.width * pixelBytes),
      m_isDmaBuf(IsDmaBuf(description.descriptor))
{
    constexpr std::uint64_t Linear = 0; // DRM_FORMAT_MOD_LINEAR
    const bool isLinear = description.modifier == Linear || (description.modifier == NoModifier && !m_isDmaBuf);
    struct stat file = {};
    if (!isLinear || pixelBytes == 0 || description.pitch < m_rowBytes || fstat(description.descriptor, &file) != 0)
        return;
    const std::uint64_t end =
        description.offset + std::uint64_t{description.pitch} * (description.height - 1) + m_rowBytes;
    if (file.st_size < 0 || static_cast<std::uint64_t>(file.st_size) < end)
        return;
    void* const base = mmap(nullptr, end, PROT_READ, MAP_SHARED, description.descriptor, 0);
    if (base == MAP_FAILED)
        return;
    m_base = static_cast<const std::uint8_t*>(base);
    m_bytes = end;
    m_device = file.st_dev;
    m_file = file.st_ino;
}

MappedPlane::~MappedPlane()
{
    if (m_base != nullptr)
        munmap(const_cast<std::uint8_t*>(m_base), m_bytes);
}

bool MappedPlane::IsOpen() const
{
    struct stat file = {};
    return fstat(m_description.descriptor, &file) == 0 && file.st_dev == m_device && file.st_ino == m_file;
}

void MappedPlane::Read(std::vector<std::uint8_t>& rows) const
{
    const ReadAccess access(m_isDmaBuf && IsOpen() ? m_description.descriptor : -1);
    rows.resize(std::size_t{m_rowBytes} * m_description.height);
    for (std::size_t row = 0; row < m_description.height; ++row)
        std::memcpy(rows.data() + row * m_rowBytes, m_base + m_description.offset + row * m_description.pitch,
                    m_rowBytes);
}

} // namespace Recorder
