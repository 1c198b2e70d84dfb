// What is in a capture: what playback-info prints.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "Data/Capture/CaptureSource.h"
#include "Data/Diagnostics.h"

namespace Tools {

struct CaptureStatistics;

/// A window, pbuffer or pixmap of the recorded program.
struct SurfaceSummary {
    std::string kind;
    /// In pixels, in the order in which the surface had them. Empty: not known.
    std::vector<std::pair<std::uint32_t, std::uint32_t>> sizes;
};

/// Counts over a whole capture. Keys are captured identifiers.
struct CaptureSummary {
    std::string path;
    std::uint64_t fileBytes = 0;
    Data::CaptureHeader header;
    /// False: the capture has no end, or could not be read up to it.
    bool isComplete = false;
    std::uint32_t frames = 0;
    std::uint64_t durationUs = 0;
    std::uint64_t calls = 0;
    /// Calls of the block in front of the first frame.
    std::uint64_t stateBlockCalls = 0;
    /// Calls of each frame, and at the end of what comes after the last one.
    std::vector<std::uint64_t> callsByFrame = {0};
    /// Draw calls in the same order.
    std::vector<std::uint64_t> drawsByFrame = {0};
    std::uint32_t frameHashes = 0;
    bool hasStateBlock = false;
    std::map<std::uint32_t, std::uint64_t> callsByThread;
    /// Contexts and the context that each shares its objects with; 0 for none.
    std::map<std::uint32_t, std::uint32_t> contexts;
    std::map<std::uint32_t, SurfaceSummary> surfaces;
    std::map<std::string, std::uint64_t> callsByName;
    /// What could not be recorded, and how often.
    std::map<std::string, std::uint64_t> notes;
};

/// Reads all of a capture. Damage is reported; what lies in front of it is counted.
CaptureSummary Summarize(Data::CaptureSource& source, Data::Diagnostics& diagnostics);

std::string ToText(const CaptureSummary& summary);
/// With the statistics, where there are some.
std::string ToJson(const CaptureSummary& summary, const CaptureStatistics* statistics);

} // namespace Tools
