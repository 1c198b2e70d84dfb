// Programs that draw to framebuffer objects and never swap. Each does something else when a frame is drawn, and has its
// picture in another kind of attachment.

#include "Families.h"

namespace {

constexpr int Side = 64;
/// The recorder need not wait for the end of the program to know what ends its frames.
constexpr int ManyFrames = 5 * FrameCount;

void MakeTextureTarget(GLenum format)
{
    MakeFramebuffer(MakeStorage(Side, format));
}

void MakeRenderbufferTarget()
{
    GLuint renderbuffer = 0;
    GLuint framebuffer = 0;
    glGenRenderbuffers(1, &renderbuffer);
    glBindRenderbuffer(GL_RENDERBUFFER, renderbuffer);
    glRenderbufferStorage(GL_RENDERBUFFER, GL_RGB565, Side, Side);
    glGenFramebuffers(1, &framebuffer);
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, renderbuffer);
}

void MakeLayerTarget()
{
    const GLuint texture = MakeTexture(GL_TEXTURE_2D_ARRAY);
    glTexStorage3D(GL_TEXTURE_2D_ARRAY, 1, GL_RGBA8, Side, Side, 3);
    GLuint framebuffer = 0;
    glGenFramebuffers(1, &framebuffer);
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
    glFramebufferTextureLayer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, texture, 0, 2);
}

void DrawPicture(int frame)
{
    glClearColor(0.1f, static_cast<float>(frame) / FrameCount, 0.5f, 1);
    glClear(GL_COLOR_BUFFER_BIT);
    const GLuint picture = MakeTexture(GL_TEXTURE_2D);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 16, 16, 0, GL_RGBA, GL_UNSIGNED_BYTE, Pattern(16, 16, frame).data());
    glViewport(3 * frame % Side, 8, Side / 2, Side / 2);
    glEnableVertexAttribArray(0);
    DrawQuad(PictureProgram());
    glDeleteTextures(1, &picture);
}

/// Draws to the framebuffer that is bound, and binds it again for each frame.
void DrawFrames(void (*begin)(), void (*end)(), int frames = FrameCount)
{
    GLint target = 0;
    glGetIntegerv(GL_FRAMEBUFFER_BINDING, &target);
    for (int frame = 1; frame <= frames; ++frame) {
        begin();
        glBindFramebuffer(GL_FRAMEBUFFER, static_cast<GLuint>(target));
        DrawPicture(frame);
        end();
    }
    ExpectNoErrors("drawing without swaps");
}

/// What is bound at the end of the frame is not what was drawn to.
void Unbind()
{
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
}

void Nothing() {}

const Family flushes("frames-of-flushes", [](Stage&) {
    MakeTextureTarget(GL_RGBA8);
    const auto end = [] {
        Unbind();
        glFlush();
    };
    DrawFrames(Nothing, end, ManyFrames);
});

const Family finishes("frames-of-finishes", [](Stage&) {
    MakeRenderbufferTarget();
    DrawFrames(Nothing, [] {
        Unbind();
        glFinish();
    });
});

const Family fences("frames-of-fences", [](Stage&) {
    MakeTextureTarget(GL_RGBA16F);
    DrawFrames(Nothing, [] {
        Unbind();
        const GLsync fence = glFenceSync(GL_SYNC_GPU_COMMANDS_COMPLETE, 0);
        glClientWaitSync(fence, GL_SYNC_FLUSH_COMMANDS_BIT, GL_TIMEOUT_IGNORED);
        glDeleteSync(fence);
    });
});

const Family readBacks("frames-of-readbacks", [](Stage&) {
    MakeLayerTarget();
    DrawFrames(Nothing, [] {
        std::uint8_t pixels[Side * Side * 4];
        glReadPixels(0, 0, Side, Side, GL_RGBA, GL_UNSIGNED_BYTE, pixels);
    });
});

void InsertMarker(const char* text)
{
    static const auto insert = Load<PFNGLDEBUGMESSAGEINSERTKHRPROC>("glDebugMessageInsertKHR");
    insert(GL_DEBUG_SOURCE_APPLICATION_KHR, GL_DEBUG_TYPE_MARKER_KHR, 1, GL_DEBUG_SEVERITY_NOTIFICATION_KHR, -1, text);
}

/// They stand at the start of frames, so that none ends the last one.
const Family markers("frames-of-markers", [](Stage&) {
    MakeTextureTarget(GL_RGBA8);
    DrawFrames([] { InsertMarker("frame"); }, [] { InsertMarker("drawn"); });
});

} // namespace
