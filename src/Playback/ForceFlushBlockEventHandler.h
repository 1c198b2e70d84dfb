#pragma once

#include "Interfaces/Data.h"

namespace Playback {

/// Makes the driver show what it has at the ends of blocks: a flush after each frame block, a swap of the current draw
/// surface after the state-setup block. Does nothing while no context is current.
class ForceFlushBlockEventHandler : public Data::BlockEventHandler {
public:
    /// Flushes after frames only.
    ForceFlushBlockEventHandler() = default;
    ForceFlushBlockEventHandler(bool flushAtFrameEnd, bool swapAtStateEnd)
        : m_flushAtFrameEnd(flushAtFrameEnd), m_swapAtStateEnd(swapAtStateEnd)
    {
    }

    void BlockStart(Data::BlockType) override {}
    void BlockEnd(Data::BlockType type) override;

private:
    bool m_flushAtFrameEnd = true;
    bool m_swapAtStateEnd = false;
};

} // namespace Playback
