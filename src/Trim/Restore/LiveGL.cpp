#include "Trim/Restore/LiveGL.h"

#include "Data/State/Sizes.h"

namespace Trim {

// OpenGL ES reads no depth by itself. Blits want the same format on both sides, so what has depth and stencil is always
// transferred as both.
std::optional<Transfer> DepthStencilTransfer(GLint depthBits, GLint stencilBits, bool wantsStencil)
{
    if (depthBits == 24 && stencilBits == 8) {
        if (Core::HasExtension(GL(), "GL_NV_read_depth_stencil"))
            return Transfer{GL_DEPTH_STENCIL, GL_UNSIGNED_INT_24_8};
    } else if (wantsStencil) {
        if (Core::HasExtension(GL(), "GL_NV_read_stencil"))
            return Transfer{GL_STENCIL_INDEX, GL_UNSIGNED_BYTE};
    } else if (Core::HasExtension(GL(), "GL_NV_read_depth")) {
        return Transfer{GL_DEPTH_COMPONENT, depthBits == 16 ? GLenum{GL_UNSIGNED_SHORT} : GLenum{GL_UNSIGNED_INT}};
    }
    return std::nullopt;
}

bool ReadPixels(std::int32_t width, std::int32_t height, Transfer transfer, std::vector<std::uint8_t>& pixels)
{
    const std::int64_t bytes = Data::ImageBytes({.alignment = 1}, width, height, transfer.format, transfer.type);
    pixels.assign(static_cast<std::size_t>(bytes), 0);
    Core::TakeErrors(GL());
    GL().glReadPixels(0, 0, width, height, transfer.format, transfer.type, pixels.data());
    return GL().glGetError() == GL_NO_ERROR;
}

} // namespace Trim
