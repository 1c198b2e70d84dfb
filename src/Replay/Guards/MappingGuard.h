#pragma once

#include "Playback/Calls/GLPlaybackAdapter.h"

namespace Replay {

/// Replays GL calls, and writes captured bytes to mapped memory only when the driver confirms that the memory is still
/// mapped and long enough. The reader has compared them with the mapping that the capture describes; the live one may
/// have ended without a captured call that says so, for instance where a call failed here.
class MappingGuard : public Playback::GLPlaybackAdapter {
public:
    explicit MappingGuard(Playback::GLResourceTable* table) : GLPlaybackAdapter(table), m_table(table) {}

    void ProcessFlushMappedBufferRange(std::uint32_t target, std::uint32_t offset, std::uint32_t length,
                                       std::uint8_t* data) override;
    void ProcessUnmapBuffer(std::uint32_t target, std::uint32_t length, std::uint8_t* data) override;

private:
    /// False, with a message, when less than `bytes` bytes are mapped. A mapping that was never recorded holds
    /// anything: nothing is written to it.
    [[nodiscard]] bool Holds(std::uint32_t target, std::uint64_t bytes) const;

    Playback::GLResourceTable* m_table;
};

} // namespace Replay
