#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "Host/Results/GpuTimes.h"
#include "Host/Results/Measurements.h"
#include "Host/Screenshots.h"
#include "Host/Verify/FrameVerifier.h"

namespace Host {

/// What became of a replay.
struct Report {
    std::string captureFile;
    std::uint32_t captureFrames = 0;
    /// As the command line has them.
    std::vector<std::string> options;
    /// Strings of the live driver by the names of the enums that query them; empty when nothing was replayed.
    std::map<std::string, std::string> driver;

    /// False where the capture was only read.
    bool isReplay = true;
    /// Of all passes.
    std::uint64_t frames = 0;
    std::uint64_t calls = 0;
    std::uint32_t passes = 0;
    /// What the times of all frames add up to, measured or not.
    double seconds = 0;
    /// Of the calls after the last frame.
    double restSeconds = 0;
    /// What was done beside the replay meanwhile, and is in no other time here.
    double pictureSeconds = 0;
    double comparisonSeconds = 0;
    double waitingSeconds = 0;
    double loopStartSeconds = 0;
    /// At most, the one whose calls are replayed included.
    unsigned int framesInFlight = 0;
    /// Why replay ended before the capture did; empty when it did not.
    std::string stopReason;
    /// The program ends while the driver is at a call: what is counted at the end of a pass is not known of this one.
    bool isCutOff = false;

    std::uint64_t errorMessages = 0;
    /// Driver errors by name, with their numbers.
    std::map<std::string, std::uint64_t> errors;
    /// False where errors were not asked for.
    bool areErrorsChecked = true;
    /// Calls that did not reach the driver, by function.
    std::map<std::string, std::uint64_t> skipped;
    /// CPU time of the replay thread by function.
    std::map<std::string, double> callTimesMs;
    /// With pictures of whole frames, and of draws and the like in one.
    std::vector<Screenshots::File> screenshots;
    std::vector<Screenshots::File> actionScreenshots;
    /// Pictures that could not be taken or written.
    std::uint64_t missingPictures = 0;
    bool areCallsTimed = false;
    /// Calls that the reader refused, since their records were not to be trusted.
    std::uint64_t refusedCalls = 0;
    /// Nothing where it was not asked for.
    std::optional<bool> isVerified;
    std::vector<std::string> verification;
    std::vector<FrameVerifier::Difference> differences;
};

/// Lines for the person at the terminal. `gpu` may be null.
std::vector<std::string> SummaryLines(const Report& report, const Measurements& measurements, const GpuTimes* gpu);

/// Writes all of it as JSON; "-" is standard output. Returns the reason of a failure; empty on success.
std::string WriteJson(const std::string& path, const Report& report, const Measurements& measurements,
                      const GpuTimes* gpu);
/// In the same way a table with the costs of what was measured: render passes or draws, or frames otherwise.
std::string WriteCsv(const std::string& path, const Measurements& measurements, const GpuTimes* gpu);

} // namespace Host
