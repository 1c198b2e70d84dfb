#pragma once

#include <functional>
#include <string>

#include "Tools/Info/CaptureSummary.h"
#include "Tools/Info/Statistics.h"
#include "Util/Failure.h"

namespace Tools {

/// What a report is made of.
struct ReportInput {
    std::string captureFile;
    /// Results of a replay, as playback -json writes them; empty for none. Their pictures of frames, which are PNG
    /// files, are looked for in the current folder and beside the results.
    std::string resultsFile;
    const CaptureSummary& summary;
    const CaptureStatistics& statistics;
    /// Hears what is under way.
    std::function<void(const char*)> progress;
};

/// Writes index.html to a folder, which is made where it is missing: one page that needs nothing else, network
/// included. Fails with Usage where the file of results is none, NotWritten where the page cannot be.
[[nodiscard]] Util::Outcome WriteReport(const std::string& folder, const ReportInput& input);

} // namespace Tools
