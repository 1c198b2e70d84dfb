#include "Tools/Trim/DefaultContents.h"

#include <cstring>
#include <optional>
#include <string_view>

#include <GLES2/gl2.h>
#include <GLES2/gl2ext.h>
#include <GLES3/gl32.h>

#include "Data/Sizes.h"
#include "Interfaces/Core.h"

namespace Tools::Trim {

namespace {

using Data::CallId;
using Data::RecordId;

const Core::GLESProcTable& GL()
{
    return Core::KHRLayer::GLESProc();
}

GLint GetInteger(GLenum name)
{
    GLint value = 0;
    GL().glGetIntegerv(name, &value);
    return value;
}

bool HasExtension(std::string_view name)
{
    const auto* const all = reinterpret_cast<const char*>(GL().glGetString(GL_EXTENSIONS));
    const std::string list = " " + std::string(all ? all : "") + " ";
    return list.find(" " + std::string(name) + " ") != std::string::npos;
}

struct Transfer {
    GLenum format;
    GLenum type;
};

std::optional<Transfer> ColorTransfer()
{
    if (GetInteger(GL_RED_BITS) == 0)
        return std::nullopt;
    if (GetInteger(GL_RED_BITS) <= 8)
        return Transfer{GL_RGBA, GL_UNSIGNED_BYTE};
    return Transfer{GL_RGBA, GL_UNSIGNED_INT_2_10_10_10_REV};
}

// OpenGL ES reads no depth by itself. Blits want the same format on both sides, which is why a surface with both is read
// as both: depth and stencil then are two restores from the same pixels.

std::optional<Transfer> DepthTransfer()
{
    const GLint bits = GetInteger(GL_DEPTH_BITS);
    if (bits == 24 && GetInteger(GL_STENCIL_BITS) == 8)
        return HasExtension("GL_NV_read_depth_stencil") ? std::optional(Transfer{GL_DEPTH_STENCIL, GL_UNSIGNED_INT_24_8})
                                                        : std::nullopt;
    if (!HasExtension("GL_NV_read_depth"))
        return std::nullopt;
    return Transfer{GL_DEPTH_COMPONENT, bits == 16 ? GLenum{GL_UNSIGNED_SHORT} : GLenum{GL_UNSIGNED_INT}};
}

std::optional<Transfer> StencilTransfer()
{
    if (GetInteger(GL_DEPTH_BITS) == 24)
        return DepthTransfer();
    return HasExtension("GL_NV_read_stencil") ? std::optional(Transfer{GL_STENCIL_INDEX, GL_UNSIGNED_BYTE})
                                              : std::nullopt;
}

/// The back buffer and nothing else, whole and packed.
void ReachDefaultFramebuffer()
{
    const auto& gl = GL();
    gl.glBindFramebuffer(GL_FRAMEBUFFER, 0);
    gl.glDisable(GL_SCISSOR_TEST);
    gl.glPixelStorei(GL_PACK_ALIGNMENT, 1);
    if (!gl.glReadBuffer)
        return;
    gl.glReadBuffer(GL_BACK);
    gl.glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
    gl.glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
    for (const GLenum parameter : {GL_PACK_ROW_LENGTH, GL_PACK_SKIP_ROWS, GL_PACK_SKIP_PIXELS, GL_UNPACK_ROW_LENGTH,
                                   GL_UNPACK_SKIP_ROWS, GL_UNPACK_SKIP_PIXELS})
        gl.glPixelStorei(parameter, 0);
}

bool Read(BufferContents& contents)
{
    const auto& gl = GL();
    const std::int64_t bytes =
        Data::ImageBytes({.alignment = 1}, contents.width, contents.height, contents.format, contents.type);
    contents.pixels.assign(static_cast<std::size_t>(bytes), 0);
    while (gl.glGetError() != GL_NO_ERROR) {
    }
    gl.glReadPixels(0, 0, static_cast<GLsizei>(contents.width), static_cast<GLsizei>(contents.height), contents.format,
                    contents.type, contents.pixels.data());
    return gl.glGetError() == GL_NO_ERROR;
}

void Restore(Data::MetaHandler& restorer, const BufferContents& contents)
{
    const auto restore = contents.buffer == RecordId::DefaultColor   ? &Data::MetaHandler::ProcessDefaultColorBuffer
                         : contents.buffer == RecordId::DefaultDepth ? &Data::MetaHandler::ProcessDefaultDepthBuffer
                                                                     : &Data::MetaHandler::ProcessDefaultStencilBuffer;
    (restorer.*restore)(1, 1, contents.width, contents.height, contents.format, contents.type,
                        static_cast<std::uint32_t>(contents.pixels.size()), contents.pixels.data());
}

/// Something else than what is there, to see that a restore does its work.
void Spoil(RecordId buffer)
{
    const auto& gl = GL();
    gl.glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
    gl.glDepthMask(GL_TRUE);
    gl.glStencilMask(0xFF);
    gl.glDisable(GL_RASTERIZER_DISCARD);
    gl.glClearColor(0.25F, 0.5F, 0.75F, 0.125F);
    gl.glClearDepthf(0.3F);
    gl.glClearStencil(0x5A);
    gl.glClear(buffer == RecordId::DefaultColor   ? GL_COLOR_BUFFER_BIT
               : buffer == RecordId::DefaultDepth ? GL_DEPTH_BUFFER_BIT
                                                  : GL_STENCIL_BUFFER_BIT);
}

} // namespace

std::vector<BufferContents> ReadDefaultFramebuffer(Data::MetaHandler& restorer, std::set<std::string>& missing)
{
    const Core::EGLProcTable& egl = Core::KHRLayer::EGLProc();
    const EGLDisplay display = egl.eglGetCurrentDisplay();
    const EGLSurface surface = egl.eglGetCurrentSurface(EGL_DRAW);
    EGLint width = 0;
    EGLint height = 0;
    if (!egl.eglQuerySurface(display, surface, EGL_WIDTH, &width) ||
        !egl.eglQuerySurface(display, surface, EGL_HEIGHT, &height))
        return {};
    ReachDefaultFramebuffer();

    struct Buffer {
        RecordId record;
        GLint bits;
        const char* name;
        std::optional<Transfer> (*transfer)();
    };
    const Buffer buffers[] = {{RecordId::DefaultColor, GetInteger(GL_RED_BITS), "colour", ColorTransfer},
                              {RecordId::DefaultDepth, GetInteger(GL_DEPTH_BITS), "depth", DepthTransfer},
                              {RecordId::DefaultStencil, GetInteger(GL_STENCIL_BITS), "stencil", StencilTransfer}};
    std::vector<BufferContents> all;
    for (const Buffer& buffer : buffers) {
        if (buffer.bits == 0)
            continue;
        const std::optional<Transfer> transfer = buffer.transfer();
        BufferContents contents{buffer.record, static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height),
                                transfer ? transfer->format : 0, transfer ? transfer->type : 0, {}};
        if (!transfer || !Read(contents)) {
            missing.insert(std::string(buffer.name) + ", which this driver cannot read");
            continue;
        }
        BufferContents again = contents;
        Spoil(buffer.record);
        Restore(restorer, contents);
        if (Read(again) && again.pixels == contents.pixels)
            all.push_back(std::move(contents));
        else
            missing.insert(std::string(buffer.name) + ", which no blit restores exactly" +
                           (GetInteger(GL_SAMPLES) > 1 ? ", since the surface is multisampled" : ""));
    }
    return all;
}

