#include "Trim/Restore/LiveGL.h"

#include <string>

#include "Data/State/Sizes.h"

namespace Trim {

namespace {

bool HasExtension(const std::string& name)
{
    const auto* const all = reinterpret_cast<const char*>(GL().glGetString(GL_EXTENSIONS));
    return (" " + std::string(all ? all : "") + " ").find(" " + name + " ") != std::string::npos;
}

} // namespace

// OpenGL ES reads no depth by itself. Blits want the same format on both sides, so what has depth and stencil is always
// transferred as both.
std::optional<Transfer> DepthStencilTransfer(GLint depthBits, GLint stencilBits, bool wantsStencil)
{
    if (depthBits == 24 && stencilBits == 8) {
        if (HasExtension("GL_NV_read_depth_stencil"))
            return Transfer{GL_DEPTH_STENCIL, GL_UNSIGNED_INT_24_8};
    } else if (wantsStencil) {
        if (HasExtension("GL_NV_read_stencil"))
            return Transfer{GL_STENCIL_INDEX, GL_UNSIGNED_BYTE};
    } else if (HasExtension("GL_NV_read_depth")) {
        return Transfer{GL_DEPTH_COMPONENT, depthBits == 16 ? GLenum{GL_UNSIGNED_SHORT} : GLenum{GL_UNSIGNED_INT}};
    }
    return std::nullopt;
}

void SetPlainTransfers()
{
    const auto& gl = GL();
    gl.glPixelStorei(GL_PACK_ALIGNMENT, 1);
    gl.glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    if (!gl.glReadBuffer)
        return;
    gl.glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
    gl.glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
    for (const GLenum parameter : {GL_PACK_ROW_LENGTH, GL_PACK_SKIP_ROWS, GL_PACK_SKIP_PIXELS, GL_UNPACK_ROW_LENGTH,
                                   GL_UNPACK_SKIP_ROWS, GL_UNPACK_SKIP_PIXELS})
        gl.glPixelStorei(parameter, 0);
}

bool ReadPixels(std::int32_t width, std::int32_t height, Transfer transfer, std::vector<std::uint8_t>& pixels)
{
    const std::int64_t bytes = Data::ImageBytes({.alignment = 1}, width, height, transfer.format, transfer.type);
    pixels.assign(static_cast<std::size_t>(bytes), 0);
    ForgetErrors();
    GL().glReadPixels(0, 0, width, height, transfer.format, transfer.type, pixels.data());
    return GL().glGetError() == GL_NO_ERROR;
}

} // namespace Trim
