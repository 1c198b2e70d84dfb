#pragma once

#include "Data/Records/References.h"
#include "Interfaces/Data.h"

namespace Playback {
class EGLPlaybackAdapter;
class GLResourceTable;
} // namespace Playback

namespace Host {

struct Verification;

/// Ends the frames that no swap ends: compares them, and takes their screenshots. Compares what actions drew to, too.
class DrawnFrames : public Data::FramePictureHandler, public Data::ReferenceHandler {
public:
    /// Compares when `verification` is not null. All of them outlive this.
    DrawnFrames(const Playback::GLResourceTable& table, Playback::EGLPlaybackAdapter& adapter,
                Verification* verification)
        : m_table(table), m_adapter(adapter), m_verification(verification)
    {
    }

    void ProcessFramePicture(const Data::FramePicture& picture) override;
    void ProcessReferenceHash(const Data::ReferenceHashRecord& hash, const Data::ReferencePlace& place) override;
    /// One ended so far.
    [[nodiscard]] bool HasAny() const { return m_hasAny; }

private:
    /// The live framebuffer of a captured one; nothing where there is none.
    [[nodiscard]] std::optional<unsigned int> FindLive(std::uint32_t framebuffer) const;

    const Playback::GLResourceTable& m_table;
    Playback::EGLPlaybackAdapter& m_adapter;
    Verification* m_verification;
    bool m_hasAny = false;
};

} // namespace Host
