#pragma once

#include <cstdint>

#include "Interfaces/Data.h"

namespace Playback {

/// Takes the functions that -skipapi, -skipstateapi and -skipframeapi name out of the playback tables.
///
/// Each state-setup block installs the set for state-setup blocks, the first frame block that for frames. Later frame
/// blocks leave the tables as they are, also when a state-setup block came in between.
class SkipApiBlockEventHandler : public Data::BlockEventHandler {
public:
    void BlockStart(Data::BlockType type) override;
    void BlockEnd(Data::BlockType) override {}

private:
    /// Frame blocks started so far.
    std::uint32_t m_frameBlockCount = 0;
};

} // namespace Playback
