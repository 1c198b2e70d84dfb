#include "Interfaces/Core.h"
#include "Interfaces/Util.h"

#include <gmock/gmock.h>

namespace {

using Core::Log;
using testing::HasSubstr;

/// The texts that -loglevel and -logzone take, and what they refuse.
class LogOptionsTest : public testing::Test {
protected:
    ~LogOptionsTest() override
    {
        Log::SetLevel(Core::LogNotice);
        Log::SetZones(~std::uint64_t{0});
    }

    static bool Enabled(int level, int zone = Core::ZoneGeneral) { return Log::IsEnabled(level, zone); }

    static std::string Refusal(void (*parse)(const std::string&), const std::string& text)
    {
        testing::internal::CaptureStderr();
        parse(text);
        return testing::internal::GetCapturedStderr();
    }
};

TEST_F(LogOptionsTest, LevelsByNumberAndByName)
{
    for (const char* text : {"5", "trace", "TRACE"}) {
        Log::SetLevel(0);
        Util::ParseCmdArgsLogLevel(text);
        EXPECT_TRUE(Enabled(Core::LogTrace)) << text;
    }
    Util::ParseCmdArgsLogLevel("warning");
    EXPECT_TRUE(Enabled(Core::LogWarning));
    EXPECT_FALSE(Enabled(Core::LogNotice));
    Util::ParseCmdArgsLogLevel("0");
    EXPECT_FALSE(Enabled(Core::LogError));
}

TEST_F(LogOptionsTest, UnknownLevelChangesNothing)
{
    for (const char* text : {"", "6", "-1", "3x", "loud"}) {
        EXPECT_THAT(Refusal(Util::ParseCmdArgsLogLevel, text),
                    HasSubstr("Unrecognized -loglevel option: " + std::string(text)));
        EXPECT_TRUE(Enabled(Core::LogNotice) && !Enabled(Core::LogDiagnostic)) << text;
    }
}

TEST_F(LogOptionsTest, ZonesByNumber)
{
    Util::ParseCmdArgsLogZone("20,63");
    EXPECT_TRUE(Enabled(Core::LogError, 20) && Enabled(Core::LogError, 63));
    EXPECT_FALSE(Enabled(Core::LogError, 4));
    Util::ParseCmdArgsLogZone("all");
    EXPECT_TRUE(Enabled(Core::LogError, 4));
    for (const char* text : {"64", "4,x", "-1"}) {
        EXPECT_THAT(Refusal(Util::ParseCmdArgsLogZone, text), HasSubstr("Unrecognized -logzone option: "));
        EXPECT_TRUE(Enabled(Core::LogError, 0)) << text;
    }
}

} // namespace
