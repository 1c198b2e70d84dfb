#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Interfaces/Data.h"

namespace Host {

class FrameTimer;

/// Compares the frames of a replay with the recorded ones, by their hashes: reads the back buffer before each swap, or
/// the framebuffer that was drawn to where frames end otherwise.
class FrameVerifier : public Data::FrameHashHandler {
public:
    struct Picture {
        std::uint32_t width = 0;
        std::uint32_t height = 0;
        /// Empty when the frame could not be read.
        std::optional<std::uint64_t> hash;

        bool operator==(const Picture&) const = default;
        [[nodiscard]] std::string Text() const;
    };
    /// A frame that is not the recorded one.
    struct Difference {
        /// Pass through the capture, from 1.
        std::uint32_t pass;
        std::uint32_t frame;
        /// 0 where no swap ended the frame; then the captured framebuffer.
        std::uint32_t surface;
        std::uint32_t framebuffer;
        Picture recorded;
        Picture replayed;
    };

    /// The timer, which outlives this, takes the time of reading frames out of theirs; null for none.
    explicit FrameVerifier(FrameTimer* timer = nullptr) : m_timer(timer) {}

    /// The pass whose frames come now.
    void SetPass(std::uint32_t pass) { m_pass = pass; }
    /// Frames that come while it is off are not compared.
    void Switch(bool isOn) { m_isOn = isOn; }
    void ProcessFrameHash(std::uint32_t frame, std::uint32_t surface, std::uint32_t width, std::uint32_t height,
                          std::uint64_t hash) override;
    /// The same for a frame that no swap ended; `framebuffer` is the live one, if there is one.
    void Compare(const Data::FramePicture& picture, std::optional<unsigned int> framebuffer);

    /// True when each of `expected` frames was compared and is equal, but for those that had no picture when they were
    /// recorded, and there was one at least.
    [[nodiscard]] bool IsVerified(std::uint32_t expected) const;
    /// One line that tells the result, and names the first frame that differs. `isCutShort`: neither the whole capture
    /// was replayed nor what was asked for of it, so that nothing is known of its hashes.
    [[nodiscard]] std::string Report(std::uint32_t expected, bool isCutShort) const;
    /// In the order of replay.
    [[nodiscard]] const std::vector<Difference>& Differences() const { return m_differences; }

private:
    /// `read` answers the replayed picture of the frame.
    template <class Read> void Compare(Difference frame, Read read);
    Picture ReadFramebuffer(unsigned int framebuffer);
    /// What the next swap of the current surface will show.
    Picture ReadBackBuffer();

    FrameTimer* m_timer;
    bool m_isOn = true;
    std::uint32_t m_pass = 1;
    std::uint32_t m_compared = 0;
    std::uint32_t m_equal = 0;
    std::uint32_t m_withoutPicture = 0;
    std::vector<Difference> m_differences;
    std::vector<std::uint8_t> m_pixels;
};

} // namespace Host
