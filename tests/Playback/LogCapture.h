#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "Interfaces/Core.h"

/// Collects what the log prints at any level while it lives.
class LogCapture {
public:
    LogCapture() : m_path(testing::TempDir() + "log_capture_" + std::to_string(getpid()))
    {
        EXPECT_TRUE(Core::Log::SetOutput(m_path));
        Core::Log::SetLevel(Core::LogTrace);
        Core::Log::SetFlush(true);
        m_file.open(m_path);
    }

    ~LogCapture()
    {
        Core::Log::SetLevel(Core::LogNotice);
        Core::Log::SetFlush(false);
        EXPECT_TRUE(Core::Log::SetOutput("/dev/null"));
        std::filesystem::remove(m_path);
    }

    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /// The messages since the last call.
    std::vector<std::string> Take()
    {
        std::vector<std::string> lines;
        m_file.clear();
        for (std::string line; std::getline(m_file, line);) {
            lines.push_back(line);
        }
        return lines;
    }

private:
    std::string m_path;
    std::ifstream m_file;
};
