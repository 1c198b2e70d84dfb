#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Replay {

/// A picture by its hash.
struct Picture {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    /// Empty when there was nothing that could be read.
    std::optional<std::uint64_t> hash;

    bool operator==(const Picture&) const = default;
    [[nodiscard]] std::string Text() const;
};

/// Hashes what the live driver has drawn, by the rule that recorder and replay share.
class PictureReader {
public:
    /// Of a live framebuffer of the current context; 0: the back buffer, which the next swap will show.
    Picture Read(unsigned int framebuffer);

private:
    Picture ReadBackBuffer();

    /// Kept for the next one.
    std::vector<std::uint8_t> m_pixels;
};

} // namespace Replay
