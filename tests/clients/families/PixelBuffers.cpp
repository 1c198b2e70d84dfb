// Pixels that go to the driver and come back: through buffers, through memory, and in parts of larger images.

#include <array>
#include <cstring>

#include "Families.h"

namespace {

constexpr int Side = 64;
constexpr GLsizeiptr PictureBytes = Side * Side * 4;

/// What the program does with the pixels it has read: it shows them.
void ShowPixels(GLuint texture, const void* pixels, GLenum format, GLenum type)
{
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexImage2D(GL_TEXTURE_2D, 0, format == GL_RGBA && type == GL_FLOAT ? GL_RGBA16F : GL_RGBA, Side, Side, 0, format,
                 type, pixels);
    DrawQuad(PictureProgram());
}

} // namespace

FAMILY("pixel-buffers", stage)
{
    const GLuint streamed = MakeStorage(Side);
    const GLuint shown = MakeTexture(GL_TEXTURE_2D);
    const GLuint upload = MakeBuffer(GL_PIXEL_UNPACK_BUFFER, PictureBytes, nullptr);
    glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
    std::array<GLuint, 2> readBacks = {MakeBuffer(GL_PIXEL_PACK_BUFFER, PictureBytes, nullptr),
                                       MakeBuffer(GL_PIXEL_PACK_BUFFER, PictureBytes, nullptr)};
    glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
    const GLuint framebuffer = MakeFramebuffer(MakeStorage(Side, GL_RGBA16F));
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    glEnableVertexAttribArray(0);
    for (int frame = 1; frame <= FrameCount; ++frame) {
        glClear(GL_COLOR_BUFFER_BIT);

        // New pixels by way of a buffer; only a part of them goes to the texture.
        Quarter(0);
        glBindBuffer(GL_PIXEL_UNPACK_BUFFER, upload);
        void* const memory =
            glMapBufferRange(GL_PIXEL_UNPACK_BUFFER, 0, PictureBytes, GL_MAP_WRITE_BIT | GL_MAP_INVALIDATE_BUFFER_BIT);
        std::memcpy(memory, Pattern(Side, Side, 2 * frame).data(), PictureBytes);
        glUnmapBuffer(GL_PIXEL_UNPACK_BUFFER);
        glPixelStorei(GL_UNPACK_ROW_LENGTH, Side);
        glBindTexture(GL_TEXTURE_2D, streamed);
        glTexSubImage2D(GL_TEXTURE_2D, 0, frame, 3, Side / 2, Side / 2, GL_RGBA, GL_UNSIGNED_BYTE,
                        At(4 * (Side * 5 + 7)));
        glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
        glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
        DrawQuad(PictureProgram());

        // Read back without waiting: the buffer of the frame before is looked at.
        Quarter(1);
        glBindBuffer(GL_PIXEL_PACK_BUFFER, readBacks[0]);
        glReadPixels(20, 20, Side, Side, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
        std::swap(readBacks[0], readBacks[1]);
        glBindBuffer(GL_PIXEL_PACK_BUFFER, readBacks[frame == 1 ? 1 : 0]);
        const void* const before = glMapBufferRange(GL_PIXEL_PACK_BUFFER, 0, PictureBytes, GL_MAP_READ_BIT);
        ShowPixels(shown, before, GL_RGBA, GL_UNSIGNED_BYTE);
        glUnmapBuffer(GL_PIXEL_PACK_BUFFER);
        glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);

        // Read back into the middle of a larger picture in memory.
        Quarter(2);
        std::vector<std::uint8_t> picture = Pattern(Side, Side, -frame);
        glPixelStorei(GL_PACK_ROW_LENGTH, Side);
        glPixelStorei(GL_PACK_SKIP_PIXELS, 10);
        glPixelStorei(GL_PACK_SKIP_ROWS, 12);
        glReadPixels(30, 30, 33, 31, GL_RGBA, GL_UNSIGNED_BYTE, picture.data());
        glPixelStorei(GL_PACK_ROW_LENGTH, 0);
        glPixelStorei(GL_PACK_SKIP_PIXELS, 0);
        glPixelStorei(GL_PACK_SKIP_ROWS, 0);
        ShowPixels(shown, picture.data(), GL_RGBA, GL_UNSIGNED_BYTE);

        // Values beyond 1, in floating point.
        Quarter(3);
        glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
        const float bright[] = {0.25f * static_cast<float>(frame), 0.5f, 1.5f, 1};
        glClearBufferfv(GL_COLOR, 0, bright);
        std::vector<float> values(Side * Side * 4);
        glReadPixels(0, 0, Side, Side, GL_RGBA, GL_FLOAT, values.data());
        glBindFramebuffer(GL_FRAMEBUFFER, 0);
        for (std::size_t i = 0; i < values.size(); ++i)
            values[i] *= static_cast<float>(i % (Side * 4)) / (Side * 4);
        ShowPixels(shown, values.data(), GL_RGBA, GL_FLOAT);
        EndFrame(stage);
    }
}
