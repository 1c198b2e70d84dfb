// What calls are written as, and the memory that goes with them.

#include <array>
#include <cstdio>
#include <cstring>
#include <sys/mman.h>

#include "Client.h"
#include "ClientContext.h"
#include "RecordedClient.h"

namespace Recorder {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;
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

CLIENT(MapsBuffers)
{
    const ClientContext current;
    std::array<GLuint, 2> buffers = {};
    glGenBuffers(2, buffers.data());
    for (const GLuint buffer : buffers) {
        glBindBuffer(GL_ARRAY_BUFFER, buffer);
        glBufferData(GL_ARRAY_BUFFER, 16, nullptr, GL_STATIC_DRAW);
    }
    auto* bytes = static_cast<char*>(glMapBufferRange(GL_ARRAY_BUFFER, 4, 8, GL_MAP_WRITE_BIT));
    std::memset(bytes, 0x11, 8);
    glUnmapBuffer(GL_ARRAY_BUFFER);

    bytes = static_cast<char*>(glMapBufferRange(GL_ARRAY_BUFFER, 0, 16, GL_MAP_WRITE_BIT | GL_MAP_FLUSH_EXPLICIT_BIT));
    std::memset(bytes + 2, 0x22, 3);
    glFlushMappedBufferRange(GL_ARRAY_BUFFER, 2, 3);
    glUnmapBuffer(GL_ARRAY_BUFFER);

    glMapBufferRange(GL_ARRAY_BUFFER, 0, 16, GL_MAP_READ_BIT);
    glUnmapBuffer(GL_ARRAY_BUFFER);

    bytes =
        static_cast<char*>(ProcAddress<PFNGLMAPBUFFEROESPROC>("glMapBufferOES")(GL_ARRAY_BUFFER, GL_WRITE_ONLY_OES));
    ProcAddress<PFNGLUNMAPBUFFEROESPROC>("glUnmapBufferOES")(GL_ARRAY_BUFFER);
    return 0;
}

TEST_F(RecorderTest, WhatIsWrittenToMappedMemoryComesWithFlushAndUnmap)
{
    driver = Driver::Systems;
    EXPECT_EQ(Record("MapsBuffers").status, 0);
    std::vector<std::string> calls = After(Dump(), "glBufferData(target=GL_ARRAY_BUFFER, size=16");
    for (std::string& call : calls) {
        call = call.substr(0, call.find(") = 0x"));
    }
    const std::string unmap = "glUnmapBuffer(target=GL_ARRAY_BUFFER) = 1";
    EXPECT_THAT(After(calls, "glBufferData"),
                ElementsAre("glMapBufferRange(target=GL_ARRAY_BUFFER, offset=4, length=8, access=GL_MAP_WRITE_BIT",
                            "-- data of mapped buffer GL_ARRAY_BUFFER at 0, 8 bytes", unmap,
                            "glMapBufferRange(target=GL_ARRAY_BUFFER, offset=0, length=16, access=GL_MAP_WRITE_BIT | "
                            "GL_MAP_FLUSH_EXPLICIT_BIT",
                            "-- data of mapped buffer GL_ARRAY_BUFFER at 2, 3 bytes",
                            "glFlushMappedBufferRange(target=GL_ARRAY_BUFFER, offset=2, length=3)",
                            "-- data of mapped buffer GL_ARRAY_BUFFER at 0, 0 bytes", unmap,
                            "glMapBufferRange(target=GL_ARRAY_BUFFER, offset=0, length=16, access=GL_MAP_READ_BIT",
                            unmap,
                            "glMapBufferRange(target=GL_ARRAY_BUFFER, offset=0, length=16, access=GL_MAP_WRITE_BIT | "
                            "GL_MAP_INVALIDATE_BUFFER_BIT",
                            "-- data of mapped buffer GL_ARRAY_BUFFER at 0, 16 bytes", unmap));
}

CLIENT(MapsTwoBuffersOfOneTarget)
{
    const ClientContext current;
    std::array<GLuint, 2> buffers = {};
    glGenBuffers(2, buffers.data());
    for (const GLuint buffer : buffers) {
        glBindBuffer(GL_ARRAY_BUFFER, buffer);
        glBufferData(GL_ARRAY_BUFFER, 8, nullptr, GL_STATIC_DRAW);
        std::memset(glMapBufferRange(GL_ARRAY_BUFFER, 0, 8, GL_MAP_WRITE_BIT), 0x40, 8);
    }
    for (const GLuint buffer : buffers) {
        glBindBuffer(GL_ARRAY_BUFFER, buffer);
        glUnmapBuffer(GL_ARRAY_BUFFER);
    }
    return 0;
}

// A replay remembers one mapping for each target: the other one's contents have to reach it in another way.
TEST_F(RecorderTest, ASecondMappingOfATargetLosesNothingOfTheFirst)
{
    driver = Driver::Systems;
    EXPECT_EQ(Record("MapsTwoBuffersOfOneTarget").status, 0);
    const std::string unmap = "glUnmapBuffer(target=GL_ARRAY_BUFFER) = 1";
    std::vector<std::string> calls = After(After(Dump(), "glMapBufferRange"), "glMapBufferRange");
    EXPECT_THAT(calls, ElementsAre("glBindBuffer(target=GL_ARRAY_BUFFER, buffer=1)", unmap,
                                   StartsWith("glBufferSubData(target=GL_ARRAY_BUFFER, offset=0, size=8, data="),
                                   "glBindBuffer(target=GL_ARRAY_BUFFER, buffer=2)",
                                   "-- data of mapped buffer GL_ARRAY_BUFFER at 0, 8 bytes", unmap));
}

CLIENT(DrawsFromItsOwnMemory)
{
    const ClientContext current;
    static const GLfloat vertices[100] = {};
    static const GLushort indices[] = {2, 7, 4};
    GLuint buffer = 0;
    glGenBuffers(1, &buffer);
    glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 12, vertices);
    glEnableVertexAttribArray(0);
    glBindBuffer(GL_ARRAY_BUFFER, buffer);
    glDrawArrays(GL_TRIANGLES, 3, 2);
    glBindBuffer(GL_ARRAY_BUFFER, 0);
    glDrawElements(GL_TRIANGLES, 3, GL_UNSIGNED_SHORT, indices);
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, buffer);
    glBufferData(GL_ELEMENT_ARRAY_BUFFER, sizeof indices, indices, GL_STATIC_DRAW);
    glDrawElements(GL_TRIANGLES, 2, GL_UNSIGNED_SHORT, reinterpret_cast<const void*>(2));
    glDisableVertexAttribArray(0);
    glDrawArrays(GL_TRIANGLES, 3, 2);
    return 0;
}

