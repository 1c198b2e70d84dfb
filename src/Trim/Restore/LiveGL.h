// Reading contents back from the live driver.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include <GLES2/gl2.h>
#include <GLES2/gl2ext.h>
#include <GLES3/gl32.h>

#include "Interfaces/GLFramebuffers.h"
#include "Replay/Driver/LiveGL.h"

namespace Trim {

using Replay::GL;

inline GLint GetInteger(GLenum name)
{
    return Core::GetInteger(GL(), name);
}

/// The driver has what reading contents needs of OpenGL ES 3.1.
inline bool CanReadContents()
{
    return GL().glGetTexLevelParameteriv && GL().glMapBufferRange && GL().glBlitFramebuffer;
}

/// A format and type of pixel transfers.
struct Transfer {
    GLenum format;
    GLenum type;
};

/// How depth or stencil of a format with these bits are read; nothing where this driver cannot.
std::optional<Transfer> DepthStencilTransfer(GLint depthBits, GLint stencilBits, bool wantsStencil);

/// Pixels move as packed rows in both directions while it lives.
struct PackedTransfers {
    Core::ContextVersion version = Core::GetVersion(GL());
    Core::PackedRows read{GL(), Core::PixelTransfer::Read, version};
    Core::PackedRows upload{GL(), Core::PixelTransfer::Upload, version};
};

/// Reads the bound framebuffer from its lower left corner, rows packed; false on an error.
bool ReadPixels(std::int32_t width, std::int32_t height, Transfer transfer, std::vector<std::uint8_t>& pixels);

} // namespace Trim
