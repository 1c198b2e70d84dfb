// What options and names are read from: numbers, lists, folders, log levels and zones.
#include "Interfaces/Core.h"
#include "Interfaces/Util.h"

#include <climits>
#include <filesystem>

#include <gmock/gmock.h>

namespace {

using Core::Log;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST(StringTest, ToIntTakesTheLeadingNumberAndSaturates)
{
    const std::pair<const char*, int> numbers[] = {{"12:5-9", 12},
                                                   {" -7x", -7},
                                                   {"+3", 3},
                                                   {"", 0},
                                                   {"x1", 0},
                                                   {"010", 10},
                                                   {"4294967297", INT_MAX},
                                                   {"-99999999999999999999999", INT_MIN}};
    for (const auto& [text, number] : numbers) {
        EXPECT_EQ(Util::String::ToInt(text), number) << text;
    }
}

TEST(StringTest, TokenizeDropsEmptyPieces)
{
    EXPECT_THAT(Util::String::Tokenize(",1,,2;3,", ",;"), ElementsAre("1", "2", "3"));
    EXPECT_THAT(Util::String::Tokenize("::", ":"), IsEmpty());
}

TEST(PathTest, CreateFolderMakesParentsAndReportsFailure)
{
    const std::filesystem::path root = std::filesystem::path(testing::TempDir()) / "create_folder_test";
    std::filesystem::remove_all(root);
    const std::string deep = (root / "a" / "b").string();
    EXPECT_TRUE(Util::Path::CreateFolder(deep));
    EXPECT_TRUE(Util::Path::Exists(deep) && Util::Path::CreateFolder(deep + "/"));
    EXPECT_FALSE(Util::Path::CreateFolder("/proc/no/such") || Util::Path::CreateFolder("/dev/null"));
    std::filesystem::remove_all(root);
}

/// The texts that -loglevel and -logzone take, and what they refuse.
class LogOptionsTest : public testing::Test {
protected:
    ~LogOptionsTest() override
    {
        Log::SetLevel(Core::LogNotice);
        Log::SetZones(~std::uint64_t{0});
    }
    static std::string Said(void (*parse)(const std::string&), const std::string& text)
    {
        testing::internal::CaptureStderr();
        parse(text);
        return testing::internal::GetCapturedStderr();
    }
};

TEST_F(LogOptionsTest, LevelsByNumberAndByName)
{
    const std::pair<const char*, int> levels[] = {
        {"5", Core::LogTrace}, {"TRACE", Core::LogTrace}, {"0", -1}, {"warning", Core::LogWarning}};
    for (const auto& [text, level] : levels) {
        Util::ParseCmdArgsLogLevel(text);
        EXPECT_TRUE(level < 0 || Log::IsEnabled(level, Core::ZoneGeneral)) << text;
        EXPECT_FALSE(Log::IsEnabled(std::max(level + 1, int{Core::LogError}), Core::ZoneGeneral)) << text;
    }
    for (const char* text : {"", "6", "-1", "3x", "loud"}) {
        EXPECT_THAT(Said(Util::ParseCmdArgsLogLevel, text),
                    HasSubstr("Unrecognized -loglevel option: " + std::string(text)));
        EXPECT_TRUE(Log::IsEnabled(Core::LogWarning, Core::ZoneGeneral)) << "nothing changes";
    }
}

TEST_F(LogOptionsTest, ZonesByNumber)
{
    for (const char* text : {"20,63", "64", "4,x", "-1"}) {
        EXPECT_EQ(Said(Util::ParseCmdArgsLogZone, text).find("Unrecognized -logzone option: ") == std::string::npos,
                  text[0] == '2');
        EXPECT_TRUE(Log::IsEnabled(Core::LogError, 20) && Log::IsEnabled(Core::LogError, 63)) << text;
        EXPECT_FALSE(Log::IsEnabled(Core::LogError, 4)) << text;
    }
    Util::ParseCmdArgsLogZone("all");
    EXPECT_TRUE(Log::IsEnabled(Core::LogError, 4));
}

} // namespace
