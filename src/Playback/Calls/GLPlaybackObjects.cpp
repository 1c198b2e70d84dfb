// Replay of the OpenGL ES calls that make, name and link objects in a way of their own.
#include "Interfaces/GLState.h"
#include "Playback/Calls/GLPlaybackAdapter.h"
#include "Playback/Names/LiveNames.h"

namespace Playback {

using Core::KHRLayer;

void GLPlaybackAdapter::Process_glUseProgram(std::uint32_t program)
{
    Trace("glUseProgram", __LINE__);
    const auto function = KHRLayer::playbackGLESProcTable.glUseProgram;
    if (!function)
        return;
    function(m_resourceTable->GetValueGLProgram(program));
    CheckErrorState("glUseProgram");
    m_resourceTable->SetCurrentProgram(program);
}

void GLPlaybackAdapter::Process_glBindAttribLocation(std::uint32_t program, std::uint32_t index,
                                                     Data::PointerData* name)
{
    Trace("glBindAttribLocation", __LINE__);
    const auto function = KHRLayer::playbackGLESProcTable.glBindAttribLocation;
    if (!function)
        return;
    function(m_resourceTable->GetValueGLProgram(program), index, name->As<const GLchar>());
    CheckErrorState("glBindAttribLocation");
    // The program chose its index itself: later attribute calls use it as it is.
    m_resourceTable->AddIdGLAttribLocation(program, static_cast<int>(index), static_cast<int>(index));
}

void GLPlaybackAdapter::Process_glShaderBinary(std::int32_t count, Data::PointerData* shaders,
                                               std::uint32_t binaryFormat, Data::PointerData* binary,
                                               std::int32_t length)
{
    Trace("glShaderBinary", __LINE__);
    const auto function = KHRLayer::playbackGLESProcTable.glShaderBinary;
    if (!function)
        return;
    // Handled like a call that makes names: the driver gets zeros, and the captured shaders then map to what is there.
    LiveNames<GLuint> names(count, shaders);
    function(count, names.Live(), binaryFormat, binary->GetPointer(), length);
    CheckErrorState("glShaderBinary");
    names.ForEach([this](auto captured, auto live) { m_resourceTable->AddIdGLShader(captured, live); });
}

void GLPlaybackAdapter::Process_glGetProgramResourceLocation(std::int32_t captured, std::uint32_t program,
                                                             std::uint32_t programInterface, Data::PointerData* name)
{
    Trace("glGetProgramResourceLocation", __LINE__);
    const auto function = KHRLayer::playbackGLESProcTable.glGetProgramResourceLocation;
    if (!function)
        return;
    const GLint live =
        function(m_resourceTable->GetValueGLProgram(program), programInterface, name->As<const GLchar>());
    CheckErrorState("glGetProgramResourceLocation");
    ProcessProgramResourceLocation(program, captured, live, programInterface);
}

void GLPlaybackAdapter::ProcessProgramResourceLocation(std::uint32_t program, std::int32_t captured, std::int32_t live,
                                                       std::uint32_t programInterface)
{
    if (programInterface == GL_UNIFORM)
        m_resourceTable->AddIdGLUniformLocation(program, captured, live);
}

void GLPlaybackAdapter::Process_glCreateSharedBufferTAVO(std::int32_t sizeInBytes, Data::PointerData* sharedBuffer)
{
    Trace("glCreateSharedBufferTAVO", __LINE__);
    const auto function = KHRLayer::playbackGLESExtProcTable.glCreateSharedBufferTAVO;
    if (!function)
        return;
    LiveNames<GLint> names(sharedBuffer->GetCount(), sharedBuffer);
    function(sizeInBytes, names.Live());
    CheckErrorState("glCreateSharedBufferTAVO");
    names.ForEach([this](auto captured, auto live) { m_resourceTable->AddIdGLSharedBuffer(captured, live); });
}

std::uint32_t GLPlaybackAdapter::GetLabeledObject(std::uint32_t identifier, std::uint32_t name) const
{
    switch (identifier) {
#include "Playback/LabeledObjects.inc"
    default:
        PLAYBACK_LOG(Diagnostic, General, SourceFile, "Unrecognized object type for debug label: %d",
                     static_cast<int>(identifier));
        return 0;
    }
}

std::uint32_t GLPlaybackAdapter::GetTextureOrRenderbuffer(std::uint32_t target, std::uint32_t name) const
{
    return target == GL_RENDERBUFFER ? m_resourceTable->GetValueGLRenderbuffer(name)
                                     : m_resourceTable->GetValueGLTexture(name);
}

namespace {

/// Live name of the object bound to `target`, 0 for a target that takes no image.
std::uint32_t BoundObject(std::uint32_t target)
{
    GLenum query = 0;
    switch (target) {
    case GL_RENDERBUFFER:
        query = GL_RENDERBUFFER_BINDING;
        break;
    case GL_TEXTURE_EXTERNAL_OES:
        query = GL_TEXTURE_BINDING_EXTERNAL_OES;
        break;
    case GL_TEXTURE_2D:
        query = GL_TEXTURE_BINDING_2D;
        break;
    default:
        return 0;
    }
    return static_cast<std::uint32_t>(Core::GetInteger(KHRLayer::playbackGLESProcTable, query));
}

} // namespace

void GLPlaybackAdapter::PostGlEglImage(std::uint32_t target, std::uint32_t image)
{
    // The link is kept under the live name, unlike everything else in the table.
    const std::uint32_t bound = BoundObject(target);
    m_resourceTable->AddEGLImageBufferRef(image);
    const std::uint32_t previous = m_resourceTable->GetTextureEGLImage(target, static_cast<int>(bound));
    if (bound == 0)
        return;
    if (previous != 0) {
        m_resourceTable->RemoveEGLImageBuffer(previous);
        m_resourceTable->SetTextureEGLImage(target, static_cast<int>(bound), image);
    } else {
        m_resourceTable->AddTextureEGLImage(target, static_cast<int>(bound), image);
    }
}

} // namespace Playback
