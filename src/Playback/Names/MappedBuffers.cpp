// GLResourceTable: buffers that are mapped while the capture writes into them.
#include <algorithm>
#include <cstring>

#include <GLES3/gl3.h>

#include "Interfaces/Util.h"
#include "Playback/Names/GLResourceTable.h"
#include "Playback/Names/ResourceMaps.h"

namespace Playback {

void GLResourceTable::MapBuffer(unsigned long capturedPointer, unsigned int target, unsigned int length,
                                unsigned int access, unsigned char* data)
{
    auto& buffers = ContextEntry().mappedBuffers;
    const unsigned int binding = Util::GetBindBuffer(target);
    if (access & GL_MAP_WRITE_BIT) {
        buffers[binding] = {capturedPointer, data, length};
    } else {
        buffers.erase(binding); // nothing will have to be copied into it
    }
}

unsigned long GLResourceTable::GetMappedBufferId(unsigned int target)
{
    const unsigned int binding = Util::GetBindBuffer(target);
    const MappedBufferInfo* info = Find(ContextEntry().mappedBuffers, binding);
    if (!info) {
        REPORT("Mapped buffer lookup failure: no buffer found for id %x", binding);
        return 0;
    }
    return info->capturedPointer;
}

const unsigned char* GLResourceTable::GetMappedData(unsigned int target) const
{
    const auto* info = m_contextEntry ? Find(m_contextEntry->mappedBuffers, Util::GetBindBuffer(target)) : nullptr;
    return info ? info->data : nullptr;
}

void GLResourceTable::FlushMappedBufferRange(unsigned int target, unsigned int offset, unsigned int length,
                                             unsigned char* capturedData)
{
    const unsigned int binding = Util::GetBindBuffer(target);
    const MappedBufferInfo* info = Find(ContextEntry().mappedBuffers, binding);
    if (!info) {
        REPORT("Flush mapped buffer range failure: no buffer found for id %x", binding);
    } else if (info->data && capturedData) {
        // The capture reader has seen to it that the range lies inside the mapping.
        std::memcpy(info->data + offset, capturedData, length);
    }
}

void GLResourceTable::UnmapBuffer(unsigned int target, unsigned int length, unsigned char* capturedData)
{
    auto& buffers = ContextEntry().mappedBuffers;
    const unsigned int binding = Util::GetBindBuffer(target);
    const auto entry = buffers.find(binding);
    if (entry == buffers.end()) {
        REPORT("Unmap buffer: no buffer found for id %x", binding);
        return;
    }
    const MappedBufferInfo& info = entry->second;
    if (info.data && capturedData) {
        std::memcpy(info.data, capturedData, std::min(length, info.length));
    }
    buffers.erase(entry);
}

} // namespace Playback
