#pragma once

#include <cstdint>

#include "Trim/Track/TrackedState.h"

namespace Trim {

/// The contents of buffers.
class BufferTracker {
public:
    explicit BufferTracker(TrackedState& tracked) : m_tracked(tracked) {}

    /// False for calls on other things.
    bool Track(const CallArguments& call);
    /// Data that the application wrote to a mapped buffer: `bytes` bytes from `offset` in the mapped range.
    void MappedData(std::uint32_t target, std::uint64_t offset, std::uint64_t bytes);

private:
    TrackedState& m_tracked;
};

} // namespace Trim
