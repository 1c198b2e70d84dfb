// What options are read from: numbers, log levels and zones.
#include "Interfaces/Core.h"
#include "Interfaces/Util.h"

#include <climits>

#include <gmock/gmock.h>

namespace {

using Core::Log;

/// The texts that -loglevel and -logzone take, and what they refuse, which changes nothing.
TEST(LogOptionsTest, LevelsAndZonesByNumberAndByName)
{
    const auto isRefused = [](void (*parse)(const std::string&), const std::string& text) {
        testing::internal::CaptureStderr();
        parse(text);
        return testing::internal::GetCapturedStderr().starts_with("Unrecognized -log");
    };
    for (const auto& [text, level] : {std::pair{"5", int{Core::LogTrace}},
                                      {"TRACE", Core::LogTrace},
                                      {"warning", Core::LogWarning},
                                      {"loud", 0},
                                      {"6", 0},
                                      {"3x", 0},
                                      {"-1", 0},
                                      {"", 0}}) {
        EXPECT_EQ(isRefused(Util::ParseCmdArgsLogLevel, text), level == 0) << text;
        EXPECT_TRUE(Log::IsEnabled(level == 0 ? int{Core::LogWarning} : level, 20)) << text;
        EXPECT_EQ(Log::IsEnabled(Core::LogNotice, 20), level == Core::LogTrace) << text;
    }
    for (const char* text : {"20,63", "64", "4,x", "-1"}) {
        EXPECT_EQ(isRefused(Util::ParseCmdArgsLogZone, text), text[0] != '2');
        EXPECT_TRUE(Log::IsEnabled(Core::LogError, 20) && Log::IsEnabled(Core::LogError, 63)) << text;
        EXPECT_FALSE(Log::IsEnabled(Core::LogError, 4)) << text;
    }
    Util::ParseCmdArgsLogZone("all");
    EXPECT_TRUE(Log::IsEnabled(Core::LogError, 4));
    Log::SetLevel(Core::LogNotice);
}

} // namespace
