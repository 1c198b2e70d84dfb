// What programs tell tools: labels of objects of every kind, groups, messages, a callback that the driver calls, and
// the markers of the older extensions. The picture depends on how deep the groups are, and on what the labels say.

#include <EGL/egl.h>
#include <cstring>

#include "Families.h"

namespace {

void OnMessage(GLenum, GLenum, GLuint, GLenum, GLsizei length, const GLchar*, const void* user)
{
    *static_cast<int*>(const_cast<void*>(user)) += length > 0 ? 1 : 0;
}

} // namespace

FAMILY("debug-labels", stage)
{
    int messages = 0;
    glEnable(GL_DEBUG_OUTPUT);
    glEnable(GL_DEBUG_OUTPUT_SYNCHRONOUS);
    glDebugMessageCallback(OnMessage, &messages);
    glDebugMessageControl(GL_DONT_CARE, GL_DONT_CARE, GL_DONT_CARE, 0, nullptr, GL_TRUE);
    const auto pushMarker = Load<PFNGLPUSHGROUPMARKEREXTPROC>("glPushGroupMarkerEXT");
    const auto popMarker = Load<PFNGLPOPGROUPMARKEREXTPROC>("glPopGroupMarkerEXT");
    const auto insertMarker = Load<PFNGLINSERTEVENTMARKEREXTPROC>("glInsertEventMarkerEXT");

    // Of these names, some have no object yet when they get their label.
    GLuint buffer = MakeBuffer(GL_ARRAY_BUFFER, 64, nullptr), texture = MakeTexture(GL_TEXTURE_2D), array = 0,
           framebuffer = 0, renderbuffer = 0, query = 0, sampler = 0, pipeline = 0, feedback = 0;
    glGenVertexArrays(1, &array);
    glBindVertexArray(array);
    glBindVertexArray(0);
    glGenFramebuffers(1, &framebuffer);
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    glGenRenderbuffers(1, &renderbuffer);
    glBindRenderbuffer(GL_RENDERBUFFER, renderbuffer);
    glGenQueries(1, &query);
    glBeginQuery(GL_ANY_SAMPLES_PASSED, query);
    glEndQuery(GL_ANY_SAMPLES_PASSED);
    glGenSamplers(1, &sampler);
    glBindSampler(3, sampler);
    glGenProgramPipelines(1, &pipeline);
    glBindProgramPipeline(pipeline);
    glBindProgramPipeline(0);
    glGenTransformFeedbacks(1, &feedback);
    glBindTransformFeedback(GL_TRANSFORM_FEEDBACK, feedback);
    glBindTransformFeedback(GL_TRANSFORM_FEEDBACK, 0);
    const GLuint shader = CompileShader(GL_VERTEX_SHADER, "//</pre></script><script>document.title='owned'</script>\n"
                                                          "void main() { gl_Position = vec4(0); }");
    const struct {
        GLenum kind;
        GLuint name;
    } objects[] = {{GL_BUFFER, buffer},           {GL_TEXTURE, texture},           {GL_VERTEX_ARRAY, array},
                   {GL_FRAMEBUFFER, framebuffer}, {GL_RENDERBUFFER, renderbuffer}, {GL_QUERY, query},
                   {GL_SAMPLER, sampler},         {GL_PROGRAM_PIPELINE, pipeline}, {GL_TRANSFORM_FEEDBACK, feedback},
                   {GL_SHADER, shader},           {GL_PROGRAM, FlatProgram()}};
    for (const auto& object : objects)
        glObjectLabel(object.kind, object.name, 9, "an object that is longer than its length");
    // Whoever shows labels on a page must keep them text.
    const char* const markup = "<img src=x onerror=\"document.title='owned'\">";
    glObjectLabel(GL_TEXTURE, MakeTexture(GL_TEXTURE_2D), -1, markup);
    const GLsync fence = glFenceSync(GL_SYNC_GPU_COMMANDS_COMPLETE, 0);
    glObjectPtrLabel(fence, -1, "a fence");
    glEnableVertexAttribArray(0);
    for (int frame = 1; frame <= FrameCount; ++frame) {
        glClear(GL_COLOR_BUFFER_BIT);
        insertMarker(0, "a frame");
        pushMarker(0, markup);
        const int groups = frame % 4;
        for (int i = 0; i < groups; ++i) {
            glPushDebugGroup(GL_DEBUG_SOURCE_APPLICATION, static_cast<GLuint>(i), -1, "group");
            glDebugMessageInsert(GL_DEBUG_SOURCE_APPLICATION, GL_DEBUG_TYPE_MARKER, 7, GL_DEBUG_SEVERITY_NOTIFICATION,
                                 4, "message");
        }
        GLint depth = 0;
        glGetIntegerv(GL_DEBUG_GROUP_STACK_DEPTH, &depth);
        char label[32] = "";
        GLsizei length = 0;
        const auto& object = objects[frame % 11];
        glGetObjectLabel(object.kind, object.name, sizeof label, &length, label);
        if (std::strcmp(label, "an object") != 0)
            Stage::Fail("reading a label");
        glViewport(0, 0, 32 * depth, 16 * length);
        glVertexAttrib4f(1, 0.9f, 0.2f * static_cast<float>(depth), 0.3f, 1);
        DrawQuad(FlatProgram());
        for (int i = 0; i < groups; ++i)
            glPopDebugGroup();
        popMarker();
        // The driver has called as often as there were groups, in and out, and messages.
        glViewport(128, 128, 8 * messages, 64);
        glVertexAttrib4f(1, 0.2f, 0.9f, 0.3f, 1);
        DrawQuad(FlatProgram());
        messages = 0;
        EndFrame(stage);
    }
    glDebugMessageCallback(nullptr, nullptr);
    glDeleteSync(fence);
}
