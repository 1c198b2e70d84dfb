// Uniform buffers whose layout the program asks for, blocks in an array, and a ring of ranges with one for each draw.

#include <cstring>

#include "Families.h"

namespace {

const char* const askedVertex =
    "#version 320 es\nlayout(location = 0) in vec2 position;"
    "layout(shared) uniform Place { vec2 offset; mat2 turn; float sizes[3]; };"
    "void main() { gl_Position = vec4(turn * position * sizes[gl_InstanceID % 3] + offset, 0.0, 1.0); }";
const char* const askedFragment =
    "#version 320 es\nprecision mediump float; layout(std140) uniform Paint { vec4 colour; } paints[2];"
    "out vec4 result;"
    "void main() { result = int(gl_FragCoord.x) / 8 % 2 == 0 ? paints[0].colour : paints[1].colour; }";
const char* const ringVertex =
    "#version 320 es\nlayout(location = 0) in vec2 position;"
    "layout(std140, binding = 5) uniform One { vec4 place; vec4 paint; }; uniform uvec4 palette[2]; out vec4 shade;"
    "void main() { shade = paint * vec4(palette[gl_VertexID % 2]) / 255.0; gl_Position = vec4(position * place.z + "
    "place.xy, 0.0, 1.0); }";
const char* const ringFragment = "#version 320 es\nprecision mediump float; in vec4 shade; out vec4 result;"
                                 "void main() { result = shade; }";

/// Where the driver put the members of the block, in bytes.
struct Layout {
    GLint block = 0;
    GLint offset = 0, turn = 0, turnStride = 0, sizes = 0, sizeStride = 0;
};

Layout AskLayout(GLuint program)
{
    Layout layout;
    const char* const names[] = {"offset", "turn", "sizes[0]"};
    GLuint indices[3] = {};
    glGetUniformIndices(program, 3, names, indices);
    GLint offsets[3] = {}, strides[3] = {}, matrices[3] = {};
    glGetActiveUniformsiv(program, 3, indices, GL_UNIFORM_OFFSET, offsets);
    glGetActiveUniformsiv(program, 3, indices, GL_UNIFORM_ARRAY_STRIDE, strides);
    glGetActiveUniformsiv(program, 3, indices, GL_UNIFORM_MATRIX_STRIDE, matrices);
    glGetActiveUniformBlockiv(program, glGetUniformBlockIndex(program, "Place"), GL_UNIFORM_BLOCK_DATA_SIZE,
                              &layout.block);
    layout.offset = offsets[0];
    layout.turn = offsets[1];
    layout.turnStride = matrices[1];
    layout.sizes = offsets[2];
    layout.sizeStride = strides[2];
    return layout;
}

void Put(std::vector<std::uint8_t>& block, int at, std::initializer_list<float> values)
{
    std::memcpy(block.data() + at, values.begin(), values.size() * sizeof(float));
}

} // namespace

FAMILY("uniform-buffers", stage)
{
    const GLuint asked = LinkProgram(askedVertex, askedFragment);
    const GLuint ringed = LinkProgram(ringVertex, ringFragment);
    const Layout layout = AskLayout(asked);
    glUniformBlockBinding(asked, glGetUniformBlockIndex(asked, "Place"), 0);
    glUniformBlockBinding(asked, glGetUniformBlockIndex(asked, "Paint[0]"), 1);
    glUniformBlockBinding(asked, glGetUniformBlockIndex(asked, "Paint[1]"), 2);
    GLint alignment = 0;
    glGetIntegerv(GL_UNIFORM_BUFFER_OFFSET_ALIGNMENT, &alignment);
    const auto stride = static_cast<std::size_t>((32 + alignment - 1) / alignment * alignment);
    const GLuint place = MakeBuffer(GL_UNIFORM_BUFFER, static_cast<std::size_t>(layout.block), nullptr);
    const float colours[] = {0.9f, 0.3f, 0.2f, 1, 0.2f, 0.4f, 0.9f, 1};
    const GLuint paints[] = {MakeBuffer(GL_UNIFORM_BUFFER, 16, colours),
                             MakeBuffer(GL_UNIFORM_BUFFER, 16, colours + 4)};
    const GLuint ring = MakeBuffer(GL_UNIFORM_BUFFER, 9 * stride, nullptr);
    glEnableVertexAttribArray(0);
    glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 0, quad);
    for (int frame = 1; frame <= FrameCount; ++frame) {
        const float time = static_cast<float>(frame) / FrameCount;
        glClear(GL_COLOR_BUFFER_BIT);

        glViewport(0, 0, 256, 128);
        std::vector<std::uint8_t> block(static_cast<std::size_t>(layout.block));
        Put(block, layout.offset, {0.3f * time, -0.2f});
        Put(block, layout.turn, {1 - time, time});
        Put(block, layout.turn + layout.turnStride, {-time, 1 - time});
        for (int i = 0; i < 3; ++i)
            Put(block, layout.sizes + i * layout.sizeStride, {0.3f + 0.2f * static_cast<float>(i)});
        glBindBuffer(GL_UNIFORM_BUFFER, place);
        glBufferSubData(GL_UNIFORM_BUFFER, 0, layout.block, block.data());
        glBindBufferBase(GL_UNIFORM_BUFFER, 0, place);
        glBindBufferBase(GL_UNIFORM_BUFFER, 1, paints[frame % 2]);
        glBindBufferBase(GL_UNIFORM_BUFFER, 2, paints[1 - frame % 2]);
        glUseProgram(asked);
        glDrawArraysInstanced(GL_TRIANGLE_STRIP, 0, 4, 1 + frame % 3);

        // All ranges are written at once, and each draw takes another.
        glViewport(0, 128, 256, 128);
        std::vector<std::uint8_t> ranges(9 * stride);
        for (int i = 0; i < 9; ++i) {
            const float step = static_cast<float>(i) / 9;
            Put(ranges, i * static_cast<int>(stride),
                {step * 1.8f - 0.8f, 0.4f * time, 0.08f, 0, step, 0.8f - time / 2, 1 - step, 1});
        }
        glBindBuffer(GL_UNIFORM_BUFFER, ring);
        glBufferData(GL_UNIFORM_BUFFER, static_cast<GLsizeiptr>(ranges.size()), ranges.data(), GL_STREAM_DRAW);
        glUseProgram(ringed);
        const GLuint palette[] = {250, 180, 160, 255, 170, 200, 190, 255};
        glUniform4uiv(glGetUniformLocation(ringed, "palette"), 2, palette);
        for (std::size_t i = 0; i < 9; ++i) {
            glBindBufferRange(GL_UNIFORM_BUFFER, 5, ring, static_cast<GLintptr>(i * stride), 32);
            glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
        }
        EndFrame(stage);
    }
}
