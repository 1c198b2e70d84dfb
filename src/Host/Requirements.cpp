#include "Host/Requirements.h"

#include <algorithm>

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES3/gl32.h>

#include "Data/CaptureFile.h"

namespace Host {

namespace {

/// Limits that decide whether the program's calls succeed: sizes and numbers of things.
constexpr std::uint32_t Limits[] = {
    GL_MAX_TEXTURE_SIZE,
    GL_MAX_CUBE_MAP_TEXTURE_SIZE,
    GL_MAX_3D_TEXTURE_SIZE,
    GL_MAX_ARRAY_TEXTURE_LAYERS,
    GL_MAX_RENDERBUFFER_SIZE,
    GL_MAX_SAMPLES,
    GL_MAX_DRAW_BUFFERS,
    GL_MAX_COLOR_ATTACHMENTS,
    GL_MAX_VERTEX_ATTRIBS,
    GL_MAX_TEXTURE_IMAGE_UNITS,
    GL_MAX_COMBINED_TEXTURE_IMAGE_UNITS,
    GL_MAX_UNIFORM_BLOCK_SIZE,
    GL_MAX_UNIFORM_BUFFER_BINDINGS,
    GL_MAX_SHADER_STORAGE_BUFFER_BINDINGS,
    GL_MAX_COMPUTE_WORK_GROUP_INVOCATIONS,
};

} // namespace

Requirements RequirementReader::Read(Data::CaptureFile& capture, std::uint32_t lastFrame)
{
    RequirementReader reader;
    capture.SetAdapter(static_cast<Data::GLAdapter*>(&reader));
    capture.SetAdapter(static_cast<Data::EGLAdapter*>(&reader));
    while (capture.GetCurrentFrame() < lastFrame && capture.GetFrameProcessor()->ProcessNextFrame()) {
    }
    for (const auto& [name, count, time] : capture.CallSums()) {
        reader.m_needed.functions[name] = count;
    }
    return std::move(reader.m_needed);
}

void RequirementReader::Process_eglCreateContext(std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t,
                                                 Data::PointerData* attrib_list)
{
    int major = 1;
    int minor = 0;
    const auto* attribs = attrib_list->HasData() ? attrib_list->As<const EGLint>() : nullptr;
    for (; attribs && *attribs != EGL_NONE; attribs += 2) {
        // The same value as EGL_CONTEXT_CLIENT_VERSION.
        if (attribs[0] == EGL_CONTEXT_MAJOR_VERSION) {
            major = attribs[1];
        } else if (attribs[0] == EGL_CONTEXT_MINOR_VERSION) {
            minor = attribs[1];
        }
    }
    m_needed.version = std::max(m_needed.version, std::clamp(major, 1, 9) * 10 + std::clamp(minor, 0, 9));
}

void RequirementReader::Process_glGetIntegerv(std::uint32_t pname, Data::PointerData* data)
{
    if (data->HasData() && data->GetCount() > 0 && std::ranges::find(Limits, pname) != std::end(Limits)) {
        m_needed.limits[pname] = *data->As<const std::int32_t>();
    }
}

void RequirementReader::Process_glCompressedTexImage2D(std::uint32_t, std::int32_t, std::uint32_t internalformat,
                                                       std::int32_t, std::int32_t, std::int32_t, std::int32_t,
                                                       Data::PointerData*)
{
    m_needed.textureFormats.insert(internalformat);
}

void RequirementReader::Process_glCompressedTexImage3D(std::uint32_t, std::int32_t, std::uint32_t internalformat,
                                                       std::int32_t, std::int32_t, std::int32_t, std::int32_t,
                                                       std::int32_t, Data::PointerData*)
{
    m_needed.textureFormats.insert(internalformat);
}

void RequirementReader::Process_glCompressedTexSubImage2D(std::uint32_t, std::int32_t, std::int32_t, std::int32_t,
                                                          std::int32_t, std::int32_t, std::uint32_t format,
                                                          std::int32_t, Data::PointerData*)
{
    m_needed.textureFormats.insert(format);
}

void RequirementReader::Process_glCompressedTexSubImage3D(std::uint32_t, std::int32_t, std::int32_t, std::int32_t,
                                                          std::int32_t, std::int32_t, std::int32_t, std::int32_t,
                                                          std::uint32_t format, std::int32_t, Data::PointerData*)
{
    m_needed.textureFormats.insert(format);
}

void RequirementReader::Process_glProgramBinary(std::uint32_t, std::uint32_t binaryFormat, Data::PointerData*,
                                                std::int32_t)
{
    m_needed.binaryFormats.insert(binaryFormat);
}

void RequirementReader::Process_glProgramBinaryOES(std::uint32_t, std::uint32_t binaryFormat, Data::PointerData*,
                                                   std::int32_t)
{
    m_needed.binaryFormats.insert(binaryFormat);
}

} // namespace Host
