#include "Data/BackBuffer.h"

#include <new>
#include <stdexcept>

#include "Data/Capture/Checksum.h"
#include "Data/GLEnums.h"
#include "Interfaces/GLState.h"

namespace Data {

namespace {

constexpr unsigned int Back = 0x0405;

void Read(const BackBufferFunctions& gl, Core::ContextVersion version, int width, int height, std::uint8_t* pixels)
{
    const Core::PackedRows rows(gl, Core::PixelTransfer::Read, version);
    gl.glReadPixels(0, 0, width, height, Enum::Rgba, Enum::UnsignedByte, pixels);
}

} // namespace

std::optional<std::uint64_t> HashBackBuffer(const BackBufferFunctions& gl, std::uint32_t width, std::uint32_t height,
                                            std::vector<std::uint8_t>& scratch) noexcept
{
    if (width == 0 || height == 0 || !gl.glGetString || !gl.glGetIntegerv || !gl.glPixelStorei ||
        !gl.glBindFramebuffer || !gl.glReadPixels)
        return std::nullopt;
    const Core::ContextVersion version = Core::GetVersion(gl);
    const bool isES3 = version >= 30;
    if (version == 0 || (isES3 && (!gl.glBindBuffer || !gl.glReadBuffer)))
        return std::nullopt;
    try {
        scratch.resize(std::size_t{4} * width * height);
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    } catch (const std::length_error&) {
        return std::nullopt;
    }
    const auto framebuffer =
        Core::BindScoped(gl, gl.glBindFramebuffer, isES3 ? Core::ReadFramebuffer : Core::Framebuffer, 0);
    const auto source = isES3 ? Core::ReadBufferScoped(gl, Back) : Core::ScopedState();
    Read(gl, version, static_cast<int>(width), static_cast<int>(height), scratch.data());
    return Checksum(scratch.data(), scratch.size());
}

} // namespace Data
