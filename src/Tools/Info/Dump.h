#pragma once

#include <functional>
#include <string>

#include "Data/Capture/CaptureSource.h"
#include "Data/Diagnostics.h"
#include "Tools/Info/Notation.h"
#include "Util/FrameRange.h"

namespace Tools {

/// What a listing shows of a capture.
struct DumpChoice {
    Notation notation = Notation::Plain;
    Util::FrameRange frames = {};
    /// Patterns for names of functions, as a shell has them, separated by commas; empty for every record.
    std::string calls = {};
    /// With the stacks of calls, named by files of this machine and those of `debugFolders`, see Symbols.
    bool stacks = false;
    std::string debugFolders = {};
};

/// What in the choice the capture has nothing of, and what was meant perhaps; empty when all is there. Cuts the frames
/// at the end of the capture and says so to `note`.
std::string CheckChoice(const Data::CaptureSource& source, DumpChoice& choice,
                        const std::function<void(const std::string&)>& note);

/// Writes the records of a capture, a line each, in order, as long as `write` answers true. Answers the number of
/// lines.
std::uint64_t Dump(Data::CaptureSource& source, Data::Diagnostics& diagnostics, const DumpChoice& choice,
                   const std::function<bool(std::string_view)>& write);

} // namespace Tools
