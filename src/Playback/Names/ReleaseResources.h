#pragma once

namespace Playback {

class CapturedContexts;
class DisplayHandles;

/// Deletes every live object that is still mapped, context by context, then the contexts, images and syncs of each
/// display. The displays stay initialised.
void ReleaseResources(const CapturedContexts& contexts, DisplayHandles& handles);

} // namespace Playback
