#pragma once

#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Interfaces/Core.h"
#include "support/TestFiles.h"

/// Collects what the log prints at any level while it lives.
class LogCapture {
public:
    LogCapture()
    {
        EXPECT_TRUE(Core::Log::SetOutput(m_folder.File("log")));
        Core::Log::SetLevel(Core::LogTrace);
        Core::Log::SetFlush(true);
        m_file.open(m_folder.File("log"));
    }

    ~LogCapture()
    {
        Core::Log::SetLevel(Core::LogNotice);
        Core::Log::SetFlush(false);
        EXPECT_TRUE(Core::Log::SetOutput("/dev/null"));
    }

    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /// The messages since the last call.
    std::vector<std::string> Take()
    {
        std::vector<std::string> lines;
        m_file.clear();
        for (std::string line; std::getline(m_file, line);)
            lines.push_back(line);
        return lines;
    }

private:
    TestFolder m_folder;
    std::ifstream m_file;
};
