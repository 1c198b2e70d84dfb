#include "Tools/Info/BitNames.h"

#include <span>

#include "Tools/Info/Notation.h"

namespace Tools {

namespace {

struct BitName {
    std::uint32_t bits;
    const char* name;
};

// Values of the Khronos headers GLES3/gl32.h and GLES2/gl2ext.h, which the tools do without.

constexpr BitName BufferBits[] = {
    {0x00004000, "GL_COLOR_BUFFER_BIT"}, {0x00000100, "GL_DEPTH_BUFFER_BIT"}, {0x00000400, "GL_STENCIL_BUFFER_BIT"}};
constexpr BitName MapBits[] = {
    {0x0001, "GL_MAP_READ_BIT"},
    {0x0002, "GL_MAP_WRITE_BIT"},
    {0x0004, "GL_MAP_INVALIDATE_RANGE_BIT"},
    {0x0008, "GL_MAP_INVALIDATE_BUFFER_BIT"},
    {0x0010, "GL_MAP_FLUSH_EXPLICIT_BIT"},
    {0x0020, "GL_MAP_UNSYNCHRONIZED_BIT"},
    {0x0040, "GL_MAP_PERSISTENT_BIT_EXT"},
    {0x0080, "GL_MAP_COHERENT_BIT_EXT"},
    {0x0100, "GL_DYNAMIC_STORAGE_BIT_EXT"},
    {0x0200, "GL_CLIENT_STORAGE_BIT_EXT"},
};
constexpr BitName ShaderBits[] = {
    {0xffffffff, "GL_ALL_SHADER_BITS"},         {0x00000001, "GL_VERTEX_SHADER_BIT"},
    {0x00000002, "GL_FRAGMENT_SHADER_BIT"},     {0x00000004, "GL_GEOMETRY_SHADER_BIT"},
    {0x00000008, "GL_TESS_CONTROL_SHADER_BIT"}, {0x00000010, "GL_TESS_EVALUATION_SHADER_BIT"},
    {0x00000020, "GL_COMPUTE_SHADER_BIT"},
};
constexpr BitName BarrierBits[] = {
    {0xffffffff, "GL_ALL_BARRIER_BITS"},
    {0x00000001, "GL_VERTEX_ATTRIB_ARRAY_BARRIER_BIT"},
    {0x00000002, "GL_ELEMENT_ARRAY_BARRIER_BIT"},
    {0x00000004, "GL_UNIFORM_BARRIER_BIT"},
    {0x00000008, "GL_TEXTURE_FETCH_BARRIER_BIT"},
    {0x00000020, "GL_SHADER_IMAGE_ACCESS_BARRIER_BIT"},
    {0x00000040, "GL_COMMAND_BARRIER_BIT"},
    {0x00000080, "GL_PIXEL_BUFFER_BARRIER_BIT"},
    {0x00000100, "GL_TEXTURE_UPDATE_BARRIER_BIT"},
    {0x00000200, "GL_BUFFER_UPDATE_BARRIER_BIT"},
    {0x00000400, "GL_FRAMEBUFFER_BARRIER_BIT"},
    {0x00000800, "GL_TRANSFORM_FEEDBACK_BARRIER_BIT"},
    {0x00001000, "GL_ATOMIC_COUNTER_BARRIER_BIT"},
    {0x00002000, "GL_SHADER_STORAGE_BARRIER_BIT"},
    {0x00004000, "GL_CLIENT_MAPPED_BUFFER_BARRIER_BIT_EXT"},
};
constexpr BitName SyncBits[] = {{0x00000001, "GL_SYNC_FLUSH_COMMANDS_BIT"}};

/// Parameters of the same name are masks of the same bits, but for `flags`.
std::span<const BitName> NamesOf(Data::CallId call, std::string_view parameter)
{
    if (parameter == "barriers")
        return BarrierBits;
    if (parameter == "stages")
        return ShaderBits;
    if (parameter == "access")
        return MapBits;
    if (parameter == "flags")
        return call == Data::CallId::glFenceSync || call == Data::CallId::glClientWaitSync ||
                       call == Data::CallId::glWaitSync
                   ? std::span<const BitName>(SyncBits)
                   : MapBits;
    if (call == Data::CallId::glClear || call == Data::CallId::glBlitFramebuffer)
        return BufferBits;
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
