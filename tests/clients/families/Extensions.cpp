// Names the extensions that a program sees, one a line.

#include <EGL/egl.h>
#include <cstdio>

#include "Families.h"

FAMILY("extensions", stage)
{
    for (const char* name = eglQueryString(stage.Display(), EGL_EXTENSIONS); *name; ++name)
        std::putchar(*name == ' ' ? '\n' : *name);
    GLint count = 0;
    glGetIntegerv(GL_NUM_EXTENSIONS, &count);
    for (GLint i = 0; i < count; ++i)
        std::printf("\n%s", reinterpret_cast<const char*>(glGetStringi(GL_EXTENSIONS, static_cast<GLuint>(i))));
}
