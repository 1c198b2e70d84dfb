#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "Data/Capture/Format.h"
#include "Interfaces/Data.h"
#include "Trim/RecordOutput.h"
#include "Trim/Restore/LiveGL.h"
#include "Trim/Track/StateTracker.h"

namespace Trim {

/// What one buffer of a surface holds: rows packed, bottom row first.
struct DefaultContents {
    /// DefaultColor, DefaultDepth or DefaultStencil.
    Data::RecordId buffer;
    std::int32_t width;
    std::int32_t height;
    Transfer transfer;
    std::vector<std::uint8_t> pixels;
};

/// Reads colour, depth and stencil of the surface that is current on the live driver, as far as this driver can read
/// them and `restorer` brings them back exactly, which is tried. What cannot be had is added to `missing`, in words.
/// Leaves the live state changed.
std::vector<DefaultContents> ReadDefaultContents(Data::MetaHandler& restorer, std::set<std::string>& missing);

/// The same without a trial.
std::vector<DefaultContents> ReadDefaultContents(std::set<std::string>& missing);

/// Brings such contents back to the surface that is current. Nothing may restrict blits to it.
void RestoreDefaultContents(Data::MetaHandler& restorer, const DefaultContents& contents);

/// Writes such contents as meta commands. The default framebuffer is bound for drawing, as NeutralUploads leaves it.
void WriteDefaultContents(Data::CaptureWriter& writer, const Current& current,
                          const std::vector<DefaultContents>& contents);

} // namespace Trim
