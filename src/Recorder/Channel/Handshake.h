// How a recorded program and the process that writes find each other.
#pragma once

#include <cstdint>

#include "Recorder/Channel/Layout.h"

namespace Recorder {

/// A socket of this name lies in the folder of the captures, as long as somebody writes them for others.
inline constexpr char SocketName[] = ".socket";

/// A link of this name in the folder leads to the file that processes report to, see Report.h.
inline constexpr char ReportsName[] = ".reports";

/// What a program says when it has connected, in one packet. The answer is an empty packet with a descriptor: the
/// memory of the channel.
struct Hello {
    std::uint32_t version = ChannelVersion;
    /// The program's name, for that of the capture.
    char program[64] = {};
};

} // namespace Recorder
