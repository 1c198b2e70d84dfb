#include "Replay/Driver/Driver.h"

#include <cstdlib>

#include "Interfaces/Core.h"
#include "Interfaces/GLState.h"
#include "Replay/Driver/ConfigRequests.h"

namespace Replay {

namespace {

using Core::KHRLayer;

std::string LastEglError()
{
    const auto getError = KHRLayer::EGLProc().eglGetError;
    return getError ? Core::LogFormat::GetEGLEnumString(static_cast<unsigned int>(getError())) : "an unknown error";
}

} // namespace

std::string OpenDriver(const std::string& directory, wl_display* compositor)
{
    const char* platform = compositor ? "wayland" : "surfaceless";
    // eglGetDisplay takes the platform from here.
    setenv("EGL_PLATFORM", platform, 1);
    KHRLayer::SetDriverDirectory(directory);
    KHRLayer::LoadEGL();
    KHRLayer::LoadGLESCore();
    if (!KHRLayer::LoadError().empty()) {
        return "No driver: " + KHRLayer::LoadError() +
               ". Install one (packages libegl1, libgles2 and libegl-mesa0), or name its folder with -driver.";
    }
    const Core::EGLProcTable& egl = KHRLayer::EGLProc();
    if (!egl.eglGetDisplay && !egl.eglInitialize && !egl.eglMakeCurrent) {
        return "No driver: libEGL" + (directory.empty() ? "" : " in " + directory) +
               " is no EGL library: it has neither eglGetDisplay nor eglInitialize.";
    }
    AdaptConfigRequests(compositor ? SurfaceKind::Window : SurfaceKind::Pbuffer);

    if (!egl.eglGetDisplay || !egl.eglInitialize)
        return "";
    const std::string advice = compositor ? " Try -headless to replay off screen." : " The driver must support it.";
    const EGLDisplay display = egl.eglGetDisplay(reinterpret_cast<EGLNativeDisplayType>(compositor));
    if (display == EGL_NO_DISPLAY)
        return std::string("No display: eglGetDisplay found none for the platform ") + platform + "." + advice;
    if (!egl.eglInitialize(display, nullptr, nullptr)) {
        return std::string("No display: eglInitialize failed with ") + LastEglError() + " on the platform " + platform +
               "." + advice;
    }
    EGLint configs = 0;
    if (egl.eglGetConfigs && (!egl.eglGetConfigs(display, nullptr, 0, &configs) || configs <= 0))
        return std::string("No config: the driver offers none on the platform ") + platform + "." + advice;
    return "";
}

std::string MissingContext()
{
    const Core::EGLProcTable& egl = KHRLayer::playbackEGLProcTable;
    if (!egl.eglGetCurrentContext || egl.eglGetCurrentContext() != EGL_NO_CONTEXT || !egl.eglGetDisplay ||
        !egl.eglInitialize || !egl.eglChooseConfig || !egl.eglGetConfigAttrib || !egl.eglCreateContext ||
        !egl.eglCreateWindowSurface || !egl.eglCreatePbufferSurface || !egl.eglMakeCurrent)
        return "";
    return "The driver made no context for the captured configs, or no surface; the errors above say which call "
           "failed. Try another config with -config, for example -config R8G8B8A8D24S8.";
}

std::map<std::string, std::string> DriverStrings()
{
    const Core::EGLProcTable& egl = KHRLayer::EGLProc();
    const auto getString = KHRLayer::GLESProc().glGetString;
    if (!egl.eglGetCurrentContext || egl.eglGetCurrentContext() == EGL_NO_CONTEXT || !getString)
        return {};
    std::map<std::string, std::string> strings;
    // OpenGL ES 1.1 has no shaders.
    const bool hasShaders = !Core::IsFixedFunction(Core::GetVersion(KHRLayer::GLESProc()));
    for (const GLenum name : {GL_VENDOR, GL_RENDERER, GL_VERSION, GL_SHADING_LANGUAGE_VERSION})
        if (const auto* text = name != GL_SHADING_LANGUAGE_VERSION || hasShaders
                                   ? reinterpret_cast<const char*>(getString(name))
                                   : nullptr)
            strings[Core::LogFormat::GetGLEnumString(name)] = text;
    if (!egl.eglGetCurrentDisplay || !egl.eglQueryString)
        return strings;
    for (const EGLint name : {EGL_VENDOR, EGL_VERSION})
        if (const char* text = egl.eglQueryString(egl.eglGetCurrentDisplay(), name))
            strings[Core::LogFormat::GetEGLEnumString(static_cast<unsigned int>(name))] = text;
    return strings;
}

Data::DriverName CurrentDriver()
{
    std::map<std::string, std::string> strings = DriverStrings();
    return {strings["GL_RENDERER"], strings["GL_VERSION"]};
}

bool IsContextLost()
{
    const Core::EGLProcTable& egl = KHRLayer::EGLProc();
    const auto resetStatus = KHRLayer::GLESProc().glGetGraphicsResetStatus
                                 ? KHRLayer::GLESProc().glGetGraphicsResetStatus
                                 : KHRLayer::GLESExtProc().glGetGraphicsResetStatusEXT;
    return resetStatus && egl.eglGetCurrentContext && egl.eglGetCurrentContext() != EGL_NO_CONTEXT &&
           resetStatus() != GL_NO_ERROR;
}

} // namespace Replay
