// Making programs of shaders; a failure ends the client.
#pragma once

#include <GLES2/gl2.h>
#include <functional>

GLuint CompileShader(GLenum kind, const char* source);
/// The shader names are given back at once, as most applications do: the program keeps the shaders alive.
/// `beforeLink` may bind locations
/// and attach more shaders.
GLuint LinkProgram(const char* vertex, const char* fragment, const std::function<void(GLuint)>& beforeLink = {});
/// A program of one stage, by the short way.
GLuint SeparableProgram(GLenum stage, const char* source);
