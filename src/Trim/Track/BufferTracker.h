#pragma once

#include <cstdint>

#include "Data/Capture/Format.h"
#include "Trim/Track/TrackedState.h"

namespace Trim {

/// The contents of buffers.
class BufferTracker {
public:
    explicit BufferTracker(TrackedState& tracked) : m_tracked(tracked) {}

    /// False for calls on other things.
    bool Track(const CallArguments& call);
    /// Data that the application wrote to a mapped buffer.
    void MappedData(const Data::MappedDataRecord& mapped);

private:
    /// `bytes` bytes of a buffer from `offset` on are written.
    void Writes(Owner buffer, std::int64_t offset, std::int64_t bytes);

    TrackedState& m_tracked;
};

} // namespace Trim
