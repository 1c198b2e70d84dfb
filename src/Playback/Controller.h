#pragma once

namespace Data {
class CaptureFileReader;
}

namespace Playback {

class WindowManager;

/// Steps the replay of one capture frame by frame, once from its start to its end. Owns nothing.
class Controller {
public:
    /// `windowManager` may be null; its active window shows the frame count.
    Controller(WindowManager* windowManager, Data::CaptureFileReader* reader);

    /// False once the end of the capture was reached.
    [[nodiscard]] bool HasMoreFrames() const { return m_hasMoreFrames; }
    [[nodiscard]] bool IsPaused() const { return m_paused; }
    void Play() { m_paused = false; }
    void Pause() { m_paused = true; }

    /// Replays one frame, also while paused. Returns HasMoreFrames().
    bool FrameForward();
    /// One turn of the host's main loop: replays a frame unless paused. Returns HasMoreFrames().
    bool Update();

private:
    WindowManager* m_windowManager;
    Data::CaptureFileReader* m_reader;
    bool m_paused = false;
    bool m_hasMoreFrames = true;
};

} // namespace Playback
