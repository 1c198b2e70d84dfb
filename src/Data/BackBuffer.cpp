#include "Data/BackBuffer.h"

#include <new>
#include <stdexcept>

#include "Data/Capture/Checksum.h"
#include "Data/GLEnums.h"
#include "Interfaces/GLFramebuffers.h"

namespace Data {

namespace {

constexpr unsigned int Back = 0x0405;
constexpr unsigned int ColorAttachment = 0x8CE0;
constexpr unsigned int FramebufferComplete = 0x8CD5;
constexpr std::uint64_t MaxReadBytes = std::uint64_t{1} << 31;

/// 0 where frames cannot be read.
Core::ContextVersion VersionForReading(const BackBufferFunctions& gl)
{
    if (!gl.glGetString || !gl.glGetIntegerv || !gl.glPixelStorei || !gl.glReadPixels)
        return 0;
    const Core::ContextVersion version = Core::GetVersion(gl);
    // OpenGL ES 1.1 may have the default framebuffer alone.
    if (!gl.glBindFramebuffer && !Core::IsFixedFunction(version))
        return 0;
    return version >= 30 && (!gl.glBindBuffer || !gl.glReadBuffer) ? 0 : version;
}

Core::BindingPoint ReadPoint(Core::ContextVersion version)
{
    return version >= 30 ? Core::ReadFramebuffer : Core::Framebuffer;
}

/// False without memory.
bool Read(const BackBufferFunctions& gl, Core::ContextVersion version, std::uint32_t width, std::uint32_t height,
          const Core::ColorTransfer& transfer, std::vector<std::uint8_t>& pixels)
{
    try {
        pixels.resize(std::size_t{transfer.pixelBytes} * width * height);
    } catch (const std::bad_alloc&) {
        return false;
    } catch (const std::length_error&) {
        return false;
    }
    const Core::PackedRows rows(gl, Core::PixelTransfer::Read, version);
    gl.glReadPixels(0, 0, static_cast<int>(width), static_cast<int>(height), transfer.format, transfer.type,
                    pixels.data());
    return true;
}

constexpr Core::ColorTransfer Bytes = {Enum::Rgba, Enum::UnsignedByte, 4};

} // namespace

std::optional<std::uint64_t> HashBackBuffer(const BackBufferFunctions& gl, std::uint32_t width, std::uint32_t height,
                                            std::vector<std::uint8_t>& scratch) noexcept
{
    const Core::ContextVersion version = width != 0 && height != 0 ? VersionForReading(gl) : 0;
    if (version == 0)
        return std::nullopt;
    const auto framebuffer = Core::BindScoped(gl, gl.glBindFramebuffer, ReadPoint(version), 0);
    const auto source = version >= 30 ? Core::ReadBufferScoped(gl, Back) : Core::ScopedState();
    if (!Read(gl, version, width, height, Bytes, scratch))
        return std::nullopt;
    return Checksum(scratch.data(), scratch.size());
}

std::optional<FramebufferHash> HashFramebuffer(const BackBufferFunctions& gl, std::uint32_t framebuffer,
                                               std::vector<std::uint8_t>& scratch) noexcept
{
    const Core::ContextVersion version = VersionForReading(gl);
    // Binding a name that is none would make a framebuffer of it.
    if (version == 0 || !gl.glBindFramebuffer || !gl.glGetError || !gl.glIsFramebuffer ||
        !gl.glCheckFramebufferStatus || !gl.glGetFramebufferAttachmentParameteriv || !gl.glBindTexture ||
        !gl.glBindRenderbuffer || !gl.glGetRenderbufferParameteriv || gl.glIsFramebuffer(framebuffer) == 0)
        return std::nullopt;
    Core::TakeErrors(gl);
    const Core::BindingPoint point = ReadPoint(version);
    const auto bound = Core::BindScoped(gl, gl.glBindFramebuffer, point, framebuffer);
    if (gl.glCheckFramebufferStatus(point.target) != FramebufferComplete)
        return std::nullopt;
    const Core::AttachmentStorage storage = Core::FindStorage(gl, version, point.target, ColorAttachment);
    const auto source = version >= 30 ? Core::ReadBufferScoped(gl, ColorAttachment) : Core::ScopedState();
    const Core::ColorTransfer transfer =
        version >= 30 ? Core::FindColorTransfer(gl, point.target, ColorAttachment) : Bytes;
    const auto width = static_cast<std::uint32_t>(storage.width);
    const auto height = static_cast<std::uint32_t>(storage.height);
    if (storage.width <= 0 || storage.height <= 0 ||
        std::uint64_t{width} * height > MaxReadBytes / transfer.pixelBytes ||
        !Read(gl, version, width, height, transfer, scratch) || Core::TakeErrors(gl) != 0)
        return std::nullopt;
    return FramebufferHash{width, height, Checksum(scratch.data(), scratch.size())};
}

} // namespace Data
