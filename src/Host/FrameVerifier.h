#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Interfaces/Data.h"

namespace Host {

/// Compares the frames of a replay with the recorded ones, by their hashes: reads the back buffer before each swap.
class FrameVerifier : public Data::FrameHashHandler {
public:
    /// Frames that come while it is off are not compared.
    void Switch(bool isOn) { m_isOn = isOn; }
    void ProcessFrameHash(std::uint32_t frame, std::uint32_t surface, std::uint32_t width, std::uint32_t height,
                          std::uint64_t hash) override;

    /// True when each of `expected` frames was compared and is equal, and there was one at least.
    [[nodiscard]] bool IsVerified(std::uint32_t expected) const;
    /// One line that tells the result, and names the first frame that differs.
    [[nodiscard]] std::string Report(std::uint32_t expected) const;

private:
    struct Picture {
        std::uint32_t width = 0;
        std::uint32_t height = 0;
        /// Empty when the frame could not be read.
        std::optional<std::uint64_t> hash;

        bool operator==(const Picture&) const = default;
        [[nodiscard]] std::string Text() const;
    };
    struct Difference {
        std::uint32_t frame;
        std::uint32_t surface;
        Picture recorded;
        Picture replayed;
    };

    /// What the next swap of the current surface will show.
    Picture ReadBackBuffer();

    bool m_isOn = true;
    std::uint32_t m_compared = 0;
    std::uint32_t m_equal = 0;
    std::optional<Difference> m_firstDifference;
    std::vector<std::uint8_t> m_pixels;
};

} // namespace Host
