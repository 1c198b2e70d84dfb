// Objects by names that the program made up, as OpenGL ES lets it: bound, filled, deleted, and bound again; the large
// ones too.

#include "Families.h"

namespace {

constexpr int Side = 64;

/// The pattern of the frame, in a texture that is new in every second frame.
void FillTexture(GLuint texture, int frame)
{
    if (frame % 2 == 1)
        glDeleteTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, Side, Side, 0, GL_RGBA, GL_UNSIGNED_BYTE,
                 Pattern(Side, Side, frame).data());
}

void Draw(GLuint buffer, GLuint texture, int quarter)
{
    Quarter(quarter);
    glBindBuffer(GL_ARRAY_BUFFER, buffer);
    glBufferData(GL_ARRAY_BUFFER, sizeof quad, quad, GL_STATIC_DRAW);
    glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 0, nullptr);
    glBindTexture(GL_TEXTURE_2D, texture);
    glUseProgram(PictureProgram());
    glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
}

} // namespace

FAMILY("made-up-names", stage)
{
    constexpr GLuint First = 7;
    constexpr GLuint Large = 3'000'000'000;
    GLuint generated = 0;
    glEnableVertexAttribArray(0);
    for (int frame = 1; frame <= FrameCount; ++frame) {
        glBindFramebuffer(GL_FRAMEBUFFER, 13);
        glBindRenderbuffer(GL_RENDERBUFFER, 11);
        glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA8, Side, Side);
        glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, 11);
        glClearColor(0.1f * static_cast<float>(frame), 0.5f, 0.2f, 1);
        glClear(GL_COLOR_BUFFER_BIT);
        glBindFramebuffer(GL_DRAW_FRAMEBUFFER, 0);
        glClearColor(0, 0, 0, 1);
        glClear(GL_COLOR_BUFFER_BIT);
        glBlitFramebuffer(0, 0, Side, Side, 0, 0, Side, Side, GL_COLOR_BUFFER_BIT, GL_NEAREST);
        glBindFramebuffer(GL_FRAMEBUFFER, 0);
        FillTexture(First, frame);
        Draw(First, First, 1);
        FillTexture(Large, frame + 3);
        Draw(Large, Large, 2);
        // The driver's own names stay apart from those.
        glGenTextures(1, &generated);
        FillTexture(generated, frame + 5);
        Draw(First, generated, 3);
        EndFrame(stage);
    }
}
