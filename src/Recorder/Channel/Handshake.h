// How a recorded program and the process that writes find each other.
#pragma once

#include <cstdint>

#include "Recorder/Channel/Layout.h"

namespace Recorder {

/// A socket of this name lies in the folder of the captures, as long as somebody writes them for others.
inline constexpr char socketName[] = ".socket";

/// What a program says when it has connected, in one packet. The answer is an empty packet with a descriptor: the
/// memory of the channel.
struct Hello {
    std::uint32_t version = channelVersion;
    /// The program's name, for that of the capture.
    char program[64] = {};
};

} // namespace Recorder