TEST_F(RecorderTest, DrawsFromMemoryBringTheirVertices)
{
    EXPECT_EQ(Record("DrawsFromItsOwnMemory").status, 0);
    std::vector<std::string> calls = After(Dump(), "glEnableVertexAttribArray");
    std::erase_if(calls, [](const std::string& line) { return line.starts_with("glBufferData"); });
    EXPECT_THAT(
        calls,
        ElementsAre("glBindBuffer(target=GL_ARRAY_BUFFER, buffer=901)",
                    // Replay needs no array buffer bound for vertices in memory.
                    "glBindBuffer(target=GL_ARRAY_BUFFER, buffer=0)", "-- vertices of attribute 0: 2 from 3, 20 bytes",
                    "glDrawArrays(mode=0x4, first=3, count=2)", "glBindBuffer(target=GL_ARRAY_BUFFER, buffer=901)",
                    "glBindBuffer(target=GL_ARRAY_BUFFER, buffer=0)", "-- vertices of attribute 0: 6 from 2, 68 bytes",
                    StartsWith("glDrawElements(mode=0x4, count=3, type=GL_UNSIGNED_SHORT, indices=<6 bytes>"),
                    "glBindBuffer(target=GL_ELEMENT_ARRAY_BUFFER, buffer=901)",
                    "-- vertices of attribute 0: 4 from 4, 44 bytes",
                    "glDrawElements(mode=0x4, count=2, type=GL_UNSIGNED_SHORT, indices=0x2)",
                    "glDisableVertexAttribArray(index=0)", "glDrawArrays(mode=0x4, first=3, count=2)"));
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

CLIENT(PassesStrings)
{
    const ClientContext current;
    const GLuint shader = glCreateShader(GL_VERTEX_SHADER);
    const char* const sources[] = {"void main()", "{}garbage"};
    const GLint lengths[] = {-1, 2};
    glShaderSource(shader, 2, sources, lengths);
    glShaderSource(shader, 1, sources, nullptr);
    GLsizei length = 0;
    char log[64] = "";
    glGetShaderInfoLog(shader, sizeof log, &length, log);
    return 0;
}

TEST_F(RecorderTest, StringsAreCutWhereTheCallCutsThem)
{
    EXPECT_EQ(Record("PassesStrings").status, 0);
    EXPECT_THAT(After(Dump(), "glCreateShader"),
                ElementsAre("glShaderSource(shader=901, count=2, string=[\"void main()\", \"{}\"], length=[-1, 2])",
                            "glShaderSource(shader=901, count=1, string=[\"void main()\"], length=null)",
                            StartsWith("glGetShaderInfoLog(shader=901, bufSize=64, length=[0], infoLog=\"")));
}

CLIENT(UploadsPixels)
{
    const ClientContext current;
    static const std::array<unsigned char, 256> pixels = {};
    GLuint buffer = 0;
    glGenBuffers(1, &buffer);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB, 3, 2, 0, GL_RGB, GL_UNSIGNED_BYTE, pixels.data());
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB, 3, 2, 0, GL_RGB, GL_UNSIGNED_BYTE, pixels.data());
    glPixelStorei(GL_UNPACK_ROW_LENGTH, 5);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB, 3, 2, 0, GL_RGB, GL_UNSIGNED_BYTE, pixels.data());
    glBindBuffer(GL_PIXEL_UNPACK_BUFFER, buffer);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB, 3, 2, 0, GL_RGB, GL_UNSIGNED_BYTE, reinterpret_cast<const void*>(32));
    return 0;
}

TEST_F(RecorderTest, PixelsAreAsManyAsThePixelStoreSays)
{
    EXPECT_EQ(Record("UploadsPixels").status, 0);
    const auto uploads = Dump("glTexImage2D", "capture.glcap");
    ASSERT_THAT(uploads, SizeIs(4));
    EXPECT_THAT(uploads[0], HasSubstr("<21 bytes>")); // a row of 9 padded to 12, and the last one of 9
    EXPECT_THAT(uploads[1], HasSubstr("<18 bytes>"));
    EXPECT_THAT(uploads[2], HasSubstr("<24 bytes>")); // 5 pixels, and the last row's 3
    EXPECT_THAT(uploads[3], HasSubstr("pixels=0x20"));
}

} // namespace
} // namespace Recorder
