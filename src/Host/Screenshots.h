#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "Interfaces/Util.h"

namespace Playback {
class PlaybackEnvironment;
}

namespace Host {

/// The screenshots that the options ask for, and those that somebody asks for while the replay runs.
class Screenshots : public Util::GLScreenshotHandler {
public:
    explicit Screenshots(const Playback::PlaybackEnvironment& settings);

    /// What becomes of the next frame besides what the options say: its picture is written to a file, and kept for
    /// WriteKept. Both before the frame is replayed.
    void WriteNextFrame();
    void KeepNextFrame();
    /// Writes the picture of the frame that was kept; false when there is none, or when it cannot be written.
    bool WriteKept();

    /// Files of whole frames that were written so far, with the frames' numbers.
    [[nodiscard]] const std::vector<std::pair<std::uint32_t, std::string>>& Files() const { return m_files; }

    /// Leaves out of the pictures of single draws what -perdrawscreenshotsfilter does not name.
    void TakeScreenshot(const std::string& name, unsigned int bufferMask) override;
    bool WriteScreenshot(const std::string& name, unsigned int width, unsigned int height, const void* data,
                         unsigned int format, unsigned int type) override;

private:
    struct Picture {
        std::uint32_t frame = 0;
        std::string name;
        unsigned int width = 0;
        unsigned int height = 0;
        unsigned int format = 0;
        unsigned int type = 0;
        std::vector<std::uint8_t> data;
    };

    /// `data` holds the pixels; those of the picture are not used.
    bool WriteFile(const Picture& picture, const void* data);
    /// Says where, too.
    bool WriteAsked(const Picture& picture);

    /// What the engine calls the picture of a frame.
    [[nodiscard]] std::string FrameName(std::uint32_t frame) const;
    [[nodiscard]] const char* Extension() const;

    const Playback::PlaybackEnvironment& m_settings;
    /// Frames to write and to keep; 0 for none.
    std::uint32_t m_frameToWrite = 0;
    std::uint32_t m_frameToKeep = 0;
    Picture m_kept;
    std::vector<std::pair<std::uint32_t, std::string>> m_files;
};

} // namespace Host
