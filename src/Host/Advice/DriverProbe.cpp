#include "Host/Advice/DriverProbe.h"

#include <algorithm>

#include <GLES3/gl32.h>

#include "Data/Capture/CaptureHeader.h"
#include "Interfaces/Core.h"
#include "Interfaces/GLState.h"

namespace Host {

namespace {

using Core::KHRLayer;

std::string Text(const char* text)
{
    return text ? text : "";
}

std::string Text(GLenum name)
{
    const auto getString = KHRLayer::GLESProc().glGetString;
    return getString ? Text(reinterpret_cast<const char*>(getString(name))) : "";
}

std::string EnumName(std::uint32_t value)
{
    const std::string name = Core::LogFormat::GetGLEnumString(value);
    return name.empty() ? "format " + std::to_string(value) : name;
}

/// "3.2".
std::string VersionText(int version)
{
    return std::to_string(version / 10) + "." + std::to_string(version % 10);
}

std::int32_t GetInteger(GLenum name)
{
    return Core::GetInteger(KHRLayer::GLESProc(), name);
}

/// The numbers that belong to a count, such as those of GL_COMPRESSED_TEXTURE_FORMATS.
std::vector<GLint> GetList(GLenum countName, GLenum listName)
{
    std::vector<GLint> list(static_cast<std::size_t>(std::clamp(GetInteger(countName), 0, 1024)));
    if (!list.empty())
        KHRLayer::GLESProc().glGetIntegerv(listName, list.data());
    return list;
}

void DropErrors()
{
    const auto getError = KHRLayer::GLESProc().glGetError;
    for (int i = 0; getError && i < 16 && getError() != GL_NO_ERROR; ++i) {
    }
}

bool Contains(const std::vector<GLint>& list, std::uint32_t value)
{
    return std::ranges::find(list, static_cast<GLint>(value)) != list.end();
}

} // namespace

DriverProbe::DriverProbe(wl_display* compositor, const std::string& glVersion)
{
    const Core::EGLProcTable& egl = KHRLayer::EGLProc();
    if (!egl.eglGetDisplay || !egl.eglChooseConfig || !egl.eglCreateContext || !egl.eglDestroyContext ||
        !egl.eglMakeCurrent || !egl.eglBindAPI || !KHRLayer::GLESProc().glGetIntegerv)
        return;
    m_display = egl.eglGetDisplay(reinterpret_cast<EGLNativeDisplayType>(compositor));
    egl.eglBindAPI(EGL_OPENGL_ES_API);
    m_hasFixedFunctions = Core::IsFixedFunction(Core::ParseContextVersion(glVersion));
    m_context = MakeContext(m_hasFixedFunctions);
    if (!HasContext() && m_hasFixedFunctions) {
        m_hasFixedFunctions = false;
        m_context = MakeContext(false);
    }
}

EGLContext DriverProbe::MakeContext(bool hasFixedFunctions) const
{
    const Core::EGLProcTable& egl = KHRLayer::EGLProc();
    const EGLint request[] = {EGL_RENDERABLE_TYPE, hasFixedFunctions ? EGL_OPENGL_ES_BIT : EGL_OPENGL_ES2_BIT,
                              EGL_NONE};
    EGLConfig config = nullptr;
    EGLint count = 0;
    if (!egl.eglChooseConfig(m_display, request, &config, 1, &count) || count < 1)
        return EGL_NO_CONTEXT;
    EGLContext context = EGL_NO_CONTEXT;
    for (EGLint version = hasFixedFunctions ? 1 : 3; context == EGL_NO_CONTEXT && version > 0; --version) {
        const EGLint attribs[] = {EGL_CONTEXT_CLIENT_VERSION, version, EGL_NONE};
        if (version > 1 || hasFixedFunctions)
            context = egl.eglCreateContext(m_display, config, EGL_NO_CONTEXT, attribs);
    }
    if (context != EGL_NO_CONTEXT && !egl.eglMakeCurrent(m_display, EGL_NO_SURFACE, EGL_NO_SURFACE, context)) {
        egl.eglDestroyContext(m_display, context);
        return EGL_NO_CONTEXT;
    }
    if (context != EGL_NO_CONTEXT)
        KHRLayer::LoadGLESExt();
    return context;
}

void DriverProbe::LoadOtherApi() const
{
    const Core::EGLProcTable& egl = KHRLayer::EGLProc();
    EGLContext const other = MakeContext(!m_hasFixedFunctions);
    if (other == EGL_NO_CONTEXT)
        return;
    egl.eglMakeCurrent(m_display, EGL_NO_SURFACE, EGL_NO_SURFACE, m_context);
    egl.eglDestroyContext(m_display, other);
    KHRLayer::LoadGLESExt();
}

DriverProbe::~DriverProbe()
{
    if (HasContext()) {
        const Core::EGLProcTable& egl = KHRLayer::EGLProc();
        egl.eglMakeCurrent(m_display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
        egl.eglDestroyContext(m_display, m_context);
        KHRLayer::FreeGLES();
        KHRLayer::LoadGLESCore();
    }
}

bool DriverProbe::IsRecordedWith(const Data::CaptureHeader& header) const
{
    return HasContext() && !header.glVersion.empty() && header.glVendor == Text(GL_VENDOR) &&
           header.glRenderer == Text(GL_RENDERER) && header.glVersion == Text(GL_VERSION);
}

Data::DriverName DriverProbe::Name() const
{
    return HasContext() ? Data::DriverName{Text(GL_RENDERER), Text(GL_VERSION)} : Data::DriverName();
}

std::vector<std::string> DriverProbe::FindMissing(const Requirements& needed) const
{
    std::vector<std::string> missing;
    const int version = Core::ParseContextVersion(Text(GL_VERSION));
    LoadOtherApi();
    if (needed.version > version && !m_hasFixedFunctions) {
        missing.push_back("OpenGL ES " + VersionText(needed.version) + ", where the driver has " +
                          VersionText(version) + ": such contexts are not made");
    }
    for (const auto& [name, count] : needed.functions) {
        if (!KHRLayer::HasFunction(KHRLayer::GetEglGlFuncId(name))) {
            missing.push_back(name + ": " + std::to_string(count) + (count == 1 ? " call is" : " calls are") +
                              " skipped");
        }
    }
    const std::vector<GLint> formats = GetList(GL_NUM_COMPRESSED_TEXTURE_FORMATS, GL_COMPRESSED_TEXTURE_FORMATS);
    for (const std::uint32_t format : needed.textureFormats)
        if (!Contains(formats, format))
            missing.push_back(EnumName(format) + ": such textures stay empty");
    const std::vector<GLint> binaries = GetList(GL_NUM_PROGRAM_BINARY_FORMATS, GL_PROGRAM_BINARY_FORMATS);
    for (const std::uint32_t format : needed.binaryFormats) {
        // Even in a format that it has, a driver takes what it made itself.
        missing.push_back("program binaries of another driver" +
                          std::string(Contains(binaries, format) ? "" : ", in a format that this one does not have") +
                          ": programs from them may not link");
    }
    DropErrors();
    for (const auto& [name, value] : needed.limits) {
        const std::int32_t live = GetInteger(name);
        const auto getError = KHRLayer::GLESProc().glGetError;
        const bool isKnown = !getError || getError() == GL_NO_ERROR;
        if (isKnown && live < value) {
            missing.push_back(EnumName(name) + " of " + std::to_string(value) + ", where the driver has " +
                              std::to_string(live) + ": calls that need more fail");
        }
    }
    return missing;
}

} // namespace Host
