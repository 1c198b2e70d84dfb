#include "Trim/Restore/DefaultContents.h"

#include <optional>

namespace Trim {

namespace {

using Data::RecordId;

/// Clears to something unlikely, so that a restore has to do its work.
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

std::optional<Transfer> TransferOf(RecordId buffer)
{
    if (buffer != RecordId::DefaultColor)
        return DepthStencilTransfer(GetInteger(GL_DEPTH_BITS), GetInteger(GL_STENCIL_BITS),
                                    buffer == RecordId::DefaultStencil);
    const bool isByte = GetInteger(GL_RED_BITS) <= 8;
    return Transfer{GL_RGBA, isByte ? GLenum{GL_UNSIGNED_BYTE} : GLenum{GL_UNSIGNED_INT_2_10_10_10_REV}};
}

/// With a trial where there is a restorer.
std::vector<DefaultContents> Read(Data::MetaHandler* restorer, std::set<std::string>& missing)
{
    const Core::EGLProcTable& egl = Core::KHRLayer::EGLProc();
    const EGLDisplay display = egl.eglGetCurrentDisplay();
    const EGLSurface surface = egl.eglGetCurrentSurface(EGL_DRAW);
    EGLint width = 0;
    EGLint height = 0;
    if (surface == EGL_NO_SURFACE || !egl.eglQuerySurface(display, surface, EGL_WIDTH, &width) ||
        !egl.eglQuerySurface(display, surface, EGL_HEIGHT, &height))
        return {};
    if (!GL().glBlitFramebuffer) {
        missing.insert("the picture, since the context has no blits");
        return {};
    }
    GL().glBindFramebuffer(GL_FRAMEBUFFER, 0);
    if (restorer)
        GL().glDisable(GL_SCISSOR_TEST);
    const PackedTransfers transfers;
    if (GL().glReadBuffer)
        GL().glReadBuffer(GL_BACK);

    struct Buffer {
        RecordId record;
        GLenum bits;
        const char* name;
    };
    constexpr Buffer Buffers[] = {{RecordId::DefaultColor, GL_RED_BITS, "colour"},
                                  {RecordId::DefaultDepth, GL_DEPTH_BITS, "depth"},
                                  {RecordId::DefaultStencil, GL_STENCIL_BITS, "stencil"}};
    std::vector<DefaultContents> all;
    for (const Buffer& buffer : Buffers) {
        const GLint bits = GetInteger(buffer.bits);
        if (bits == 0)
            continue;
        const std::string what = std::string(buffer.name) + " (" + std::to_string(bits) + " bits)";
        const std::optional<Transfer> transfer = TransferOf(buffer.record);
        DefaultContents contents{buffer.record, width, height, transfer.value_or(Transfer{}), {}};
        if (!transfer || !ReadPixels(width, height, *transfer, contents.pixels)) {
            missing.insert(what + ", which this driver does not read");
            continue;
        }
        if (!restorer) {
            if (GetInteger(GL_SAMPLES) > 1)
                missing.insert(what);
            all.push_back(std::move(contents));
            continue;
        }
        std::vector<std::uint8_t> again;
        Spoil(buffer.record);
        RestoreDefaultContents(*restorer, contents);
        if (ReadPixels(width, height, *transfer, again) && again == contents.pixels)
            all.push_back(std::move(contents));
        else
            missing.insert(what + (GetInteger(GL_SAMPLES) > 1 ? ", since the surface is multisampled"
                                                              : ", which no blit restores exactly"));
    }
    return all;
}

} // namespace

void RestoreDefaultContents(Data::MetaHandler& restorer, const DefaultContents& contents)
{
    const auto restore = contents.buffer == RecordId::DefaultColor   ? &Data::MetaHandler::ProcessDefaultColorBuffer
                         : contents.buffer == RecordId::DefaultDepth ? &Data::MetaHandler::ProcessDefaultDepthBuffer
                                                                     : &Data::MetaHandler::ProcessDefaultStencilBuffer;
    // Which display and surface does not matter to it, as long as there are some.
    (restorer.*restore)(1, 1, static_cast<std::uint32_t>(contents.width), static_cast<std::uint32_t>(contents.height),
                        contents.transfer.format, contents.transfer.type,
                        static_cast<std::uint32_t>(contents.pixels.size()), contents.pixels.data());
}

std::vector<DefaultContents> ReadDefaultContents(Data::MetaHandler& restorer, std::set<std::string>& missing)
{
    return Read(&restorer, missing);
}

std::vector<DefaultContents> ReadDefaultContents(std::set<std::string>& missing)
{
    return Read(nullptr, missing);
}

void WriteDefaultContents(Data::CaptureWriter& writer, const Current& current,
                          const std::vector<DefaultContents>& contents)
{
    for (const DefaultContents& buffer : contents)
        writer.DefaultBuffer(buffer.buffer,
                             {{},
                              current.display,
                              current.draw,
                              static_cast<std::uint32_t>(buffer.width),
                              static_cast<std::uint32_t>(buffer.height),
                              buffer.transfer.format,
                              buffer.transfer.type,
                              {}},
                             buffer.pixels.data(), static_cast<std::uint32_t>(buffer.pixels.size()));
}

} // namespace Trim