void WriteDefaultFramebuffer(RecordOutput& output, StateTracker& tracker, const Current& current,
                             const std::vector<BufferContents>& contents)
{
    const ContextState* const context = tracker.FindContext(current.context);
    if (!context || contents.empty())
        return;
    StateSlots& slots = tracker.Slots();
    const auto value = [&](Piece piece, std::uint32_t first = 0, std::uint32_t second = 0) {
        return slots.Value(slots.At(context->owner, piece, first, second));
    };
    const auto name = [&](Owner owner) { return tracker.Object(owner).name; };
    const auto setting = [&](CallId call, std::uint32_t key) {
        return value(Piece::Setting, static_cast<std::uint32_t>(call), key);
    };
    constexpr std::uint32_t unpack[] = {GL_UNPACK_ROW_LENGTH, GL_UNPACK_SKIP_ROWS, GL_UNPACK_SKIP_PIXELS};

    const Owner drawn = value(Piece::DrawFramebuffer);
    const Owner read = value(Piece::ReadFramebuffer);
    const Owner unpackBuffer = value(Piece::BufferBinding, GL_PIXEL_UNPACK_BUFFER);
    const bool isScissored = setting(CallId::glEnable, GL_SCISSOR_TEST) != 0;
    if (drawn != 0)
        output.WriteCall(CallId::glBindFramebuffer, {GL_DRAW_FRAMEBUFFER, 0});
    if (unpackBuffer != 0)
        output.WriteCall(CallId::glBindBuffer, {GL_PIXEL_UNPACK_BUFFER, 0});
    if (isScissored)
        output.WriteCall(CallId::glDisable, {GL_SCISSOR_TEST});
    for (const std::uint32_t parameter : unpack) {
        if (setting(CallId::glPixelStorei, parameter) != 0)
            output.WriteCall(CallId::glPixelStorei, {parameter, 0});
    }

    for (const BufferContents& buffer : contents)
        output.Writer().DefaultBuffer(buffer.buffer,
                                      {{},
                                       current.display,
                                       current.draw,
                                       buffer.width,
                                       buffer.height,
                                       buffer.format,
                                       buffer.type,
                                       {}},
                                      buffer.pixels.data(), static_cast<std::uint32_t>(buffer.pixels.size()));

    for (const std::uint32_t parameter : unpack) {
        if (const std::uint32_t pixels = setting(CallId::glPixelStorei, parameter))
            output.WriteCall(CallId::glPixelStorei, {parameter, pixels});
    }
    if (isScissored)
        output.WriteCall(CallId::glEnable, {GL_SCISSOR_TEST});
    if (unpackBuffer != 0)
        output.WriteCall(CallId::glBindBuffer, {GL_PIXEL_UNPACK_BUFFER, name(unpackBuffer)});
    if (drawn != 0 && drawn == read)
        output.WriteCall(CallId::glBindFramebuffer, {GL_FRAMEBUFFER, name(drawn)});
    else if (drawn != 0)
        output.WriteCall(CallId::glBindFramebuffer, {GL_DRAW_FRAMEBUFFER, name(drawn)});
}

} // namespace Tools::Trim
