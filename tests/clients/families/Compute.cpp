// Compute shaders: particles in a shader storage buffer, survivors counted by an atomic counter and drawn with a count
// that the program never sees, and an image that one shader writes and another samples.

#include "Families.h"

namespace {

constexpr GLuint Particles = 64;

const char* const moveShader =
    "#version 310 es\nlayout(local_size_x = 16) in;"
    "struct Particle { vec2 place; vec2 speed; };"
    "layout(std430, binding = 0) buffer All { Particle all[]; };"
    "layout(std430, binding = 1) writeonly buffer Shown { vec4 shown[]; };"
    "layout(binding = 0, offset = 4) uniform atomic_uint count;"
    "layout(location = 3) uniform float step;"
    "void main() {"
    "  uint i = gl_GlobalInvocationID.x; vec2 place = all[i].place + all[i].speed * step;"
    "  if (abs(place.x) > 1.0) all[i].speed.x = -all[i].speed.x;"
    "  if (abs(place.y) > 1.0) all[i].speed.y = -all[i].speed.y;"
    "  all[i].place = place;"
    // The order of the survivors is not determined, so each keeps its own place; the others lie outside of the picture.
    "  bool alive = place.x + place.y < 0.6; if (alive) atomicCounterIncrement(count);"
    "  shown[i] = alive ? vec4(place, 0.5 + 0.5 * place) : vec4(9.0);"
    "}";
const char* const paintShader =
    "#version 310 es\nlayout(local_size_x = 8, local_size_y = 8) in;"
    "layout(rgba8, binding = 2) writeonly uniform mediump image2D picture; uniform uint seed;"
    "shared uint row[8];"
    "void main() {"
    "  uvec2 at = gl_GlobalInvocationID.xy; if (gl_LocalInvocationID.x == 0u) row[gl_LocalInvocationID.y] = 0u; "
    "barrier();"
    "  atomicAdd(row[gl_LocalInvocationID.y], at.x * seed); barrier();"
    "  imageStore(picture, ivec2(at), vec4(float(row[gl_LocalInvocationID.y] % 256u) / 255.0, vec2(at % 16u) / 15.0, "
    "1.0));"
    "}";
const char* const pointVertex = "#version 300 es\nlayout(location = 0) in vec4 particle; out vec4 shade;"
                                "void main() { shade = vec4(particle.zw, 1.0, 1.0);"
                                "gl_PointSize = 5.0; gl_Position = vec4(particle.xy, 0.0, 1.0); }";

} // namespace

FAMILY("compute", stage)
{
    const GLuint move = SeparableProgram(GL_COMPUTE_SHADER, moveShader);
    const GLuint paint = SeparableProgram(GL_COMPUTE_SHADER, paintShader);
    const GLuint points = LinkProgram(pointVertex, flatFragment);
    const GLint seed = glGetUniformLocation(paint, "seed");
    std::vector<float> start;
    for (int i = 0; i < static_cast<int>(Particles); ++i)
        for (int k = 0; k < 4; ++k)
            start.push_back(static_cast<float>(Wave(5 * i + 3 * k)) / 128.0f - 1.0f);
    const GLuint all = MakeBuffer(GL_SHADER_STORAGE_BUFFER, start.size() * sizeof(float), start.data());
    const GLuint shown = MakeBuffer(GL_SHADER_STORAGE_BUFFER, start.size() * sizeof(float), nullptr);
    const GLuint groups[] = {Particles / 16, 1, 1};
    const GLuint dispatch = MakeBuffer(GL_DISPATCH_INDIRECT_BUFFER, sizeof groups, groups);
    // Count, instances, first, reserved: the counter of the shader is the number of instances.
    const GLuint command[] = {4, 0, 0, 0};
    const GLuint draw = MakeBuffer(GL_DRAW_INDIRECT_BUFFER, sizeof command, command);
    const GLuint image = MakeStorage(32);
    const GLuint corners = MakeBuffer(GL_ARRAY_BUFFER, sizeof quad, quad);
    const GLushort order[] = {0, 1, 2, 3};
    const GLuint indices = MakeBuffer(GL_ELEMENT_ARRAY_BUFFER, sizeof order, order);
    const GLuint elements[] = {4, 1, 0, 0, 0};
    const GLuint drawElements = MakeBuffer(GL_COPY_WRITE_BUFFER, sizeof elements, elements);
    GLuint array = 0;
    glGenVertexArrays(1, &array);
    glBindVertexArray(array);
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, indices);
    glEnableVertexAttribArray(0);
    for (int frame = 1; frame <= FrameCount; ++frame) {
        glClear(GL_COLOR_BUFFER_BIT);
        glBindBuffer(GL_DRAW_INDIRECT_BUFFER, draw);
        glBufferSubData(GL_DRAW_INDIRECT_BUFFER, 0, sizeof command, command);
        glBindBufferBase(GL_SHADER_STORAGE_BUFFER, 0, all);
        glBindBufferBase(GL_SHADER_STORAGE_BUFFER, 1, shown);
        glBindBufferBase(GL_ATOMIC_COUNTER_BUFFER, 0, draw);
        glUseProgram(move);
        glUniform1f(3, 0.05f * static_cast<float>(frame));
        glBindBuffer(GL_DISPATCH_INDIRECT_BUFFER, dispatch);
        glDispatchComputeIndirect(0);
        glUseProgram(paint);
        glUniform1ui(seed, static_cast<GLuint>(frame));
        glBindImageTexture(2, image, 0, GL_FALSE, 0, GL_WRITE_ONLY, GL_RGBA8);
        glDispatchCompute(4, 4, 1);
        glMemoryBarrier(GL_ALL_BARRIER_BITS);

        // As many copies of the picture as there are survivors, of which only the last is seen.
        glViewport(0, 0, 256, 128);
        glUseProgram(PictureProgram());
        glBindTexture(GL_TEXTURE_2D, image);
        glBindBuffer(GL_ARRAY_BUFFER, corners);
        glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 0, nullptr);
        glDrawArraysIndirect(GL_TRIANGLE_STRIP, nullptr);
        glBindBuffer(GL_DRAW_INDIRECT_BUFFER, drawElements);
        glViewport(64, 32, 64, 64);
        glDrawElementsIndirect(GL_TRIANGLE_STRIP, GL_UNSIGNED_SHORT, nullptr);

        glViewport(0, 128, 256, 128);
        glUseProgram(points);
        glBindBuffer(GL_ARRAY_BUFFER, shown);
        glVertexAttribPointer(0, 4, GL_FLOAT, GL_FALSE, 0, nullptr);
        glDrawArrays(GL_POINTS, 0, Particles);

        // The program draws a bar as long as the count that it reads.
        glBindBuffer(GL_ATOMIC_COUNTER_BUFFER, draw);
        const void* const counted = glMapBufferRange(GL_ATOMIC_COUNTER_BUFFER, 4, 4, GL_MAP_READ_BIT);
        const GLsizei survivors = static_cast<GLsizei>(*static_cast<const GLuint*>(counted));
        glUnmapBuffer(GL_ATOMIC_COUNTER_BUFFER);
        glEnable(GL_SCISSOR_TEST);
        glScissor(0, 124, survivors * 4, 8);
        glClearColor(1, 1, 0.4f, 1);
        glClear(GL_COLOR_BUFFER_BIT);
        glClearColor(0, 0, 0, 0);
        glDisable(GL_SCISSOR_TEST);
        EndFrame(stage);
    }
}
