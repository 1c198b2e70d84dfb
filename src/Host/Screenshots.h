#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "Host/Options/ScreenshotChoice.h"
#include "Interfaces/Util.h"

namespace Playback {
class PlaybackEnvironment;
}

namespace Host {

class FrameTimer;

/// The screenshots that the options ask for, and those that somebody asks for while the replay runs.
class Screenshots : public Util::GLScreenshotHandler {
public:
    /// A file that was written.
    struct File {
        /// Pass through the capture and frame, both from 1.
        std::uint32_t pass;
        std::uint32_t frame;
        std::string name;
        /// Number of the draw or what else is shown; empty for a whole frame.
        std::string action = {};
    };

    /// `listed` has the frames that the settings do not. The timer, which outlives this, takes the time of pictures out
    /// of that of frames.
    Screenshots(const Playback::PlaybackEnvironment& settings, FrameSet listed, FrameTimer* timer);

    /// The frames that come now, after so many others, are those of another pass.
    void StartPass(std::uint32_t pass, std::uint32_t framesBefore);

    /// What becomes of the next frame besides what the options say: its picture is written to a file, and kept for
    /// WriteKept. Both before the frame is replayed.
    void WriteNextFrame();
    void KeepNextFrame();
    /// Writes the picture of the frame that was kept; false when there is none, or when it cannot be written.
    bool WriteKept();

    /// Files of whole frames, and of what is in one, that were written so far.
    [[nodiscard]] const std::vector<File>& Files() const { return m_files; }
    [[nodiscard]] const std::vector<File>& ActionFiles() const { return m_actionFiles; }
    /// Pictures of frames and draws that were written so far.
    [[nodiscard]] std::uint64_t Written() const { return m_written; }
    /// Pictures that were asked for and could not be taken or written so far; the log has the reasons.
    [[nodiscard]] std::uint64_t Failures() const { return m_failures; }

    /// Leaves out of the pictures of single draws what -perdrawscreenshotsfilter does not name.
    void TakeScreenshot(const std::string& name, unsigned int bufferMask) override;
    /// `take` takes pictures of the action with this number; empty: of the draw or blit at work, or the frame. Their
    /// time is none of the frame's, and those that it cannot take are counted.
    void TakePictures(const std::string& action, const std::function<void()>& take);
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
    FrameSet m_listed;
    FrameTimer* m_timer;
    std::uint32_t m_pass = 1;
    /// Frames to write and to keep; 0 for none.
    std::uint32_t m_frameToWrite = 0;
    std::uint32_t m_frameToKeep = 0;
    Picture m_kept;
    std::string m_action;
    std::vector<File> m_files;
    std::vector<File> m_actionFiles;
    std::uint64_t m_written = 0;
    std::uint64_t m_failures = 0;
};

} // namespace Host
