#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "Host/Options/ScreenshotChoice.h"
#include "Host/Results/GpuTimes.h"
#include "Host/Results/Measurements.h"
#include "Host/Timing/Pace.h"
#include "Host/Verify/HashWriter.h"
#include "Interfaces/Util.h"
#include "Util/ExitStatus.h"

namespace Host {

/// What the command line asks for. The engine's own settings are in `args`, for PlaybackEnvironment::LoadSettings.
struct Options {
    Util::ParseArgs::CmdLineArgs args;
    std::string captureFile;
    /// Folder of the driver's libraries; empty for the system's.
    std::string driverDirectory;
    /// Start of the names of the reports of -stats: the capture's, in the folder of -statsdir when that is given.
    std::string statisticsFile;
    bool headless = false;
    bool unfinished = false;
    bool verify = false;
    /// Write a copy with the hashes of this driver, in the place of showing anything.
    HashRequest hashes;
    /// Only tell what the driver lacks.
    bool check = false;
    bool quiet = false;
    /// Show the inside of the frame at each pause.
    bool inspect = false;
    bool timeCalls = false;
    /// Passes begin when standard input says so.
    bool takesTurns = false;
    /// Nothing where no time of the GPU is asked for.
    std::optional<GpuSpans> gpuSpans;
    /// Patterns for the names of the driver's counters, "list" to print these; empty for none.
    std::string gpuCounters;
    /// File for the results as JSON, "-" for standard output; empty for none.
    std::string jsonFile;
    /// The same for a table.
    std::string csvFile;
    FrameRange measuredFrames;
    Pace pace;
    std::optional<std::chrono::duration<double>> timeLimit;
    /// At most so many frames are under way in the driver; see FrameTimer. 1 where pictures finish some of them: a
    /// frame that is finished on its own takes another time than one that overlaps with the next.
    unsigned int framesInFlight = 2;
    /// In the place of the captured ones.
    std::optional<int> swapInterval;
    /// A list of frames is not in `args`, since the engine's settings cannot hold it.
    ScreenshotChoice screenshots;
    /// With pictures of draws, of what is between them as well.
    bool screenshotActions = false;
    /// All of the command line, for the results.
    std::vector<std::string> arguments;
};

/// Parses the arguments of main; how the program ends where it was answered, as Util::AnswerCommandLine does. Values
/// that the engine would take for something else are refused here.
std::variant<Options, Util::ExitStatus> ParseOptions(int argc, const char* const* argv);

/// What has no effect on a capture of so many frames, a sentence each.
std::vector<std::string> WithoutEffect(const Options& options, std::uint32_t frames);

} // namespace Host
