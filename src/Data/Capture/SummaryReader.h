// The summary at the end of a capture.
#pragma once

#include <memory>
#include <string>

#include "Data/Capture/CaptureSource.h"
#include "Data/Capture/SummaryCounts.h"

namespace Data {

/// Reads the summary of a capture. Null when it has none that this program reads, and with a reason in `trouble` when
/// the one that it has is damaged or contradicts what else the file says of itself.
std::unique_ptr<SummaryCounts> ReadSummary(CaptureSource& source, std::string& trouble);

/// The same of a summary that was read.
std::unique_ptr<SummaryCounts> DecodeSummary(const Chunk& chunk, const CaptureSource& source, std::string& trouble);

} // namespace Data
