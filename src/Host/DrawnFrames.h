#pragma once

#include "Interfaces/Data.h"

namespace Playback {
class EGLPlaybackAdapter;
class GLResourceTable;
} // namespace Playback

namespace Host {

struct Verification;

/// Ends the frames that no swap ends: compares them, and takes their screenshots.
class DrawnFrames : public Data::FramePictureHandler {
public:
    /// Compares when `verification` is not null. All of them outlive this.
    DrawnFrames(const Playback::GLResourceTable& table, Playback::EGLPlaybackAdapter& adapter,
                Verification* verification)
        : m_table(table), m_adapter(adapter), m_verification(verification)
    {
    }

    void ProcessFramePicture(const Data::FramePicture& picture) override;
    /// One ended so far.
    [[nodiscard]] bool HasAny() const { return m_hasAny; }

private:
    const Playback::GLResourceTable& m_table;
    Playback::EGLPlaybackAdapter& m_adapter;
    Verification* m_verification;
    bool m_hasAny = false;
};

} // namespace Host
