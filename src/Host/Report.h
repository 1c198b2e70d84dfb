#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Host/Measurements.h"

namespace Host {

/// What became of a replay.
struct Report {
    std::string captureFile;
    std::uint32_t captureFrames = 0;
    /// As the command line has them.
    std::vector<std::string> options;
    /// Strings of the live driver by the names of the enums that query them; empty when nothing was replayed.
    std::map<std::string, std::string> driver;

    /// Of all passes.
    std::uint64_t frames = 0;
    std::uint64_t calls = 0;
    std::uint32_t passes = 0;
    /// From the first frame to the last one, waiting included.
    double seconds = 0;
    /// Why replay ended before the capture did; empty when it did not.
    std::string stopReason;

    std::uint64_t errorMessages = 0;
    /// Driver errors by name, with their numbers.
    std::map<std::string, std::uint64_t> errors;
    /// False where errors were not asked for.
    bool areErrorsChecked = true;
    /// Calls that did not reach the driver, by function.
    std::map<std::string, std::uint64_t> skipped;
    /// CPU time of the replay thread by function.
    std::map<std::string, double> callTimesMs;
    /// Frames and the files with their pictures.
    std::vector<std::pair<std::uint32_t, std::string>> screenshots;
    bool areCallsTimed = false;
    /// Calls that the reader refused, since their records were not to be trusted.
    std::uint64_t refusedCalls = 0;
    /// Nothing where it was not asked for.
    std::optional<bool> isVerified;
    std::vector<std::string> verification;
};

/// Lines for the person at the terminal.
std::vector<std::string> SummaryLines(const Report& report, const Measurements& measurements);

/// Writes all of it as JSON. Returns the reason of a failure; empty on success.
std::string WriteJson(const std::string& path, const Report& report, const Measurements& measurements);

} // namespace Host
