#include "Interfaces/Core.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Core/LogOutput.h"
#include "support/TestFiles.h"

namespace {

using Core::Log;

/// Every test logs into a file of its own and leaves the log as it was at start.
class LogTest : public testing::Test {
protected:
    LogTest() { EXPECT_TRUE(Log::SetOutput(m_path)); }
    ~LogTest() override
    {
        Log::SetLevel(Core::LogNotice);
        Log::SetZones(~std::uint64_t{0});
        Log::SetFlush(false);
        Log::m_displayLineNumberFileName = false;
        EXPECT_TRUE(Log::SetOutput("/dev/null"));
    }

    static void Print(int level, int zone, const char* text) { Log::Print(level, zone, 7, "src/X", true, "%s", text); }
    std::string Logged()
    {
        Log::SetFlush(true);
        return ReadFile(m_path);
    }

    TestFolder m_folder;
    const std::string m_path = m_folder.File("log");
};

TEST_F(LogTest, LevelAndZoneDecideWhatAppears)
{
    const std::uint64_t before = Log::ErrorCount();
    Print(Core::LogDiagnostic, 4, "too detailed");
    Print(Core::LogError, 4, "wrong");
    Log::m_displayLineNumberFileName = true;
    Print(Core::LogWarning, 4, "odd");
    Log::m_displayLineNumberFileName = false;
    Log::SetLevel(Core::LogTrace);
    Log::SetZones(std::uint64_t{1} << Core::ZoneCallTrace);
    Print(Core::LogTrace, Core::ZoneCallTrace, "glFlush");
    Print(Core::LogError, 4, "zone is off");
    EXPECT_FALSE(Log::IsEnabled(Core::LogError, 4));
    Log::SetLevel(0);
    Print(Core::LogError, Core::ZoneCallTrace, "nothing at level 0");
    EXPECT_EQ(Logged(), "error: wrong\nsrc/X(7): warning: odd\nglFlush\n");
    EXPECT_EQ(Log::ErrorCount() - before, 3U) << "whether they appear or not";
}

TEST_F(LogTest, RepetitionsAreCountedOnStderrAndKeptInAFile)
{
    const auto print = [](Core::LogOutput& output) {
        for (const char* text : {"odd", "odd", "odd", "other", "odd"})
            output.WriteOnce(text);
        output.WriteLine("glFlush");
        output.WriteLine("glFlush");
    };
    testing::internal::CaptureStderr();
    {
        Core::LogOutput toStderr;
        print(toStderr);
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "odd\n(the last message was repeated 2 times)\nother\nodd\nglFlush\nglFlush\n");
    {
        Core::LogOutput toFile;
        ASSERT_EQ(toFile.Open(m_path), "");
        print(toFile);
    }
    EXPECT_EQ(ReadFile(m_path), "odd\nodd\nodd\nother\nodd\nglFlush\nglFlush\n");
}

/// By exit, or in a crash when messages are flushed.
TEST_F(LogTest, NothingIsLostWhenTheProcessEnds)
{
    for (const bool crashes : {false, true}) {
        const std::string path = m_folder.File(crashes ? "crash" : "exit");
        const auto lastWords = [&] {
            (void)Log::SetOutput(path);
            Log::SetLevel(Core::LogTrace);
            Log::SetFlush(crashes);
            Print(Core::LogTrace, 4, "last words");
            crashes ? (void)std::raise(SIGKILL) : std::exit(0);
        };
        EXPECT_EXIT(
            lastWords(), [](int) { return true; }, "");
        EXPECT_EQ(ReadFile(path), "last words\n");
    }
}

TEST_F(LogTest, OutputThatCannotBeWrittenIsReported)
{
    testing::internal::CaptureStderr();
    EXPECT_FALSE(Log::SetOutput("/nonexistent/folder/log"));
    Print(Core::LogNotice, 4, "still here");
    EXPECT_EQ(Logged(), "still here\n");
    EXPECT_TRUE(Log::SetOutput("/dev/full"));
    Print(Core::LogNotice, 4, "kept");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Cannot write the log to /nonexistent/folder/log: No such file or directory\n"
              "Writing the log to /dev/full failed (No space left on device); it goes on here.\nkept\n");
}

TEST_F(LogTest, ReaderOfThePipeMayComeLateAndMayLeave)
{
    const std::string pipe = m_path + ".pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    int reader = -1;
    std::thread lateReader([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        reader = open(pipe.c_str(), O_RDONLY);
    });
    EXPECT_TRUE(Log::SetOutput(pipe));
    lateReader.join();
    Print(Core::LogNotice, 4, "through the pipe");
    char chars[64] = {};
    EXPECT_GT(read(reader, chars, sizeof chars - 1), 0);
    EXPECT_STREQ(chars, "through the pipe\n");

    close(reader);
    testing::internal::CaptureStderr();
    Print(Core::LogNotice, 4, "nobody reads this");
    Print(Core::LogNotice, 4, "nor this");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Writing the log to " + pipe + " failed (Broken pipe); it goes on here.\nnobody reads this\nnor this\n");
    sigset_t pending;
    sigpending(&pending);
    EXPECT_FALSE(sigismember(&pending, SIGPIPE));
}

} // namespace
