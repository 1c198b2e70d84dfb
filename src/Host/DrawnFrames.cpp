#include "Host/DrawnFrames.h"

#include "Host/Verify/Verification.h"
#include "Playback/Calls/EGLPlaybackAdapter.h"
#include "Playback/Names/GLResourceTable.h"

namespace Host {

void DrawnFrames::ProcessFramePicture(const Data::FramePicture& picture)
{
    m_hasAny = true;
    // Looked up beforehand: a name that is not there is logged when it is asked for.
    std::optional<unsigned int> live;
    if (picture.isThere && picture.framebuffer == 0)
        live = 0;
    else if (picture.isThere && m_table.HasGLFramebuffer(picture.framebuffer))
        live = m_table.GetValueGLFramebuffer(picture.framebuffer);
    if (m_verification)
        m_verification->frames.Compare(picture, live);
    m_adapter.EndFrame(live);
}

} // namespace Host
