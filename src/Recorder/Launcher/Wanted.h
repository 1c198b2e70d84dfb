// Which frames a recording is to have.
#pragma once

#include <cstdint>
#include <string>

#include "Interfaces/Util.h"
#include "Util/FrameRange.h"

namespace Recorder {

/// Of each recorded process, counted in each from 1.
struct Wanted {
    /// Those of the capture that gets the name the user gave.
    Util::FrameRange frames = {};
    /// None, until recording is started.
    bool isPaused = false;
    /// In the place of `frames`: so many at the end; 0: not.
    std::uint32_t last = 0;
    /// Frames have hashes, by which what was cut out is verified.
    bool hash = false;
    /// And what single actions draw to, too.
    bool hashDraws = false;
    /// Frames of a snapshot that is asked for by a key or a signal.
    std::uint32_t snapshot = 1;

    /// The program is ended after its last frame.
    [[nodiscard]] bool HasEnd() const { return frames.last != Util::FrameRange::NoEnd; }
    /// It has to be cut out.
    [[nodiscard]] bool NeedsCut() const { return frames.first != 1 || isPaused || last != 0; }
};

/// By the options of playback-record. What is wrong with them; empty when nothing is.
[[nodiscard]] std::string ReadWanted(const Util::ParseArgs::CmdLineArgs& args, Wanted& wanted);

} // namespace Recorder
