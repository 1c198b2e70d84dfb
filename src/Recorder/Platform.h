// The types of EGL and OpenGL ES, without their prototypes: the recorder defines functions of these names itself.
// Native objects are pointers here whatever they are on a platform: the recorder only passes them on.
#pragma once

#define EGL_NO_PLATFORM_SPECIFIC_TYPES 1
#define EGL_EGL_PROTOTYPES 0
#define GL_GLES_PROTOTYPES 0
#include <EGL/egl.h>

#include <EGL/eglext.h>

#include <GLES3/gl32.h>

#include <GLES2/gl2ext.h>
