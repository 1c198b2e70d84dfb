#pragma once

#include "Playback/Names/CapturedContexts.h"

namespace Playback {

/// The buffer mappings of the current context, one for each binding point, into which the capture writes.
class BufferMappings {
public:
    /// `contexts` must outlive this.
    explicit BufferMappings(CapturedContexts& contexts) : m_contexts(contexts) {}

    // The operations of GLResourceTable of the same names.
    void MapBuffer(unsigned long capturedPointer, unsigned int target, unsigned int length, unsigned int access,
                   unsigned char* data);
    unsigned long GetMappedBufferId(unsigned int target);
    const unsigned char* GetMappedData(unsigned int target) const;
    void FlushMappedBufferRange(unsigned int target, unsigned int offset, unsigned int length,
                                const unsigned char* capturedData);
    void UnmapBuffer(unsigned int target, unsigned int length, const unsigned char* capturedData);

private:
    CapturedContexts& m_contexts;
};

} // namespace Playback
