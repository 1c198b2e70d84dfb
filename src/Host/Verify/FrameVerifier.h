#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Data/Records/References.h"
#include "Interfaces/Data.h"
#include "Replay/PictureReader.h"

namespace Host {

class FrameTimer;

/// Compares the frames of a replay with the recorded ones, by their hashes: reads the back buffer before each swap, or
/// the framebuffer that was drawn to where frames end otherwise. Where the capture has hashes of what single actions
/// drew to, these are compared too; where it has those of the live driver, they stand in for the recorded ones.
class FrameVerifier : public Data::FrameHashHandler {
public:
    using Picture = Replay::Picture;
    /// A frame that is not the recorded one, or the first action in one whose framebuffer is not.
    struct Difference {
        /// Pass through the capture, from 1.
        std::uint32_t pass;
        std::uint32_t frame;
        /// 0 where no swap ended the frame; then the captured framebuffer.
        std::uint32_t surface;
        std::uint32_t framebuffer;
        Picture recorded;
        Picture replayed;
        /// "draw 12"; empty for a whole frame.
        std::string action = {};
        std::uint32_t call = 0;
        std::string function = {};

        /// "frame 3, draw 12 (glDrawElements, call 44), framebuffer 4".
        [[nodiscard]] std::string Where() const;
    };

    /// The timer, which outlives this, takes the time of reading frames out of theirs; null for none.
    explicit FrameVerifier(FrameTimer* timer = nullptr) : m_timer(timer) {}

    /// Of the capture that comes now, which outlives the verifier's use; `recording` is the driver that it is from.
    void SetReferences(const Data::References& references, Data::DriverName recording);
    /// The pass whose frames come now.
    void SetPass(std::uint32_t pass) { m_pass = pass; }
    /// Frames that come while it is off are not compared.
    void Switch(bool isOn) { m_isOn = isOn; }
    void ProcessFrameHash(std::uint32_t frame, std::uint32_t surface, std::uint32_t width, std::uint32_t height,
                          std::uint64_t hash) override;
    /// The same for a frame that no swap ended; `framebuffer` is the live one, if there is one.
    void Compare(const Data::FramePicture& picture, std::optional<unsigned int> framebuffer);

    /// Compares what an action drew to, or a frame of another driver. `framebuffer` as above.
    void Compare(const Data::ReferenceHashRecord& hash, const Data::ReferencePlace& place,
                 std::optional<unsigned int> framebuffer);

    /// True when each of `expected` frames was compared and is equal, but for those that had no picture when they were
    /// recorded, and there was one at least.
    [[nodiscard]] bool IsVerified(std::uint32_t expected) const;
    /// One line that tells the result, and names the first frame that differs. `isCutShort`: neither the whole capture
    /// was replayed nor what was asked for of it, so that nothing is known of its hashes.
    [[nodiscard]] std::string Report(std::uint32_t expected, bool isCutShort) const;
    /// Whose hashes the frames are compared with, where the capture has those of several drivers; else empty.
    [[nodiscard]] std::string DriverReport() const;
    /// In the order of replay.
    [[nodiscard]] const std::vector<Difference>& Differences() const { return m_differences; }

private:
    /// `read` answers the replayed picture of the frame.
    template <class Read> void Compare(Difference frame, Read read);
    void CompareAction(Difference difference, std::optional<unsigned int> framebuffer);
    /// The hashes of this driver are those to compare with.
    bool IsReference(std::uint32_t driver);

    FrameTimer* m_timer;
    bool m_isOn = true;
    std::uint32_t m_pass = 1;
    std::uint32_t m_compared = 0;
    std::uint32_t m_equal = 0;
    std::uint32_t m_withoutPicture = 0;
    std::uint64_t m_actionsCompared = 0;
    std::uint64_t m_actionsEqual = 0;
    /// Pass and frame of the last action that was noted as different.
    std::pair<std::uint32_t, std::uint32_t> m_lastWrong = {};
    /// Null where nobody set them.
    const Data::References* m_references = nullptr;
    Data::DriverName m_recording;
    std::optional<std::uint32_t> m_reference;
    std::vector<Difference> m_differences;
    Replay::PictureReader m_reader;
};

} // namespace Host
