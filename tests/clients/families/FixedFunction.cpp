// A context of OpenGL ES 1.1: a lit cube in fog, a picture that is turned and tested, points behind a clip plane, and
// what was drawn to a framebuffer object. Much is set ahead of the frames, and one matrix goes on from frame to frame.

#include <EGL/egl.h>
#include <GLES/gl.h>
// Needs the types of the header above.
#include <GLES/glext.h>

#include "Families.h"

namespace {

constexpr int Half = 128;

// Cubes: three corners of a face, and its normal, times six.
constexpr GLbyte Corners[] = {-1, -1, 1, 1, -1, 1,  -1, 1, 1,  1, 1, 1,  1,  -1, -1, -1, -1, -1, 1,  1,  -1, -1, 1,  -1,
                              1,  -1, 1, 1, -1, -1, 1,  1, 1,  1, 1, -1, -1, -1, -1, -1, -1, 1,  -1, 1,  -1, -1, 1,  1,
                              -1, 1,  1, 1, 1,  1,  -1, 1, -1, 1, 1, -1, -1, -1, -1, 1,  -1, -1, -1, -1, 1,  1,  -1, 1};
constexpr GLbyte Directions[6][3] = {{0, 0, 1}, {0, 0, -1}, {1, 0, 0}, {-1, 0, 0}, {0, 1, 0}, {0, -1, 0}};

constexpr GLfixed Fixed(float value)
{
    return static_cast<GLfixed>(value * 65536);
}

void SetMatrix(GLenum mode)
{
    glMatrixMode(mode);
    glLoadIdentity();
}

/// Light, material and fog of the cube, which stay as they are.
void SetUpLight()
{
    const GLfloat place[] = {1, 2, 3, 1};
    const GLfloat blue[] = {0.2f, 0.4f, 0.9f, 1};
    const GLfixed shine[] = {Fixed(0.5f), Fixed(0.5f), Fixed(0.5f), Fixed(1)};
    const GLfloat fog[] = {0.1f, 0.1f, 0.1f, 1};
    SetMatrix(GL_MODELVIEW);
    glTranslatef(0, 0, -4);
    glLightfv(GL_LIGHT0, GL_POSITION, place);
    glLightModelf(GL_LIGHT_MODEL_TWO_SIDE, 0);
    glMaterialfv(GL_FRONT_AND_BACK, GL_AMBIENT_AND_DIFFUSE, blue);
    glMaterialxv(GL_FRONT_AND_BACK, GL_SPECULAR, shine);
    glMaterialx(GL_FRONT_AND_BACK, GL_SHININESS, Fixed(20));
    glFogx(GL_FOG_MODE, GL_LINEAR);
    glFogf(GL_FOG_START, 3);
    glFogf(GL_FOG_END, 7);
    glFogfv(GL_FOG_COLOR, fog);
    glEnable(GL_LIGHT0);
}

void DrawCube(int frame)
{
    GLbyte normals[sizeof Corners];
    for (std::size_t i = 0; i < sizeof normals; ++i)
        normals[i] = static_cast<GLbyte>(Directions[i / 12][i % 3] * 127);
    SetMatrix(GL_PROJECTION);
    glFrustumf(-1, 1, -1, 1, 2, 10);
    SetMatrix(GL_MODELVIEW);
    glTranslatex(0, 0, Fixed(-4.5f));
    glEnable(GL_LIGHTING);
    glEnable(GL_FOG);
    glEnable(GL_DEPTH_TEST);
    glEnable(GL_NORMALIZE);
    glEnableClientState(GL_NORMAL_ARRAY);
    glVertexPointer(3, GL_BYTE, 0, Corners);
    glNormalPointer(GL_BYTE, 0, normals);
    for (const float side : {-1.1f, 1.1f}) {
        glPushMatrix();
        glTranslatef(side, 0, 0);
        glRotatef(static_cast<GLfloat>(20 * frame), 1, side, 0);
        glScalef(0.8f, 0.8f, 0.8f);
        for (int face = 0; face < 6; ++face)
            glDrawArrays(GL_TRIANGLE_STRIP, face * 4, 4);
        glPopMatrix();
    }
    glDisableClientState(GL_NORMAL_ARRAY);
    glDisable(GL_LIGHTING);
    glDisable(GL_FOG);
    glDisable(GL_DEPTH_TEST);
}

/// From buffers, one of which is written while it is mapped, by two texture units: the second one's matrix is never
/// loaded anew.
void DrawPicture(GLuint vertices, GLuint indices, int frame)
{
    static const auto mapBuffer = Load<PFNGLMAPBUFFEROESPROC>("glMapBufferOES");
    static const auto unmapBuffer = Load<PFNGLUNMAPBUFFEROESPROC>("glUnmapBufferOES");
    const GLubyte colors[] = {255, 255, 255, 255, 255, 128, 128, 255, 128, 255, 128, 255, 255, 255, 0, 255};
    SetMatrix(GL_PROJECTION);
    SetMatrix(GL_MODELVIEW);
    glAlphaFuncx(GL_GREATER, Fixed(0.3f));
    glEnable(GL_ALPHA_TEST);
    glBindBuffer(GL_ARRAY_BUFFER, vertices);
    WriteQuad(mapBuffer(GL_ARRAY_BUFFER, GL_WRITE_ONLY_OES), 0.95f - 0.05f * static_cast<float>(frame));
    unmapBuffer(GL_ARRAY_BUFFER);
    glVertexPointer(2, GL_FLOAT, 0, nullptr);
    for (const GLenum unit : {GL_TEXTURE1, GL_TEXTURE0}) {
        glClientActiveTexture(unit);
        glActiveTexture(unit);
        glEnable(GL_TEXTURE_2D);
        glEnableClientState(GL_TEXTURE_COORD_ARRAY);
        glTexCoordPointer(2, GL_FLOAT, 0, nullptr);
    }
    glActiveTexture(GL_TEXTURE1);
    glMatrixMode(GL_TEXTURE);
    glRotatef(10, 0, 0, 1);
    glActiveTexture(GL_TEXTURE0);
    glBindBuffer(GL_ARRAY_BUFFER, 0);
    glColorPointer(4, GL_UNSIGNED_BYTE, 0, colors);
    glEnableClientState(GL_COLOR_ARRAY);
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, indices);
    glDrawElements(GL_TRIANGLES, 6, GL_UNSIGNED_SHORT, nullptr);
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
    for (const GLenum unit : {GL_TEXTURE1, GL_TEXTURE0}) {
        glClientActiveTexture(unit);
        glActiveTexture(unit);
        glDisable(GL_TEXTURE_2D);
        glDisableClientState(GL_TEXTURE_COORD_ARRAY);
    }
    glDisableClientState(GL_COLOR_ARRAY);
    glDisable(GL_ALPHA_TEST);
}

