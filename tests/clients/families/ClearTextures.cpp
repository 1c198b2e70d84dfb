// A picture whose parts are cleared without a framebuffer, some of them in earlier frames only.

#include "Families.h"

FAMILY("clear-textures", stage)
{
    constexpr int Side = 64;
    const auto clear = Load<PFNGLCLEARTEXIMAGEEXTPROC>("glClearTexImageEXT");
    const auto clearPart = Load<PFNGLCLEARTEXSUBIMAGEEXTPROC>("glClearTexSubImageEXT");
    const GLuint layered = LinkProgram(
        pictureVertex,
        "#version 300 es\nprecision mediump float; in vec2 at; out vec4 result;"
        "uniform mediump sampler2DArray layers; void main() { result = texture(layers, vec3(at, at.x * 3.0)); }");
    const GLuint picture = MakeStorage(Side);
    const GLfloat grey[] = {0.3f, 0.3f, 0.35f, 1};
    clear(picture, 0, GL_RGBA, GL_FLOAT, grey);
    const GLuint layers = MakeTexture(GL_TEXTURE_2D_ARRAY);
    glTexStorage3D(GL_TEXTURE_2D_ARRAY, 1, GL_RGBA8, Side, Side, 4);
    // What a clear reads does not depend on how uploads are unpacked.
    glPixelStorei(GL_UNPACK_SKIP_PIXELS, 1000);
    clear(layers, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
    glEnableVertexAttribArray(0);
    for (int frame = 1; frame <= FrameCount; ++frame) {
        const std::uint8_t colour[] = {Wave(frame), Wave(frame * 5), 240, 255};
        clearPart(picture, 0, frame * 6, frame * 3, 0, 12, 30, 1, GL_RGBA, GL_UNSIGNED_BYTE, colour);
        clearPart(layers, 0, 0, 0, frame % 4, Side, 7 * frame, 1, GL_RGBA, GL_UNSIGNED_BYTE, colour);
        if (frame == 5)
            clear(picture, 0, GL_RGBA, GL_UNSIGNED_BYTE, colour);
        glClear(GL_COLOR_BUFFER_BIT);
        glViewport(0, 0, 128, 256);
        DrawQuad(PictureProgram());
        glViewport(128, 0, 128, 256);
        DrawQuad(layered);
        EndFrame(stage);
    }
}
