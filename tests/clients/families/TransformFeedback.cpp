// Particles that move from one buffer to the other by transform feedback objects, which pause for a draw in between,
// and separate outputs that are counted and copied on the driver's side.

#include "Families.h"

namespace {

constexpr int Particles = 24;
constexpr std::size_t ParticleBytes = 4 * sizeof(float);

// Points that are only caught lie outside the picture, since no fragment shader gives them a colour.
const char* const moveVertex =
    "#version 300 es\nlayout(location = 0) in vec2 place; layout(location = 1) in vec2 speed;"
    "out vec2 newPlace; out vec2 newSpeed; uniform float step;"
    "void main() { newPlace = place + speed * step;"
    "  newSpeed = mix(speed, -speed, vec2(greaterThan(abs(newPlace), vec2(0.9))));"
    "  gl_Position = vec4(2.0, 2.0, 0.0, 1.0); }";
const char* const noFragment = "#version 300 es\nvoid main() {}";
const char* const splitVertex =
    "#version 300 es\nlayout(location = 0) in vec2 place; out vec2 corner; out vec4 paint;"
    "void main() { corner = place * 0.3; paint = vec4(abs(place), 0.7, 1.0); gl_Position = vec4(2.0, 2.0, 0.0, 1.0); }";
const char* const pointVertex =
    "#version 300 es\nlayout(location = 0) in vec2 place; layout(location = 1) in vec2 speed;"
    "out vec4 shade; void main() { shade = vec4(abs(speed), 0.4, 1.0);"
    "gl_PointSize = 6.0; gl_Position = vec4(place, 0.0, 1.0); }";

GLuint CapturingProgram(const char* vertex, std::initializer_list<const char*> varyings, GLenum mode)
{
    return LinkProgram(
        vertex, noFragment,
        [&](GLuint program) {
            glTransformFeedbackVaryings(program, static_cast<GLsizei>(varyings.size()), varyings.begin(), mode);
        });
}

void PointAt(GLuint buffer)
{
    glBindBuffer(GL_ARRAY_BUFFER, buffer);
    glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, ParticleBytes, nullptr);
    glVertexAttribPointer(1, 2, GL_FLOAT, GL_FALSE, ParticleBytes, At(8));
}

} // namespace

FAMILY("transform-feedback", stage)
{
    const GLuint move = CapturingProgram(moveVertex, {"newPlace", "newSpeed"}, GL_INTERLEAVED_ATTRIBS);
    const GLuint split = CapturingProgram(splitVertex, {"corner", "paint"}, GL_SEPARATE_ATTRIBS);
    const GLuint points = LinkProgram(pointVertex, flatFragment);
    std::vector<float> start;
    for (int i = 0; i < Particles; ++i)
        for (int k = 0; k < 4; ++k)
            start.push_back(static_cast<float>(Wave(7 * i + 3 * k)) / 150.0f - 0.85f);
    GLuint particles[2] = {}, feedbacks[2] = {}, separate = 0, query = 0;
    glGenTransformFeedbacks(2, feedbacks);
    for (int i = 0; i < 2; ++i) {
        particles[i] = MakeBuffer(GL_ARRAY_BUFFER, Particles * ParticleBytes, start.data());
        glBindTransformFeedback(GL_TRANSFORM_FEEDBACK, feedbacks[i]);
        glBindBufferBase(GL_TRANSFORM_FEEDBACK_BUFFER, 0, particles[i]);
    }
    glGenTransformFeedbacks(1, &separate);
    glBindTransformFeedback(GL_TRANSFORM_FEEDBACK, separate);
    const GLuint corners = MakeBuffer(GL_ARRAY_BUFFER, sizeof quad, quad);
    const GLuint caught = MakeBuffer(GL_TRANSFORM_FEEDBACK_BUFFER, 512, nullptr);
    glBindBufferRange(GL_TRANSFORM_FEEDBACK_BUFFER, 0, caught, 64, 32);
    glBindBufferRange(GL_TRANSFORM_FEEDBACK_BUFFER, 1, caught, 256, 64);
    const GLuint copy = MakeBuffer(GL_COPY_WRITE_BUFFER, 512, nullptr);
    glGenQueries(1, &query);
    glEnableVertexAttribArray(0);
    for (int frame = 1; frame <= FrameCount; ++frame) {
        glClear(GL_COLOR_BUFFER_BIT);
        const int to = frame % 2;
        glViewport(0, 0, 256, 256);
        glEnableVertexAttribArray(1);
        glUseProgram(move);
        glUniform1f(glGetUniformLocation(move, "step"), 0.04f * static_cast<float>(frame));
        glBindTransformFeedback(GL_TRANSFORM_FEEDBACK, feedbacks[to]);
        glBeginQuery(GL_TRANSFORM_FEEDBACK_PRIMITIVES_WRITTEN, query);
        glBeginTransformFeedback(GL_POINTS);
        PointAt(particles[1 - to]);
        glDrawArrays(GL_POINTS, 0, Particles / 2);
        glPauseTransformFeedback();
        glUseProgram(points);
        glDrawArrays(GL_POINTS, 0, Particles);
        glUseProgram(move);
        glResumeTransformFeedback();
        glDrawArrays(GL_POINTS, Particles / 2, Particles / 2);
        glEndTransformFeedback();
        glEndQuery(GL_TRANSFORM_FEEDBACK_PRIMITIVES_WRITTEN);
        GLuint written = 0;
        glGetQueryObjectuiv(query, GL_QUERY_RESULT, &written);

        glUseProgram(split);
        glBindTransformFeedback(GL_TRANSFORM_FEEDBACK, separate);
        glBindBuffer(GL_ARRAY_BUFFER, corners);
        glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 0, nullptr);
        glDisableVertexAttribArray(1);
        glEnable(GL_RASTERIZER_DISCARD);
        glBeginTransformFeedback(GL_POINTS);
        glDrawArrays(GL_POINTS, 0, 4);
        glEndTransformFeedback();
        glDisable(GL_RASTERIZER_DISCARD);
        glBindTransformFeedback(GL_TRANSFORM_FEEDBACK, 0);

        glUseProgram(FlatProgram());
        glBindBuffer(GL_COPY_READ_BUFFER, caught);
        glCopyBufferSubData(GL_COPY_READ_BUFFER, GL_COPY_WRITE_BUFFER, 0, 0, 512);
        glBindBuffer(GL_ARRAY_BUFFER, copy);
        glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 0, At(64));
        glVertexAttribPointer(1, 4, GL_FLOAT, GL_FALSE, 0, At(256));
        glEnableVertexAttribArray(1);
        glViewport(0, 0, 4 * static_cast<GLsizei>(written), 4 * static_cast<GLsizei>(written));
        glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
        glViewport(0, 0, 256, 256);
        glUseProgram(points);
        PointAt(particles[to]);
        glDrawArrays(GL_POINTS, 0, Particles);
        EndFrame(stage);
    }
    glDeleteTransformFeedbacks(2, feedbacks);
}
