#include "Playback/Names/BufferMappings.h"

#include <algorithm>
#include <cstring>

#include <GLES3/gl3.h>

#include "Interfaces/Util.h"
#include "Playback/Names/ResourceMaps.h"

namespace Playback {

void BufferMappings::MapBuffer(unsigned long capturedPointer, unsigned int target, unsigned int length,
                               unsigned int access, unsigned char* data)
{
    auto& buffers = m_contexts.CreateCurrent(true).mappedBuffers;
    const unsigned int binding = Util::GetBindBuffer(target);
    if (access & GL_MAP_WRITE_BIT)
        buffers[binding] = {capturedPointer, data, length};
    else
        buffers.erase(binding); // nothing will have to be copied into it
}

unsigned long BufferMappings::GetMappedBufferId(unsigned int target)
{
    const unsigned int binding = Util::GetBindBuffer(target);
    const MappedBufferInfo* info = Find(m_contexts.CreateCurrent(true).mappedBuffers, binding);
    if (!info) {
        REPORT("Mapped buffer lookup failure: no buffer found for id %x", binding);
        return 0;
    }
    return info->capturedPointer;
}

const unsigned char* BufferMappings::GetMappedData(unsigned int target) const
{
    const ContextResources* resources = m_contexts.Current(true);
    const auto* info = resources ? Find(resources->mappedBuffers, Util::GetBindBuffer(target)) : nullptr;
    return info ? info->data : nullptr;
}

void BufferMappings::FlushMappedBufferRange(unsigned int target, unsigned int offset, unsigned int length,
                                            const unsigned char* capturedData)
{
    const unsigned int binding = Util::GetBindBuffer(target);
    const MappedBufferInfo* info = Find(m_contexts.CreateCurrent(true).mappedBuffers, binding);
    if (!info) {
        REPORT("Flush mapped buffer range failure: no buffer found for id %x", binding);
    } else if (info->data && capturedData) {
        // The capture reader has seen to it that the range lies inside the mapping.
        std::memcpy(info->data + offset, capturedData, length);
    }
}

void BufferMappings::UnmapBuffer(unsigned int target, unsigned int length, const unsigned char* capturedData)
{
    auto& buffers = m_contexts.CreateCurrent(true).mappedBuffers;
    const unsigned int binding = Util::GetBindBuffer(target);
    const auto entry = buffers.find(binding);
    if (entry == buffers.end()) {
        REPORT("Unmap buffer: no buffer found for id %x", binding);
        return;
    }
    const MappedBufferInfo& info = entry->second;
    if (info.data && capturedData)
        std::memcpy(info.data, capturedData, std::min(length, info.length));
    buffers.erase(entry);
}

} // namespace Playback
