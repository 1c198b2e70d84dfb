// What calls are written as, and the memory that goes with them.

#include <array>
#include <sys/mman.h>

#include "Client.h"
#include "ClientContext.h"
#include "RecordedClient.h"

namespace Recorder {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

CLIENT(UsesOtherFormsOfCalls)
{
    const ClientContext current;
    const EGLint narrow[] = {EGL_RENDER_BUFFER, EGL_BACK_BUFFER, EGL_NONE};
    const EGLAttrib wide[] = {EGL_RENDER_BUFFER, EGL_BACK_BUFFER, EGL_NONE};
    int window = 0;
    ProcAddress<PFNEGLGETPLATFORMDISPLAYEXTPROC>("eglGetPlatformDisplayEXT")(EGL_PLATFORM_WAYLAND_KHR, nullptr, narrow);
    ProcAddress<PFNEGLCREATEPLATFORMWINDOWSURFACEEXTPROC>("eglCreatePlatformWindowSurfaceEXT")(
        current.display, current.config, &window, narrow);
    eglCreatePlatformWindowSurface(current.display, current.config, &window, wide);
    GLuint texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexStorage2D(GL_TEXTURE_2D, 1, GL_RGBA8, 4, 4);
    const EGLAttrib level[] = {EGL_GL_TEXTURE_LEVEL, 0, EGL_NONE};
    const EGLImage image = eglCreateImage(current.display, current.context, EGL_GL_TEXTURE_2D,
                                          reinterpret_cast<EGLClientBuffer>(std::uintptr_t{texture}), level);
    eglDestroyImage(current.display, image);
    const EGLSync sync = eglCreateSync(current.display, EGL_SYNC_FENCE, nullptr);
    EGLAttrib condition = 0;
    eglGetSyncAttrib(current.display, sync, EGL_SYNC_CONDITION, &condition);
    eglWaitSync(current.display, sync, 0);
    eglDestroySync(current.display, sync);
    ProcAddress<PFNGLBINDVERTEXARRAYOESPROC>("glBindVertexArrayOES")(0);
    ProcAddress<PFNGLTEXBUFFEROESPROC>("glTexBufferOES")(GL_TEXTURE_BUFFER, GL_R8, 0);
    const EGLint damage[] = {0, 0, 1, 1};
    ProcAddress<PFNEGLSWAPBUFFERSWITHDAMAGEKHRPROC>("eglSwapBuffersWithDamageKHR")(current.display, current.surface,
                                                                                   damage, 1);
    return 0;
}

TEST_F(RecorderTest, OtherFormsAreWrittenAsTheCallsTheyStandFor)
{
    driver = Driver::Systems;
    EXPECT_EQ(Record("UsesOtherFormsOfCalls").status, 0);
    std::vector<std::string> calls = After(Dump(), "eglMakeCurrent");
    std::erase_if(calls, [](const std::string& line) { return line.starts_with("--"); });
    EXPECT_THAT(calls, ElementsAre("eglGetPlatformDisplay(platform=EGL_PLATFORM_WAYLAND_KHR, native=0, "
                                   "attrib_list=[EGL_RENDER_BUFFER, EGL_BACK_BUFFER, EGL_NONE]) = 0",
                                   "eglCreateWindowSurface(dpy=1, config=1, win=2, attrib_list=[EGL_RENDER_BUFFER, "
                                   "EGL_BACK_BUFFER, EGL_NONE]) = 0",
                                   "eglCreateWindowSurface(dpy=1, config=1, win=2, attrib_list=[EGL_RENDER_BUFFER, "
                                   "EGL_BACK_BUFFER, EGL_NONE]) = 0",
                                   "glGenTextures(n=1, textures=[1])", StartsWith("glBindTexture"),
                                   StartsWith("glTexStorage2D"),
                                   "eglCreateImageKHR(dpy=1, ctx=1, target=EGL_GL_TEXTURE_2D, buffer=1, "
                                   "attrib_list=[EGL_GL_TEXTURE_LEVEL, 0, EGL_NONE]) = 1",
                                   "eglDestroyImageKHR(dpy=1, image=1) = 1",
                                   "eglCreateSync(dpy=1, type=EGL_SYNC_FENCE, attrib_list=null) = 1",
                                   StartsWith("eglGetSyncAttribKHR(dpy=1, sync=1, attribute="),
                                   StartsWith("eglWaitSyncKHR(dpy=1, sync=1, flags=0) ="),
                                   "eglDestroySyncKHR(dpy=1, sync=1) = 1", "glBindVertexArrayOES(array=0)",
                                   "glTexBuffer(target=GL_TEXTURE_BUFFER, internalformat=GL_R8, buffer=0)",
                                   "eglSwapBuffers(dpy=1, surface=0) = 0"));
}

CLIENT(LeavesAnAttributeEnabled)
{
    const ClientContext current;
    void* const gone = mmap(nullptr, 4096, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    glVertexAttribPointer(5, 4, GL_FLOAT, GL_FALSE, 0, gone);
    glEnableVertexAttribArray(5);
    glDrawArrays(GL_TRIANGLES, 0, 3);
    return 0;
}

TEST_F(RecorderTest, AttributesThatNobodyReadsMayPointAnywhere)
{
    EXPECT_EQ(Record("LeavesAnAttributeEnabled").status, 0);
    EXPECT_THAT(After(Dump(), "glEnableVertexAttribArray"),
                ElementsAre("-- vertices of attribute 5: 3 from 0, 48 bytes", StartsWith("glDrawArrays")));
}

CLIENT(PassesStringsAndPixels)
{
    const ClientContext current;
    const GLuint shader = glCreateShader(GL_VERTEX_SHADER);
    const char* const sources[] = {"void main()", "{}garbage"};
    const GLint lengths[] = {-1, 2};
    glShaderSource(shader, 2, sources, lengths);
    GLsizei length = 0;
    char log[64] = "";
    glGetShaderInfoLog(shader, sizeof log, &length, log);
    static const std::array<unsigned char, 64> pixels = {};
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB, 3, 2, 0, GL_RGB, GL_UNSIGNED_BYTE, pixels.data());
    glPixelStorei(GL_UNPACK_ROW_LENGTH, 5);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB, 3, 2, 0, GL_RGB, GL_UNSIGNED_BYTE, pixels.data());
    return 0;
}

TEST_F(RecorderTest, MemoryIsCutWhereTheCallCutsIt)
{
    EXPECT_EQ(Record("PassesStringsAndPixels").status, 0);
    EXPECT_THAT(After(Dump(), "glCreateShader"),
                ElementsAre("glShaderSource(shader=901, count=2, string=[\"void main()\", \"{}\"], length=[-1, 2])",
                            StartsWith("glGetShaderInfoLog(shader=901, bufSize=64, length=[0], infoLog=\""),
                            HasSubstr("<21 bytes>"), // a row of 9 padded to 12, and the last one of 9
                            StartsWith("glPixelStorei"),
                            HasSubstr("<25 bytes>"))); // 5 pixels padded to 16, and the last row's 3
}

} // namespace
} // namespace Recorder
