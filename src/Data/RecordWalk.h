// All records of a capture, for tools that list or count them.
#pragma once

#include <functional>

#include "Data/CaptureSource.h"
#include "Data/Diagnostics.h"
#include "Data/RecordCursor.h"

namespace Data {

/// Visits every record in order; `diagnostics.position` says where each is. Stops where the capture is damaged. False
/// when it could not be read to its end or has none, which is reported.
bool WalkRecords(CaptureSource& source, Diagnostics& diagnostics,
                 const std::function<void(const RecordCursor&)>& visit);

/// Reports a capture without its end, of which `frames` frames were read.
void ReportIncomplete(Diagnostics& diagnostics, std::uint32_t frames);

} // namespace Data
