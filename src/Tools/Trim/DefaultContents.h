#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "Data/Format.h"
#include "Interfaces/Data.h"
#include "Tools/Trim/RecordOutput.h"
#include "Tools/Trim/StateTracker.h"

namespace Tools::Trim {

/// What one buffer of a surface holds: rows packed, bottom row first.
struct BufferContents {
    Data::RecordId buffer;
    std::uint32_t width;
    std::uint32_t height;
    std::uint32_t format;
    std::uint32_t type;
    std::vector<std::uint8_t> pixels;
};

/// Reads colour, depth and stencil of the surface that is current on the live driver, as far as this driver can read
/// them and `restorer` brings them back exactly. What cannot be had is said in `missing`, in words. Leaves the live
/// state changed.
std::vector<BufferContents> ReadDefaultFramebuffer(Data::MetaHandler& restorer, std::set<std::string>& missing);

/// Writes such contents as meta commands, with the calls around them that make a restore reach the default framebuffer
/// of the context and nothing else, and that put the context's state back.
void WriteDefaultFramebuffer(RecordOutput& output, StateTracker& tracker, const Current& current,
                             const std::vector<BufferContents>& contents);

} // namespace Tools::Trim
