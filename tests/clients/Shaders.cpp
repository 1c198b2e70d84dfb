#include "Shaders.h"

#include <GLES3/gl32.h>
#include <cstdio>

#include "Stage.h"

GLuint CompileShader(GLenum kind, const char* source)
{
    const GLuint shader = glCreateShader(kind);
    glShaderSource(shader, 1, &source, nullptr);
    glCompileShader(shader);
    GLint compiled = GL_FALSE;
    glGetShaderiv(shader, GL_COMPILE_STATUS, &compiled);
    if (!compiled) {
        char log[1024] = "";
        glGetShaderInfoLog(shader, sizeof log, nullptr, log);
        std::fprintf(stderr, "%s", log);
        Stage::Fail("compiling a shader");
    }
    return shader;
}

namespace {

GLuint Linked(GLuint program)
{
    GLint linked = GL_FALSE;
    glGetProgramiv(program, GL_LINK_STATUS, &linked);
    if (!linked)
        Stage::Fail("linking a program");
    return program;
}

} // namespace

GLuint LinkProgram(const char* vertex, const char* fragment, const std::function<void(GLuint)>& beforeLink)
{
    const GLuint program = glCreateProgram();
    for (const GLuint shader : {CompileShader(GL_VERTEX_SHADER, vertex), CompileShader(GL_FRAGMENT_SHADER, fragment)}) {
        glAttachShader(program, shader);
        glDeleteShader(shader);
    }
    if (beforeLink)
        beforeLink(program);
    glLinkProgram(program);
    return Linked(program);
}

GLuint SeparableProgram(GLenum stage, const char* source)
{
    return Linked(glCreateShaderProgramv(stage, 1, &source));
}
