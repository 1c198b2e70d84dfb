// What is in a capture, counted: its summary.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Data/Capture/SummaryFormat.h"

namespace Data {

/// A window, pbuffer or pixmap of the recorded program.
struct SurfaceSummary {
    SurfaceKind kind = SurfaceKind::Unknown;
    /// In pixels, in the order in which the surface had them. Empty: not known.
    std::vector<std::pair<std::uint32_t, std::uint32_t>> sizes;
};

/// What a capture has of a driver to compare with, besides the hashes of the recording's frames.
struct ReferenceSummary {
    /// GL_RENDERER and GL_VERSION; empty for the driver of the recording.
    std::string renderer;
    std::string version;
    /// Hashes of frames and of what actions drew to, and pictures of frames.
    std::uint32_t frames = 0;
    std::uint64_t actions = 0;
    std::uint32_t pictures = 0;
};

/// Counts over a capture, or over frames of it. Keys are captured identifiers.
struct SummaryCounts {
    std::uint32_t frames = 0;
    std::uint32_t frameHashes = 0;
    std::uint64_t durationUs = 0;
    std::uint64_t calls = 0;
    /// Calls of the block in front of the first frame.
    std::uint64_t stateBlockCalls = 0;
    bool hasStateBlock = false;
    /// What ended the last frame that did not end with the program.
    FrameEndKind frameEnd = FrameEndKind::Swap;
    /// Each frame, and at the end what comes after the last one.
    std::vector<FrameCounts> byFrame = {{}};
    /// By number in the file's call table.
    std::vector<std::uint64_t> callsById;
    std::map<std::uint32_t, std::uint64_t> callsByThread;
    /// Contexts and the context that each shares its objects with; 0 for none.
    std::map<std::uint32_t, std::uint32_t> contexts;
    std::map<std::uint32_t, SurfaceSummary> surfaces;
    /// What could not be recorded, and how often.
    std::map<std::string, std::uint64_t> notes;
    /// By driver; 0 is that of the recording.
    std::map<std::uint32_t, ReferenceSummary> references;
    /// For each chunk of records, what listing the ones after it depends on.
    std::vector<std::vector<BindingChange>> bindings;
    /// The chunks of records in which there are modules and stacks, and how many. Empty: the summary does not tell.
    std::optional<std::vector<CountEntry>> stacks;
};

/// The body of the summary's chunk. Empty when it would be larger than a chunk can be.
std::vector<std::uint8_t> EncodeSummary(const SummaryCounts& counts);

} // namespace Data
