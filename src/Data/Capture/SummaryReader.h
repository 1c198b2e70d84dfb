// The summary at the end of a capture.
#pragma once

#include <optional>
#include <string>

#include "Data/Capture/CaptureSource.h"
#include "Data/Capture/SummaryCounts.h"

namespace Data {

/// Reads the summary of a capture. Nothing when it has none that this program reads, and with a reason in `trouble`
/// when the one that it has is damaged or contradicts what else the file says of itself.
std::optional<SummaryCounts> ReadSummary(CaptureSource& source, std::string& trouble);

/// The same of a summary that was read.
std::optional<SummaryCounts> DecodeSummary(const Chunk& chunk, const CaptureSource& source, std::string& trouble);

} // namespace Data
