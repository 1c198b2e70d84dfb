// What came of a recording, read from the finished capture.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "Data/Records/ProgramEnd.h"

namespace Recorder {

struct Summary {
    std::uint32_t frames = 0;
    std::uint64_t calls = 0;
    /// When the recording began, in microseconds since 1970.
    std::uint64_t startTimeUs = 0;
    std::uint64_t fileBytes = 0;
    std::uint64_t timeUs = 0;
    /// False when the recorded program was killed or the disk is full: the capture ends with its last whole chunk.
    bool isComplete = false;
    /// Something was recorded that can be replayed.
    bool hasCalls = false;

    /// How the program ended, where it did not end as it should.
    Data::ProgramEnd end;
    /// What could not be recorded, and how often.
    std::vector<std::pair<std::string, std::uint64_t>> notes;
    /// What is wrong with the file, its missing end included; empty when it was read to its end.
    std::string error;
};

/// Reads no more of the file than it has to.
[[nodiscard]] Summary Summarize(const std::string& path);

/// "1.5 MiB".
[[nodiscard]] std::string SizeText(std::uint64_t bytes);

/// "PATH: 60 frames, ..." and a new line.
[[nodiscard]] std::string Describe(const std::string& path, const Summary& summary);

/// What is missing from the capture, in indented lines for people. Empty where nothing is.
[[nodiscard]] std::string DescribeMissing(const Summary& summary);

} // namespace Recorder