/// Sprites of three sizes, of which a plane hides some.
void DrawPoints(int frame)
{
    static const auto pointSizePointer = Load<decltype(&glPointSizePointerOES)>("glPointSizePointerOES");
    const GLfixed places[] = {Fixed(2), Fixed(2), Fixed(5), Fixed(5), Fixed(8), Fixed(8), Fixed(2), Fixed(8)};
    const GLfloat sizes[] = {10, 20, 30, 24};
    const GLfloat plane[] = {-1, 0, 0, 5.5f};
    SetMatrix(GL_PROJECTION);
    glOrthox(0, Fixed(10), 0, Fixed(10), Fixed(-1), Fixed(1));
    SetMatrix(GL_MODELVIEW);
    glClipPlanef(GL_CLIP_PLANE0, plane);
    glColor4x(Fixed(1), Fixed(0.1f * static_cast<float>(frame)), Fixed(0.2f), Fixed(1));
    glEnable(GL_CLIP_PLANE0);
    glEnable(GL_POINT_SPRITE_OES);
    glEnable(GL_TEXTURE_2D);
    glTexEnvi(GL_POINT_SPRITE_OES, GL_COORD_REPLACE_OES, GL_TRUE);
    glEnableClientState(GL_POINT_SIZE_ARRAY_OES);
    glVertexPointer(2, GL_FIXED, 0, places);
    pointSizePointer(GL_FLOAT, 0, sizes);
    glDrawArrays(GL_POINTS, 0, 4);
    glDisableClientState(GL_POINT_SIZE_ARRAY_OES);
    glDisable(GL_POINT_SPRITE_OES);
    glDisable(GL_CLIP_PLANE0);
    glDisable(GL_TEXTURE_2D);
    glColor4ub(255, 255, 255, 255);
}

