#include "Host/DrawnFrames.h"

#include "Host/Verify/Verification.h"
#include "Playback/Calls/EGLPlaybackAdapter.h"
#include "Playback/Names/GLResourceTable.h"

namespace Host {

void DrawnFrames::ProcessFramePicture(const Data::FramePicture& picture)
{
    m_hasAny = true;
    const std::optional<unsigned int> live = picture.isThere ? FindLive(picture.framebuffer) : std::nullopt;
    if (m_verification)
        m_verification->frames.Compare(picture, live);
    m_adapter.EndFrame(live);
}

void DrawnFrames::ProcessReferenceHash(const Data::ReferenceHashRecord& hash, const Data::ReferencePlace& place)
{
    if (m_verification)
        m_verification->frames.Compare(hash, place, FindLive(hash.framebuffer));
}

std::optional<unsigned int> DrawnFrames::FindLive(std::uint32_t framebuffer) const
{
    if (framebuffer == 0)
        return 0;
    // Looked up beforehand: a name that is not there is logged when it is asked for.
    return m_table.HasGLFramebuffer(framebuffer) ? std::optional(m_table.GetValueGLFramebuffer(framebuffer))
                                                 : std::nullopt;
}

} // namespace Host
