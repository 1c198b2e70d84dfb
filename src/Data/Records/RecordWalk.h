// All records of a capture, for tools that list or count them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>

#include "Data/Capture/CaptureSource.h"
#include "Data/Diagnostics.h"
#include "Data/Records/RecordCursor.h"

namespace Data {

/// Visits every record in order, or those of the first `frames` frames; `diagnostics.position` says where each is.
/// From chunk `firstChunk` on, where that is given: how many frames lie in front of it is as the index says, and a
/// chunk that has more or less of them than the index says is reported. Stops where the capture is damaged. False when
/// it could not be read that far, or to its end, which is reported.
bool WalkRecords(CaptureSource& source, Diagnostics& diagnostics, const std::function<void(const RecordCursor&)>& visit,
                 std::uint32_t frames = std::numeric_limits<std::uint32_t>::max(), std::size_t firstChunk = 0);

/// Reports a capture without its end, of which `frames` frames were read.
void ReportIncomplete(Diagnostics& diagnostics, std::uint32_t frames);

} // namespace Data
