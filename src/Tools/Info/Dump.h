#pragma once

#include <functional>
#include <optional>
#include <string>

#include "Data/CaptureSource.h"
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
};

/// Writes the records of a capture, a line each, in order.
void Dump(Data::CaptureSource& source, Data::Diagnostics& diagnostics, const DumpChoice& choice,
          const std::function<void(const std::string&)>& write);

} // namespace Tools