/// Draws to the texture by a framebuffer object, and the texture to the screen.
void DrawThroughFramebuffer(GLuint framebuffer, GLuint texture, int frame)
{
    static const auto bindFramebuffer = Load<PFNGLBINDFRAMEBUFFEROESPROC>("glBindFramebufferOES");
    static const auto drawTex = Load<PFNGLDRAWTEXIOESPROC>("glDrawTexiOES");
    bindFramebuffer(GL_FRAMEBUFFER_OES, framebuffer);
    glViewport(0, 0, 64, 64);
    // A part is cleared, so that the rest is of the frames before.
    glEnable(GL_SCISSOR_TEST);
    glScissor(frame * 6, frame * 6, 16, 16);
    glClearColorx(Fixed(0.1f * static_cast<float>(frame)), Fixed(0.8f), Fixed(0.3f), Fixed(1));
    glClear(GL_COLOR_BUFFER_BIT);
    glDisable(GL_SCISSOR_TEST);
    bindFramebuffer(GL_FRAMEBUFFER_OES, 0);
    const GLint whole[] = {0, 0, 64, 64};
    GLint bound = 0;
    glGetIntegerv(GL_TEXTURE_BINDING_2D, &bound);
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_CROP_RECT_OES, whole);
    glEnable(GL_TEXTURE_2D);
    drawTex(Half + 8, Half + 8, 0, Half - 16, Half - 16);
    glDisable(GL_TEXTURE_2D);
    glBindTexture(GL_TEXTURE_2D, static_cast<GLuint>(bound));
}

/// A picture of four colours, in half a byte for a pixel after the colours.
void UploadPalette()
{
    GLubyte image[16 * 4 + 32 * 32 / 2] = {255, 0, 0, 255, 0, 255, 0, 255, 0, 0, 255, 80, 255, 255, 0, 255};
    for (std::size_t i = 64; i < sizeof image; ++i)
        image[i] = static_cast<GLubyte>((i / 3 % 4) << 4 | (i / 16 % 4));
    glCompressedTexImage2D(GL_TEXTURE_2D, 0, GL_PALETTE4_RGBA8_OES, 32, 32, 0, sizeof image, image);
}

} // namespace

FAMILY("fixed-function", stage)
{
    const EGLint version[] = {EGL_CONTEXT_CLIENT_VERSION, 1, EGL_NONE};
    const EGLContext context = eglCreateContext(stage.Display(), stage.Config(), EGL_NO_CONTEXT, version);
    if (context == EGL_NO_CONTEXT)
        Stage::Fail("making a context of OpenGL ES 1.1");
    stage.MakeCurrent(stage.Surface(), context);
    eglSwapInterval(stage.Display(), 0);
    const auto genFramebuffers = Load<PFNGLGENFRAMEBUFFERSOESPROC>("glGenFramebuffersOES");
    const auto bindFramebuffer = Load<PFNGLBINDFRAMEBUFFEROESPROC>("glBindFramebufferOES");
    const auto framebufferTexture = Load<PFNGLFRAMEBUFFERTEXTURE2DOESPROC>("glFramebufferTexture2DOES");

    const GLushort order[] = {0, 1, 2, 2, 1, 3};
    const GLuint vertices = MakeBuffer(GL_ARRAY_BUFFER, sizeof quad, quad);
    const GLuint indices = MakeBuffer(GL_ELEMENT_ARRAY_BUFFER, sizeof order, order);
    glBindBuffer(GL_ARRAY_BUFFER, 0);
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
    glActiveTexture(GL_TEXTURE1);
    MakeTexture(GL_TEXTURE_2D);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 16, 16, 0, GL_RGBA, GL_UNSIGNED_BYTE, Pattern(16, 16, 3).data());
    glTexEnvx(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_ADD);
    glActiveTexture(GL_TEXTURE0);
    const GLuint target = MakeTexture(GL_TEXTURE_2D);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 64, 64, 0, GL_RGBA, GL_UNSIGNED_BYTE, Pattern(64, 64, 1).data());
    GLuint framebuffer = 0;
    genFramebuffers(1, &framebuffer);
    bindFramebuffer(GL_FRAMEBUFFER_OES, framebuffer);
    framebufferTexture(GL_FRAMEBUFFER_OES, GL_COLOR_ATTACHMENT0_OES, GL_TEXTURE_2D, target, 0);
    bindFramebuffer(GL_FRAMEBUFFER_OES, 0);
    MakeTexture(GL_TEXTURE_2D);
    UploadPalette();
    SetUpLight();
    glEnableClientState(GL_VERTEX_ARRAY);
    for (int frame = 1; frame <= FrameCount; ++frame) {
        glClearColor(0.1f, 0.2f, 0.3f, 1);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        Quarter(0);
        DrawCube(frame);
        Quarter(1);
        DrawPicture(vertices, indices, frame);
        Quarter(2);
        DrawPoints(frame);
        DrawThroughFramebuffer(framebuffer, target, frame);
        EndFrame(stage);
    }
    stage.MakeCurrent();
    eglDestroyContext(stage.Display(), context);
}
