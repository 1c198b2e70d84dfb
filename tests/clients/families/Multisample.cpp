// Several samples a pixel: renderbuffers with color, depth and stencil that are resolved by blits, a multisample
// texture whose samples a shader reads one by one, and blits that flip and stretch.

#include <cstdlib>

#include "Families.h"

namespace {

constexpr int Side = 96;
constexpr int Samples = 4;

GLuint Renderbuffer(GLenum format, GLenum attachment)
{
    GLuint renderbuffer = 0;
    glGenRenderbuffers(1, &renderbuffer);
    glBindRenderbuffer(GL_RENDERBUFFER, renderbuffer);
    glRenderbufferStorageMultisample(GL_RENDERBUFFER, Samples, format, Side, Side);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, attachment, GL_RENDERBUFFER, renderbuffer);
    return renderbuffer;
}

/// Two triangles, of which the second lies behind the first, and a third where the stencil lets it.
void DrawScene(int frame)
{
    const float x = 0.1f * static_cast<float>(frame) - 0.6f;
    const float triangles[] = {x,        -0.9f, 0,     x + 0.7f, -0.2f, 0,     x + 0.1f, 0.9f, 0,
                               x - 0.4f, -0.3f, 0.5f,  x + 1,    0,     0.5f,  x - 0.2f, 0.6f, 0.5f,
                               -1,       -1,    -0.5f, 1,        -0.7f, -0.5f, 0.3f,     1,    -0.5f};
    glClearColor(0.1f, 0.1f, 0.3f, 1);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
    // Some drivers crash in depth tests of several samples.
    if (std::getenv("WITHOUT_MULTISAMPLE_DEPTH") == nullptr)
        glEnable(GL_DEPTH_TEST);
    glEnable(GL_STENCIL_TEST);
    glStencilOp(GL_KEEP, GL_KEEP, GL_REPLACE);
    glUseProgram(FlatProgram());
    glVertexAttribPointer(0, 3, GL_FLOAT, GL_FALSE, 0, triangles);
    for (int i = 0; i < 3; ++i) {
        glStencilFunc(i == 2 ? GL_NOTEQUAL : GL_ALWAYS, i == 2 ? 1 : i + 1, 0xFF);
        glVertexAttrib4f(1, 0.9f - 0.4f * static_cast<float>(i), 0.3f, 0.3f + 0.3f * static_cast<float>(i), 1);
        glDrawArrays(GL_TRIANGLES, 3 * i, 3);
    }
    glDisable(GL_DEPTH_TEST);
    glDisable(GL_STENCIL_TEST);
}

} // namespace

FAMILY("multisample", stage)
{
    const GLuint oneSample = LinkProgram(
        "#version 310 es\nlayout(location = 0) in vec2 position; out vec2 at;"
        "void main() { at = position * 0.5 + 0.5; gl_Position = vec4(position * 0.9, 0.0, 1.0); }",
        "#version 310 es\nprecision mediump float; precision mediump sampler2DMS; in vec2 at; out vec4 result;"
        "uniform sampler2DMS picture; uniform int which;"
        "void main() { result = texelFetch(picture, ivec2(at * vec2(textureSize(picture))), which); }");
    GLuint framebuffers[3] = {};
    glGenFramebuffers(1, framebuffers);
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffers[0]);
    Renderbuffer(GL_RGBA8, GL_COLOR_ATTACHMENT0);
    Renderbuffer(GL_DEPTH24_STENCIL8, GL_DEPTH_STENCIL_ATTACHMENT);
    const GLuint resolved = MakeStorage(Side);
    framebuffers[1] = MakeFramebuffer(resolved);
    GLuint sampled = 0;
    glGenTextures(1, &sampled);
    glBindTexture(GL_TEXTURE_2D_MULTISAMPLE, sampled);
    glTexStorage2DMultisample(GL_TEXTURE_2D_MULTISAMPLE, Samples, GL_RGBA8, Side, Side, GL_TRUE);
    framebuffers[2] = MakeFramebuffer(sampled, GL_TEXTURE_2D_MULTISAMPLE);
    Renderbuffer(GL_DEPTH24_STENCIL8, GL_DEPTH_STENCIL_ATTACHMENT);
    glEnableVertexAttribArray(0);
    for (int frame = 1; frame <= FrameCount; ++frame) {
        glBindFramebuffer(GL_FRAMEBUFFER, 0);
        glClearColor(0, 0, 0, 0);
        glClear(GL_COLOR_BUFFER_BIT);
        glViewport(0, 0, Side, Side);
        glBindFramebuffer(GL_FRAMEBUFFER, framebuffers[0]);
        DrawScene(frame);
        glBindFramebuffer(GL_DRAW_FRAMEBUFFER, framebuffers[1]);
        glBlitFramebuffer(0, 0, Side, Side, 0, 0, Side, Side, GL_COLOR_BUFFER_BIT, GL_NEAREST);
        const GLenum unneeded[] = {GL_DEPTH_ATTACHMENT, GL_STENCIL_ATTACHMENT};
        glInvalidateFramebuffer(GL_READ_FRAMEBUFFER, 2, unneeded);

        // The samples of each pixel that the mask lets through.
        glBindFramebuffer(GL_FRAMEBUFFER, framebuffers[2]);
        glEnable(GL_SAMPLE_MASK);
        glSampleMaski(0, static_cast<GLbitfield>(frame) | 8u);
        DrawScene(FrameCount - frame);
        glDisable(GL_SAMPLE_MASK);

        glBindFramebuffer(GL_FRAMEBUFFER, 0);
        Quarter(0);
        glBindTexture(GL_TEXTURE_2D, resolved);
        DrawQuad(PictureProgram());
        for (int which = 0; which < 2; ++which) {
            Quarter(1 + which);
            glUseProgram(oneSample);
            glUniform1i(glGetUniformLocation(oneSample, "which"), (frame + which) % Samples);
            DrawQuad(oneSample);
        }
        // Turned upside down and stretched.
        glBindFramebuffer(GL_READ_FRAMEBUFFER, framebuffers[1]);
        glBlitFramebuffer(0, 0, Side, Side, 132, 250, 250, 140, GL_COLOR_BUFFER_BIT, GL_LINEAR);
        EndFrame(stage);
    }
    glDeleteFramebuffers(3, framebuffers);
}
