#include "Replay/Guards/MappingGuard.h"

#include "Interfaces/GLState.h"
#include "Interfaces/Util.h"

namespace Replay {

void MappingGuard::ProcessFlushMappedBufferRange(std::uint32_t target, std::uint32_t offset, std::uint32_t length,
                                                 std::uint8_t* data)
{
    if (Holds(target, std::uint64_t{offset} + length))
        GLPlaybackAdapter::ProcessFlushMappedBufferRange(target, offset, length, data);
}

void MappingGuard::ProcessUnmapBuffer(std::uint32_t target, std::uint32_t length, std::uint8_t* data)
{
    // Forgotten in any case.
    GLPlaybackAdapter::ProcessUnmapBuffer(target, length, Holds(target, length) ? data : nullptr);
}

bool MappingGuard::Holds(std::uint32_t target, std::uint64_t bytes) const
{
    const Core::GLESProcTable& gl = Core::KHRLayer::GLESProc();
    const unsigned char* recorded = m_table->GetMappedData(target);
    if (!recorded || !gl.glGetIntegerv || !gl.glGetBufferPointerv || !gl.glGetBufferParameteriv)
        return true;
    // Only what cannot fail is asked: errors that are pending belong to the capture's calls, and so would new ones.
    GLint isMapped = GL_FALSE;
    if (Core::GetInteger(gl, Util::GetBindBuffer(target)) != 0)
        gl.glGetBufferParameteriv(target, GL_BUFFER_MAPPED, &isMapped);
    if (isMapped) {
        void* live = nullptr;
        GLint length = 0;
        gl.glGetBufferPointerv(target, GL_BUFFER_MAP_POINTER, &live);
        gl.glGetBufferParameteriv(target, GL_BUFFER_MAP_LENGTH, &length);
        if (live == recorded && length >= 0 && bytes <= static_cast<std::uint64_t>(length))
            return true;
    }
    PLAYBACK_LOG(Warning, General, "src/Replay/MappingGuard",
                 "%llu bytes were written to a mapped buffer (%s), but the driver has no such mapping; they are "
                 "left out",
                 static_cast<unsigned long long>(bytes), Core::LogFormat::GetGLEnumString(target).c_str());
    return false;
}

} // namespace Replay
