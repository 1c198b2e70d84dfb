// One texture seen through samplers that wrap, filter, bound and compare in different ways; they go with the unit.

#include "Families.h"

FAMILY("samplers", stage)
{
    const GLuint tiled = LinkProgram(
        pictureVertex, "#version 300 es\nprecision mediump float; in vec2 at; out vec4 result;"
                       "uniform sampler2D pictures[2]; uniform float scale;"
                       "void main() { vec2 place = (at - 0.3) * scale;"
                       "result = at.x < 0.5 ? texture(pictures[0], place) : texture(pictures[1], place); }");
    const GLuint compared =
        LinkProgram(pictureVertex, "#version 300 es\nprecision mediump float; precision mediump sampler2DShadow;"
                                   "in vec2 at; out vec4 result; uniform sampler2DShadow depths; uniform float level;"
                                   "void main() { result = vec4(texture(depths, vec3(at, level)), at, 1.0); }");
    const GLuint picture = MakeTexture(GL_TEXTURE_2D);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 16, 16, 0, GL_RGBA, GL_UNSIGNED_BYTE, Pattern(16, 16, 3).data());
    glGenerateMipmap(GL_TEXTURE_2D);
    const GLuint depths = MakeTexture(GL_TEXTURE_2D);
    std::vector<std::uint16_t> levels;
    for (int i = 0; i < 16 * 16; ++i)
        levels.push_back(static_cast<std::uint16_t>(257 * Wave(i)));
    glTexImage2D(GL_TEXTURE_2D, 0, GL_DEPTH_COMPONENT16, 16, 16, 0, GL_DEPTH_COMPONENT, GL_UNSIGNED_SHORT,
                 levels.data());
    GLuint samplers[4] = {};
    glGenSamplers(4, samplers);
    constexpr GLint Wraps[] = {GL_MIRRORED_REPEAT, GL_CLAMP_TO_EDGE, GL_CLAMP_TO_BORDER, GL_REPEAT};
    for (std::size_t i = 0; i < 4; ++i) {
        glSamplerParameteri(samplers[i], GL_TEXTURE_WRAP_S, Wraps[i]);
        glSamplerParameteri(samplers[i], GL_TEXTURE_WRAP_T, Wraps[3 - i]);
        glSamplerParameteri(samplers[i], GL_TEXTURE_MAG_FILTER, i % 2 == 0 ? GL_NEAREST : GL_LINEAR);
    }
    const float border[] = {0.9f, 0.5f, 0.1f, 1};
    glSamplerParameterfv(samplers[2], GL_TEXTURE_BORDER_COLOR, border);
    glSamplerParameteri(samplers[3], GL_TEXTURE_COMPARE_MODE, GL_COMPARE_REF_TO_TEXTURE);
    glSamplerParameteri(samplers[3], GL_TEXTURE_COMPARE_FUNC, GL_GREATER);
    glUseProgram(tiled);
    const GLint units[] = {3, 5};
    glUniform1iv(glGetUniformLocation(tiled, "pictures"), 2, units);
    glEnableVertexAttribArray(0);
    for (int frame = 1; frame <= FrameCount; ++frame) {
        glClear(GL_COLOR_BUFFER_BIT);
        for (int i = 0; i < 3; ++i) {
            Quarter(i);
            glUseProgram(tiled);
            glUniform1f(glGetUniformLocation(tiled, "scale"), 1.0f + 0.5f * static_cast<float>(frame));
            for (int k = 0; k < 2; ++k) {
                glActiveTexture(GL_TEXTURE0 + static_cast<GLuint>(units[k]));
                glBindTexture(GL_TEXTURE_2D, picture);
                glBindSampler(static_cast<GLuint>(units[k]), samplers[(i + k) % 3]);
            }
            // The least level is that of the sampler, not of the texture.
            glSamplerParameterf(samplers[0], GL_TEXTURE_MIN_LOD, static_cast<float>(frame % 4));
            glSamplerParameteri(samplers[0], GL_TEXTURE_MIN_FILTER, GL_NEAREST_MIPMAP_NEAREST);
            DrawQuad(tiled);
        }
        Quarter(3);
        glActiveTexture(GL_TEXTURE0);
        glBindTexture(GL_TEXTURE_2D, depths);
        glBindSampler(0, samplers[3]);
        glUseProgram(compared);
        glUniform1f(glGetUniformLocation(compared, "level"), static_cast<float>(frame) / FrameCount);
        DrawQuad(compared);
        EndFrame(stage);
    }
    glDeleteSamplers(4, samplers);
}
