#pragma once

#include <string>
#include <vector>

#include "Data/Diagnostics.h"
#include "Playback/GLPlaybackAdapter.h"

namespace Host {

/// Replays, and compares the pixels that the recorded program read back to its memory with those that the live driver
/// answers. Pixels that were read into a buffer are not in a capture.
class ReadBackVerifier : public Playback::GLPlaybackAdapter {
public:
    /// `position` follows the replay and outlives the adapter, as the table does.
    ReadBackVerifier(Playback::GLResourceTable* table, const Data::Position& position);

    /// A call with pixels to compare came.
    [[nodiscard]] bool HasCompared() const { return m_compared != 0; }
    [[nodiscard]] bool AllEqual() const { return m_equal == m_compared; }
    /// One line that tells the result, and names the first call that differs.
    [[nodiscard]] std::string Report() const;

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
    std::uint32_t m_compared = 0;
    std::uint32_t m_equal = 0;
    /// Empty while there is none.
    std::string m_firstDifference;
    std::vector<std::uint8_t> m_recorded;
};

} // namespace Host
