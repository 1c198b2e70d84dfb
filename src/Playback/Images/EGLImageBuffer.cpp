#include "Playback/Images/EGLImageBuffer.h"

#include <algorithm>
#include <cstring>

#include <EGL/egl.h>
#include <EGL/eglext.h>

#include "Playback/Calls/LiveCall.h"
#include "Playback/Calls/Result.h"
#include "Playback/Images/EGLImageFormats.h"

namespace Playback {

namespace {

constexpr const char* File = "src/Playback/EGLImageBuffer";

/// EGL_TAVO_create_image: the target, and the attribute that takes the format.
constexpr EGLenum ImageTarget = 0x3120;
constexpr EGLint ImageFormatAttrib = 0x3121;
/// EGL_TAVO_create_image: row pitch in bytes and address of each plane of a locked image.
constexpr EGLint PitchAttrib[] = {0x32B1, 0x32B2, 0x32B3};
constexpr EGLint PointerAttrib[] = {0x32BD, 0x32BE, 0x32BF};

void IgnoreReference(ANativeBase*) {}

enum class When { Always, OnError };

/// The calling operation's line for the log: always, or when the driver has an error to tell. Returns ResultFailed.
unsigned int ReportFailure(const char* operation, When when, int line)
{
    const EGLint error = LiveEGL.eglGetError();
    if (when == When::Always || error != EGL_SUCCESS) {
        Core::Log::Print(Core::LogDiagnostic, Core::ZoneGeneral, line, File, true,
                         "EGLImageBuffer::%s failed with error %s", operation,
                         Core::LogFormat::GetEGLEnumString(static_cast<unsigned int>(error)).c_str());
    }
    return ResultFailed;
}

unsigned int ReportUnknownFormat(unsigned int format, int line)
{
    Core::Log::Print(Core::LogError, Core::ZoneGeneral, line, File, true, "Unrecognized EGLImage KVT format %d",
                     static_cast<int>(format));
    return 0;
}

} // namespace

EGLImageBuffer::EGLImageBuffer() : m_nativeBuffer{}
{
    m_nativeBuffer.common.magic = ANativeWindowBuffer::Magic;
    m_nativeBuffer.common.version = ANativeWindowBuffer::Version;
    m_nativeBuffer.common.incRef = IgnoreReference;
    m_nativeBuffer.common.decRef = IgnoreReference;
}

EGLImageBuffer::~EGLImageBuffer()
{
    if (m_nativeBuffer.handle)
        FreeBuffer();
}

unsigned int EGLImageBuffer::AllocateBuffer(void* display, const Data::EGLImageData& data)
{
    const unsigned int result = AllocateTavoBuffer(display, data);
    if (result != ResultSuccess)
        return result;
    m_bpp = data.bpp;
    m_format = data.format;
    m_nativeBuffer.width = static_cast<std::int32_t>(data.width);
    m_nativeBuffer.height = static_cast<std::int32_t>(data.height);
    ForgetPlanes();
    return ResultSuccess;
}

unsigned int EGLImageBuffer::AllocateTavoBuffer(void* display, const Data::EGLImageData& data)
{
    if (m_image)
        return ResultAlreadyExists;
    if (!LiveEGLExt.eglCreateImageKHR || !LiveEGL.eglGetError)
        return ResultUnavailable;
    if (!display)
        return ResultInvalidArgument;
    const EGLint attribs[] = {
        EGL_WIDTH,         static_cast<EGLint>(data.width),
        EGL_HEIGHT,        static_cast<EGLint>(data.height),
        ImageFormatAttrib, static_cast<EGLint>(GetTavoImageFormat(data.format)),
        EGL_NONE,
    };
    void* image = LiveEGLExt.eglCreateImageKHR(display, EGL_NO_CONTEXT, ImageTarget, nullptr, attribs);
    if (!image)
        return ReportFailure("AllocateTavoBuffer", When::OnError, __LINE__);
    m_image = image;
    m_display = display;
    return ResultSuccess;
}

unsigned int EGLImageBuffer::FreeBuffer()
{
    const unsigned int result = FreeTavoBuffer();
    m_bpp = 0;
    m_format = 0;
    m_image = nullptr;
    ForgetPlanes();
    return result;
}

unsigned int EGLImageBuffer::FreeTavoBuffer()
{
    if (!m_display || !m_image)
        return ResultMissing;
    if (!LiveEGLExt.eglDestroyImageKHR || !LiveEGL.eglGetError)
        return ResultUnavailable;
    if (!LiveEGLExt.eglDestroyImageKHR(m_display, m_image))
        return ReportFailure("FreeTavoBuffer", When::Always, __LINE__);
    return ResultSuccess;
}

void EGLImageBuffer::ForgetPlanes()
{
    m_planeCount = 0;
    m_strides.clear();
    m_sizes.clear();
    m_offsets.clear();
}

unsigned int EGLImageBuffer::SetImageData(const Data::EGLImageData& data)
{
    if (data.planeCount == 0 || !data.planes)
        return ResultInvalidArgument;
    const unsigned int result = ValidateImageData(data);
    return result == ResultSuccess ? SetImageDataTavo(data) : result;
}

unsigned int EGLImageBuffer::ValidateImageData(const Data::EGLImageData& data)
{
    const auto width = static_cast<std::int32_t>(data.width);
    const auto height = static_cast<std::int32_t>(data.height);
    if (width != m_nativeBuffer.width || height != m_nativeBuffer.height || data.bpp != m_bpp ||
        data.format != m_format) {
        PLAYBACK_LOG(Warning, General, File,
                     "Reallocating EGLImage client buffer with width=%d->%d, height=%d->%d, bpp=%d->%d, "
                     "format=%d->%d",
                     m_nativeBuffer.width, width, m_nativeBuffer.height, height, static_cast<int>(m_bpp),
                     static_cast<int>(data.bpp), static_cast<int>(m_format), static_cast<int>(data.format));
        FreeBuffer();
        const unsigned int result = AllocateBuffer(m_display, data);
        if (result != ResultSuccess)
            return result;
    }
    if (m_planeCount == 0) {
        m_planeCount = data.planeCount;
        for (std::uint32_t i = 0; i < data.planeCount; ++i) {
            m_strides.push_back(data.planes[i].stride);
            m_sizes.push_back(data.planes[i].size);
            m_offsets.push_back(data.planes[i].offset);
        }
        return ResultSuccess;
    }
    if (data.planeCount != m_planeCount)
        return ResultInvalidArgument;
    for (std::uint32_t i = 0; i < m_planeCount; ++i) {
        const auto& plane = data.planes[i];
        if (!plane.data || plane.offset != m_offsets[i] || plane.stride == 0 || plane.stride != m_strides[i] ||
            plane.size == 0 || plane.size != m_sizes[i])
            return ResultInvalidArgument;
    }
    return ResultSuccess;
}

unsigned int EGLImageBuffer::SetImageDataTavo(const Data::EGLImageData& data)
{
    if (data.planeCount > MaxPlanes)
        return ResultInvalidArgument;
    if (!m_display || !m_image)
        return ResultMissing;
    if (!LiveEGLExt.eglLockImageTAVO || !LiveEGLExt.eglUnlockImageTAVO || !LiveEGLExt.eglQueryImageTAVO ||
        !LiveEGLExt.eglQueryImage64TAVO || !LiveEGL.eglGetError)
        return ResultUnavailable;
    const EGLint lockAttribs[] = {
        EGL_MAP_PRESERVE_PIXELS_KHR, EGL_FALSE, EGL_IMAGE_PRESERVED_KHR, EGL_FALSE, EGL_LOCK_USAGE_HINT_KHR,
        EGL_WRITE_SURFACE_BIT_KHR,   EGL_NONE,
    };
    if (!LiveEGLExt.eglLockImageTAVO(m_display, m_image, lockAttribs))
        return ReportFailure("SetImageDataTavo", When::OnError, __LINE__);
    for (std::uint32_t i = 0; i < data.planeCount; ++i)
        CopyPlane(data.planes[i], i);
    LiveEGLExt.eglUnlockImageTAVO(m_display, m_image);
    return ResultSuccess;
}

/// Row by row where the live rows are longer or shorter than the captured ones. The plane's bytes are taken to fit the
/// image; whoever reads the capture checks that.
void EGLImageBuffer::CopyPlane(const Data::EGLImagePlane& plane, unsigned int index) const
{
    EGLint pitch = 0;
    EGLAttribKHR address = 0;
    LiveEGLExt.eglQueryImageTAVO(m_display, m_image, PitchAttrib[index], &pitch);
    LiveEGLExt.eglQueryImage64TAVO(m_display, m_image, PointerAttrib[index], &address);
    if (!plane.data || pitch <= 0 || address == 0)
        return;
    auto* target = reinterpret_cast<unsigned char*>(address);
    const auto livePitch = static_cast<std::uint32_t>(pitch);
    if (plane.stride == livePitch) {
        std::memcpy(target, plane.data, plane.size);
        return;
    }
    const std::uint64_t rows = plane.stride ? plane.size / plane.stride : 0;
    const std::uint8_t* source = plane.data;
    for (std::uint64_t row = 0; row < rows; ++row) {
        std::memcpy(target, source, std::min(livePitch, plane.stride));
        target += livePitch;
        source += plane.stride;
    }
}

unsigned int EGLImageBuffer::GetGrallocFormat(unsigned int format)
{
    const auto found = FindEGLImageFormat(format);
    return found && found->gralloc ? found->gralloc : ReportUnknownFormat(format, __LINE__);
}

unsigned int EGLImageBuffer::GetTavoImageFormat(unsigned int format)
{
    const auto found = FindEGLImageFormat(format);
    return found && found->tavo ? found->tavo : ReportUnknownFormat(format, __LINE__);
}

} // namespace Playback
