#include "Tools/Info/BitNames.h"

#include <span>

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES3/gl32.h>

#include <GLES2/gl2ext.h>

#include "Tools/Info/Notation.h"

namespace Tools {

namespace {

struct BitName {
    std::uint32_t bits;
    const char* name;
};

#define BIT(name)                                                                                                      \
    {                                                                                                                  \
        name, #name                                                                                                    \
    }

constexpr BitName bufferBits[] = {BIT(GL_COLOR_BUFFER_BIT), BIT(GL_DEPTH_BUFFER_BIT), BIT(GL_STENCIL_BUFFER_BIT)};
constexpr BitName mapBits[] = {
    BIT(GL_MAP_READ_BIT),
    BIT(GL_MAP_WRITE_BIT),
    BIT(GL_MAP_INVALIDATE_RANGE_BIT),
    BIT(GL_MAP_INVALIDATE_BUFFER_BIT),
    BIT(GL_MAP_FLUSH_EXPLICIT_BIT),
    BIT(GL_MAP_UNSYNCHRONIZED_BIT),
    BIT(GL_MAP_PERSISTENT_BIT_EXT),
    BIT(GL_MAP_COHERENT_BIT_EXT),
    BIT(GL_DYNAMIC_STORAGE_BIT_EXT),
    BIT(GL_CLIENT_STORAGE_BIT_EXT),
};
constexpr BitName shaderBits[] = {
    BIT(GL_ALL_SHADER_BITS),     BIT(GL_VERTEX_SHADER_BIT),       BIT(GL_FRAGMENT_SHADER_BIT),
    BIT(GL_GEOMETRY_SHADER_BIT), BIT(GL_TESS_CONTROL_SHADER_BIT), BIT(GL_TESS_EVALUATION_SHADER_BIT),
    BIT(GL_COMPUTE_SHADER_BIT),
};
constexpr BitName barrierBits[] = {
    BIT(GL_ALL_BARRIER_BITS),
    BIT(GL_VERTEX_ATTRIB_ARRAY_BARRIER_BIT),
    BIT(GL_ELEMENT_ARRAY_BARRIER_BIT),
    BIT(GL_UNIFORM_BARRIER_BIT),
    BIT(GL_TEXTURE_FETCH_BARRIER_BIT),
    BIT(GL_SHADER_IMAGE_ACCESS_BARRIER_BIT),
    BIT(GL_COMMAND_BARRIER_BIT),
    BIT(GL_PIXEL_BUFFER_BARRIER_BIT),
    BIT(GL_TEXTURE_UPDATE_BARRIER_BIT),
    BIT(GL_BUFFER_UPDATE_BARRIER_BIT),
    BIT(GL_FRAMEBUFFER_BARRIER_BIT),
    BIT(GL_TRANSFORM_FEEDBACK_BARRIER_BIT),
    BIT(GL_ATOMIC_COUNTER_BARRIER_BIT),
    BIT(GL_SHADER_STORAGE_BARRIER_BIT),
    BIT(GL_CLIENT_MAPPED_BUFFER_BARRIER_BIT_EXT),
};
constexpr BitName syncBits[] = {BIT(GL_SYNC_FLUSH_COMMANDS_BIT)};

#undef BIT

/// Parameters of the same name are masks of the same bits, but for `flags`.
std::span<const BitName> NamesOf(Data::CallId call, std::string_view parameter)
{
    if (parameter == "barriers")
        return barrierBits;
    if (parameter == "stages")
        return shaderBits;
    if (parameter == "access")
        return mapBits;
    if (parameter == "flags")
        return call == Data::CallId::glFenceSync || call == Data::CallId::glClientWaitSync ||
                       call == Data::CallId::glWaitSync
                   ? std::span<const BitName>(syncBits)
                   : mapBits;
    if (call == Data::CallId::glClear || call == Data::CallId::glBlitFramebuffer)
        return bufferBits;
    return {};
}

} // namespace

std::string BitsText(Data::CallId call, std::string_view parameter, std::uint32_t bits)
{
    std::string text;
    std::uint32_t left = bits;
    for (const BitName& name : NamesOf(call, parameter)) {
        if (left != 0 && (left & name.bits) == name.bits) {
            text += (text.empty() ? "" : " | ") + std::string(name.name);
            left &= ~name.bits;
        }
    }
    if (left != 0 || text.empty())
        text += (text.empty() ? "" : " | ") + HexText(left);
    return text;
}

} // namespace Tools
