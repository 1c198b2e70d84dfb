// Buffers that stay mapped and that more than one side uses: counters that a shader advances and the program reads and
// resets, and vertices that a thread without a context writes and two contexts draw with.

#include <functional>
#include <thread>

#include "Families.h"

namespace {

constexpr GLbitfield Shared = GL_MAP_READ_BIT | GL_MAP_WRITE_BIT | GL_MAP_PERSISTENT_BIT_EXT | GL_MAP_COHERENT_BIT_EXT;
constexpr GLbitfield Written = GL_MAP_WRITE_BIT | GL_MAP_PERSISTENT_BIT_EXT | GL_MAP_COHERENT_BIT_EXT;
constexpr int Side = 64;
/// Where the vertices are: over the end of a page.
constexpr std::size_t Corners = 4096 - 16;

const char* const countShader = "#version 310 es\nlayout(local_size_x = 16) in;"
                                "layout(std430, binding = 0) buffer Counters { uint now; uint all; uint step; };"
                                "void main() { atomicAdd(now, step); atomicAdd(all, 1u); }";

/// Asks until the driver is done, without ever waiting for it.
void PollUntilDone()
{
    const GLsync fence = glFenceSync(GL_SYNC_GPU_COMMANDS_COMPLETE, 0);
    glFlush();
    for (GLint status = GL_UNSIGNALED; status != GL_SIGNALED;)
        glGetSynciv(fence, GL_SYNC_STATUS, 1, nullptr, &status);
    glDeleteSync(fence);
}

/// On a thread of its own, in a context of its own.
void DrawToTexture(const Stage& stage, EGLContext context, GLuint vertices, GLuint texture, int frame)
{
    eglBindAPI(EGL_OPENGL_ES_API);
    stage.MakeCurrent(EGL_NO_SURFACE, context);
    const GLuint framebuffer = MakeFramebuffer(texture);
    glViewport(0, 0, Side, Side);
    glClear(GL_COLOR_BUFFER_BIT);
    glUseProgram(FlatProgram());
    glBindBuffer(GL_ARRAY_BUFFER, vertices);
    glEnableVertexAttribArray(0);
    glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 0, At(Corners));
    glVertexAttrib4f(1, 0.1f * static_cast<float>(frame), 0.9f, 0.3f, 1);
    glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
    glFinish();
    glDeleteFramebuffers(1, &framebuffer);
    ExpectNoErrors("drawing to a texture");
    stage.MakeCurrent(EGL_NO_SURFACE, EGL_NO_CONTEXT);
    eglReleaseThread();
}

} // namespace

FAMILY("shared-maps", stage)
{
    const GLuint count = SeparableProgram(GL_COMPUTE_SHADER, countShader);
    auto* const counters = static_cast<GLuint*>(MapForGood(GL_SHADER_STORAGE_BUFFER, 12, Shared, Shared));
    GLint buffer = 0;
    glGetIntegerv(GL_SHADER_STORAGE_BUFFER_BINDING, &buffer);
    glBindBufferBase(GL_SHADER_STORAGE_BUFFER, 0, static_cast<GLuint>(buffer));
    auto* const memory = static_cast<char*>(MapForGood(GL_ARRAY_BUFFER, 10000, Written, Written));
    glGetIntegerv(GL_ARRAY_BUFFER_BINDING, &buffer);
    const GLuint texture = MakeStorage(Side);
    const EGLContext context = stage.MakeContext(stage.Context());
    glEnableVertexAttribArray(0);
    glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 0, At(Corners));
    for (int frame = 1; frame <= FrameCount; ++frame) {
        glClear(GL_COLOR_BUFFER_BIT);
        std::thread(WriteQuad, memory + Corners, 0.3f + 0.08f * static_cast<float>(frame)).join();
        counters[0] = 0;
        counters[2] = static_cast<GLuint>(frame);
        glUseProgram(count);
        glDispatchCompute(1, 1, 1);
        glMemoryBarrier(GL_BUFFER_UPDATE_BARRIER_BIT | GL_CLIENT_MAPPED_BUFFER_BARRIER_BIT_EXT);
        PollUntilDone();
        if (counters[0] != 16u * static_cast<GLuint>(frame) || counters[1] != 16u * static_cast<GLuint>(frame))
            Stage::Fail("counting");
        Quarter(1);
        glUseProgram(FlatProgram());
        glVertexAttrib4f(1, static_cast<float>(counters[0]) / 128, 0.5f, 1 - static_cast<float>(counters[1]) / 128, 1);
        glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
        std::thread(DrawToTexture, std::cref(stage), context, static_cast<GLuint>(buffer), texture, frame).join();
        Quarter(2);
        glUseProgram(PictureProgram());
        glBindTexture(GL_TEXTURE_2D, texture);
        glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
        EndFrame(stage);
    }
    eglDestroyContext(stage.Display(), context);
}
