#pragma once

#include <string>
#include <vector>

#include "Data/Diagnostics.h"
#include "Replay/Guards/MappingGuard.h"

namespace Host {

class FrameTimer;

/// What came of comparing read-backs.
struct ReadBackTally {
    std::uint32_t compared = 0;
    std::uint32_t equal = 0;
    /// Empty while there is none.
    std::string firstDifference;

    [[nodiscard]] bool AllEqual() const { return equal == compared; }
    /// One line that tells the result, and names the first call that differs.
    [[nodiscard]] std::string Report() const;
};

/// Replays, and compares the pixels that the recorded program read back to its memory with those that the live driver
/// answers. Pixels that were read into a buffer are not in a capture.
class ReadBackVerifier : public Replay::MappingGuard {
public:
    /// `position` follows the replay and `tally` takes the results; both outlive the adapter, as the table and the
    /// timer do, which takes the time of comparing out of that of frames; null for none.
    ReadBackVerifier(Playback::GLResourceTable* table, const Data::Position& position, ReadBackTally& tally,
                     FrameTimer* timer = nullptr);

    void Process_glReadPixels(std::int32_t x, std::int32_t y, std::int32_t width, std::int32_t height,
                              std::uint32_t format, std::uint32_t type, Data::PointerData* pixels) override;
    void Process_glReadnPixels(std::int32_t x, std::int32_t y, std::int32_t width, std::int32_t height,
                               std::uint32_t format, std::uint32_t type, std::int32_t bufSize,
                               Data::PointerData* pixels) override;
    void Process_glReadnPixelsEXT(std::int32_t x, std::int32_t y, std::int32_t width, std::int32_t height,
                                  std::uint32_t format, std::uint32_t type, std::int32_t bufSize,
                                  Data::PointerData* pixels) override;

private:
    template <class Play> void Compare(const char* call, Data::PointerData* pixels, Play play);

    const Data::Position& m_position;
    ReadBackTally& m_tally;
    FrameTimer* m_timer;
    std::vector<std::uint8_t> m_recorded;
};

} // namespace Host
