#include "Interfaces/Util.h"

#include <climits>
#include <filesystem>

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(StringTest, ToIntTakesTheLeadingNumber)
{
    EXPECT_EQ(Util::String::ToInt("12:5-9"), 12);
    EXPECT_EQ(Util::String::ToInt(" -7x"), -7);
    EXPECT_EQ(Util::String::ToInt("+3"), 3);
    EXPECT_EQ(Util::String::ToInt(""), 0);
    EXPECT_EQ(Util::String::ToInt("x1"), 0);
    EXPECT_EQ(Util::String::ToInt("010"), 10);
}

TEST(StringTest, ToIntSaturatesInsteadOfWrapping)
{
    EXPECT_EQ(Util::String::ToInt("4294967297"), INT_MAX);
    EXPECT_EQ(Util::String::ToInt("99999999999999999999999"), INT_MAX);
    EXPECT_EQ(Util::String::ToInt("-99999999999999999999999"), INT_MIN);
}

TEST(StringTest, TokenizeDropsEmptyPieces)
{
    EXPECT_THAT(Util::String::Tokenize(",1,,2;3,", ",;"), ElementsAre("1", "2", "3"));
    EXPECT_THAT(Util::String::Tokenize("3", ":"), ElementsAre("3"));
    EXPECT_THAT(Util::String::Tokenize("::", ":"), IsEmpty());
    EXPECT_THAT(Util::String::Tokenize("", ":"), IsEmpty());
}

TEST(PathTest, CreateFolderMakesParentsAndReportsFailure)
{
    const std::filesystem::path root = std::filesystem::path(testing::TempDir()) / "create_folder_test";
    std::filesystem::remove_all(root);
    const std::string deep = (root / "a" / "b").string();
    EXPECT_FALSE(Util::Path::Exists(deep));
    EXPECT_TRUE(Util::Path::CreateFolder(deep));
    EXPECT_TRUE(Util::Path::Exists(deep));
    EXPECT_TRUE(Util::Path::CreateFolder(deep + "/"));
    EXPECT_FALSE(Util::Path::CreateFolder("/proc/no/such"));
    EXPECT_FALSE(Util::Path::CreateFolder("/dev/null"));
    std::filesystem::remove_all(root);
}

} // namespace
