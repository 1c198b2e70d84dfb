// Runs clients of the test executable under playback-record and lists what was recorded.
#pragma once

#include <filesystem>
#include <gmock/gmock.h>
#include <string>
#include <vector>

#include "support/TestFiles.h"

namespace Recorder {

struct Outcome {
    int status = 0;
    /// What the client printed, and what playback-record said.
    std::string out;
    std::string err;
};

/// The fake driver knows the described calls only, and tells what it was asked; the system's knows other forms of them
/// too, and draws off screen.
enum class Driver { Fake, Systems };

/// Each test has a folder, in which the capture `capture.glcap` is written.
class RecorderTest : public ::testing::Test {
protected:
    /// Records the client until it ends.
    Outcome Record(const std::string& client, const std::string& options = "");
    /// Runs a shell command in the test's folder.
    Outcome Run(const std::string& command);

    /// Calls and commands of a capture as playback-info --dump prints them, without their positions.
    std::vector<std::string> Dump(const std::string& file = "capture.glcap");
    /// Only those that contain `part`.
    std::vector<std::string> Dump(const std::string& part, const std::string& file);
    /// What reached the driver and contains `part`.
    std::vector<std::string> DriverLog(const std::string& part);

    const TestFolder testFolder;
    const std::filesystem::path folder = testFolder.Path();
    Driver driver = Driver::Fake;
};

/// The part of `list` from the first line that starts with `first` on, without it.
std::vector<std::string> After(const std::vector<std::string>& list, const std::string& first);

} // namespace Recorder
