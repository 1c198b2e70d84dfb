// Replay of the OpenGL ES calls whose memory needs care: mapped ranges, uploads, and outputs that the live driver may
// fill with more than the capture holds.
#include "Interfaces/GLState.h"
#include "Playback/Calls/GLPlaybackAdapter.h"

namespace Playback {

using Core::KHRLayer;

void GLPlaybackAdapter::SizeString(Data::PointerData* output, std::int32_t length)
{
    if (output->HasData() && length >= 0 && output->GetCount() != length)
        output->ResizeString(static_cast<std::uint32_t>(length));
}

void GLPlaybackAdapter::SizeArray(Data::PointerData* output, std::int32_t count)
{
    if (output->HasData() && count >= 0 && output->GetCount() != count)
        output->ResizeArray(static_cast<std::uint32_t>(count));
}

void GLPlaybackAdapter::GrowArray(Data::PointerData* output, std::int32_t count)
{
    if (output->GetCount() < count)
        output->ResizeArray(static_cast<std::uint32_t>(count));
}

void GLPlaybackAdapter::EnsurePnameArraySize(std::uint32_t pname, Data::PointerData* output)
{
    GLenum countName = 0;
    switch (pname) {
    case GL_COMPRESSED_TEXTURE_FORMATS:
        countName = GL_NUM_COMPRESSED_TEXTURE_FORMATS;
        break;
    case GL_PROGRAM_BINARY_FORMATS:
        countName = GL_NUM_PROGRAM_BINARY_FORMATS;
        break;
    case GL_SHADER_BINARY_FORMATS:
        countName = GL_NUM_SHADER_BINARY_FORMATS;
        break;
    default:
        return;
    }
    GrowArray(output, Core::GetInteger(KHRLayer::playbackGLESProcTable, countName));
}

void GLPlaybackAdapter::EnsureActiveUniformBlockPnameArraySize(std::uint32_t program, std::uint32_t blockIndex,
                                                               std::uint32_t pname, Data::PointerData* output)
{
    if (pname != GL_UNIFORM_BLOCK_ACTIVE_UNIFORM_INDICES)
        return;
    GLint count = 0;
    if (const auto getActiveUniformBlockiv = KHRLayer::playbackGLESProcTable.glGetActiveUniformBlockiv)
        getActiveUniformBlockiv(program, blockIndex, GL_UNIFORM_BLOCK_ACTIVE_UNIFORMS, &count);
    GrowArray(output, count);
}

void GLPlaybackAdapter::EnsureInternalFormatPnameArraySize(std::uint32_t target, std::uint32_t internalFormat,
                                                           std::uint32_t pname, Data::PointerData* output)
{
    if (pname != GL_SAMPLES)
        return;
    GLint count = 0;
    if (const auto getInternalformativ = KHRLayer::playbackGLESProcTable.glGetInternalformativ)
        getInternalformativ(target, internalFormat, GL_NUM_SAMPLE_COUNTS, 1, &count);
    GrowArray(output, count);
}

void GLPlaybackAdapter::Process_glGetActiveUniformBlockiv(std::uint32_t program, std::uint32_t uniformBlockIndex,
                                                          std::uint32_t pname, Data::PointerData* params)
{
    Trace("glGetActiveUniformBlockiv", __LINE__);
    const auto function = KHRLayer::playbackGLESProcTable.glGetActiveUniformBlockiv;
    if (!function)
        return;
    const GLuint liveProgram = m_resourceTable->GetValueGLProgram(program);
    const GLuint liveIndex = m_resourceTable->GetValueGLUniformBlockIndex(program, static_cast<int>(uniformBlockIndex));
    EnsureActiveUniformBlockPnameArraySize(liveProgram, liveIndex, pname, params);
    function(liveProgram, liveIndex, pname, params->As<GLint>());
    CheckErrorState("glGetActiveUniformBlockiv");
}

void GLPlaybackAdapter::Process_glGetInternalformativ(std::uint32_t target, std::uint32_t internalformat,
                                                      std::uint32_t pname, std::int32_t count,
                                                      Data::PointerData* params)
{
    Trace("glGetInternalformativ", __LINE__);
    const auto function = KHRLayer::playbackGLESProcTable.glGetInternalformativ;
    if (!function)
        return;
    SizeArray(params, count);
    EnsureInternalFormatPnameArraySize(target, internalformat, pname, params);
    function(target, internalformat, pname, count, params->As<GLint>());
    CheckErrorState("glGetInternalformativ");
}

void GLPlaybackAdapter::Process_glDebugMessageCallbackKHR(Data::PointerData* callback, Data::PointerData* userParam)
{
    Trace("glDebugMessageCallbackKHR", __LINE__);
    if (!KHRLayer::playbackGLESExtProcTable.glDebugMessageCallbackKHR)
        return;
    PLAYBACK_LOG(Diagnostic, General, SourceFile, "Ignoring glDebugMessageCallbackKHR(%p, %p)", callback->GetPointer(),
                 userParam->GetPointer());
    CheckErrorState("glDebugMessageCallbackKHR");
}

void GLPlaybackAdapter::Process_glGetError(std::uint32_t /*captured*/)
{
    Trace("glGetError", __LINE__);
    const auto function = KHRLayer::playbackGLESProcTable.glGetError;
    if (!function)
        return;
    function();
    CheckErrorState("glGetError");
}

void GLPlaybackAdapter::Process_glMapBufferRange(Data::PointerData* captured, std::uint32_t target, std::int64_t offset,
                                                 std::int64_t length, std::uint32_t access)
{
    Trace("glMapBufferRange", __LINE__);
    const auto function = KHRLayer::playbackGLESProcTable.glMapBufferRange;
    if (!function)
        return;
    void* const live = function(target, offset, length, access);
    CheckErrorState("glMapBufferRange");
    m_resourceTable->MapBuffer(captured->GetCapturedPointer(), target, static_cast<unsigned int>(length), access,
                               static_cast<unsigned char*>(live));
}

void GLPlaybackAdapter::Process_glBufferSubData(std::uint32_t target, std::int64_t offset, std::int64_t size,
                                                Data::PointerData* data)
{
    Trace("glBufferSubData", __LINE__);
    const auto function = KHRLayer::playbackGLESProcTable.glBufferSubData;
    if (!function)
        return;
    // An empty upload beyond the end of its payload grows the payload to the offset.
    if (size == 0 && data->GetPointer() && data->GetCount() < offset)
        data->ResizeArray(static_cast<std::uint32_t>(offset));
    function(target, offset, size, data->GetPointer());
    CheckErrorState("glBufferSubData");
}

} // namespace Playback
