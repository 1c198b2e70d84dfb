// What is in a capture: what playback-info prints.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "Data/Capture/CaptureSource.h"
#include "Data/Capture/SummaryCounts.h"
#include "Data/Diagnostics.h"
#include "Data/Records/ProgramEnd.h"
#include "Util/FrameRange.h"

namespace Tools {

struct CaptureStatistics;

struct CaptureSummary {
    std::string path;
    std::uint64_t fileBytes = 0;
    Data::CaptureHeader header;
    /// The frame that is counted first.
    std::uint32_t firstFrame = 1;
    /// In all of the capture.
    std::uint32_t allFrames = 0;
    /// False: the capture has no end, or could not be read up to it.
    bool isComplete = false;
    Data::SummaryCounts counts;
    /// Known of a program that did not end as it should.
    Data::ProgramEnd end;
    std::map<std::string, std::uint64_t> callsByName;
};

/// Takes the summary at the end of the capture, where there is one that fits it; one that does not is reported.
/// Otherwise, and where it is not to be believed, reads all of the capture: damage is reported, and what lies in front
/// of it is counted.
enum class SummaryUse { Believe, Ignore };
CaptureSummary Summarize(Data::CaptureSource& source, Data::Diagnostics& diagnostics,
                         SummaryUse use = SummaryUse::Believe);
/// Counts these frames alone, without reading others. Contexts and surfaces are those that were made in them.
CaptureSummary Summarize(Data::CaptureSource& source, Data::Diagnostics& diagnostics, Util::FrameRange range);

std::string ToText(const CaptureSummary& summary);
/// With the statistics, where there are some.
std::string ToJson(const CaptureSummary& summary, const CaptureStatistics* statistics);

} // namespace Tools
