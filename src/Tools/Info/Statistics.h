// What a capture asks of a driver, counted by frame: the `statistics` of playback-info --json, and its --csv.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "Data/CallIds.h"
#include "Data/Capture/SummaryCounts.h"
#include "Data/Diagnostics.h"
#include "Data/State/StateModel.h"
#include "Util/FrameRange.h"

namespace Tools {

struct DrawCount {
    std::uint64_t calls = 0;
    std::uint64_t instances = 0;
    /// Vertices of all instances: an indexed draw has one for each index.
    std::uint64_t vertices = 0;
    /// Calls whose parameters lie in a buffer with contents that are not known: they count with no instance.
    std::uint64_t unknown = 0;

    DrawCount& operator+=(const DrawCount& other);
};

struct DispatchCount {
    std::uint64_t calls = 0;
    /// Work groups.
    std::uint64_t groups = 0;
    /// As in DrawCount.
    std::uint64_t unknown = 0;
};

using CallCounts = std::map<Data::CallId, std::uint64_t>;

/// Sums over a frame, or over a whole capture.
struct FrameStatistics {
    std::uint64_t calls = 0;
    std::map<Data::CallId, DrawCount> draws;
    DispatchCount dispatches;
    CallCounts clears;
    CallCounts blits;
    /// Bytes. What an upload takes from a buffer counts as well; mapped bytes are part of those to buffers.
    std::uint64_t bufferBytes = 0;
    std::uint64_t mappedBytes = 0;
    std::uint64_t textureBytes = 0;
    /// Vertices in client memory, which travel with each draw.
    std::uint64_t clientArrayBytes = 0;
    /// Calls that wait until the driver is done: glFinish, and for syncs and results of queries.
    CallCounts waits;
    /// Calls that bring pixels and contents of buffers back. Bytes of pixels; of them, those that went to buffers; and
    /// of buffers that were mapped for reading.
    CallCounts readBacks;
    std::uint64_t readBytes = 0;
    std::uint64_t bytesReadToBuffers = 0;
    std::uint64_t bytesMappedToRead = 0;
    /// Made, by type.
    std::map<std::uint32_t, std::uint64_t> shaders;
    std::uint64_t shadersCompiled = 0;
    std::uint64_t programs = 0;
    std::uint64_t programsLinked = 0;
    /// Calls of functions that belong to an extension.
    CallCounts extensionCalls;
    /// Calls that set a state of the description, and those of them that set what was set already.
    CallCounts stateChanges;
    CallCounts redundantChanges;
    /// At the end, and at most.
    Data::ObjectCounts objects = {};

    /// Adds what came after.
    FrameStatistics& operator+=(const FrameStatistics& next);
};

/// Extensions of a function as the API description has them, alternatives joined by '|'; null for a core function.
const char* ExtensionOf(Data::CallId call);

struct CaptureStatistics {
    FrameStatistics total;
    /// The calls that build the state which the first frame needs, where the capture has a block of them.
    std::optional<FrameStatistics> setup;
    /// Whole frames, from frame `firstFrame` on.
    std::vector<FrameStatistics> frames;
    std::uint32_t firstFrame = 1;
    /// The calls after the last frame, where they are counted.
    FrameStatistics rest;
    bool hasRest = true;
    /// Calls that were not counted, since a replay would refuse them.
    std::uint64_t refusedCalls = 0;
    /// The capture has no end, or could not be read up to it.
    bool isIncomplete = false;
};

/// Reads all of a capture, as a replay does. Damage and refused calls are reported, and what lies in front is counted.
/// Empty, with the reason in `error`, when nothing can be read.
/// Of `frames` alone where they are given: what is before is read for the state that it sets, and what is after is not.
std::optional<CaptureStatistics> CollectStatistics(const std::string& path, Data::Report report, std::string& error,
                                                   Util::FrameRange frames = {});

/// Fills in the numbers of calls, which who counts records knows.
void SetCalls(CaptureStatistics& statistics, const Data::SummaryCounts& counts);

/// A table: a line with the names of the columns, then one for each part of the capture.
std::string ToCsv(const CaptureStatistics& statistics);

} // namespace Tools
