#include "Sides/Side.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

Sides::Side Parse(char letter, const std::vector<const char*>& arguments, std::string& error)
{
    const std::vector<Util::Option> table = Sides::WithSideOptions({});
    const auto parsed = Util::CommandLine(table).Parse(arguments);
    EXPECT_EQ(parsed.error, "");
    return Sides::ParseSide(letter, parsed, error);
}

TEST(SideTest, EachSideHasItsOwnDriverVariablesAndOptions)
{
    const std::vector<const char*> arguments = {"--a-driver",
                                                "/opt/x",
                                                "--b-env",
                                                "LP_NUM_THREADS=1",
                                                "--b-env",
                                                "EMPTY=",
                                                "--b-options=-config 8 -samples 4",
                                                "--b-options",
                                                "-forceflush"};
    std::string error;
    const Sides::Side a = Parse('a', arguments, error);
    EXPECT_EQ(a.name, "A");
    EXPECT_THAT(a.PlaybackOptions(), ElementsAre("-driver", "/opt/x"));
    EXPECT_THAT(a.environment, IsEmpty());
    const Sides::Side b = Parse('b', arguments, error);
    EXPECT_THAT(b.environment, ElementsAre("LP_NUM_THREADS=1", "EMPTY="));
    EXPECT_THAT(b.PlaybackOptions(), ElementsAre("-config", "8", "-samples", "4", "-forceflush"));
    EXPECT_TRUE(Parse('a', {}, error).IsPlain());
    EXPECT_EQ(error, "");
}

TEST(SideTest, WrongValuesAreRefusedByTheirOption)
{
    const auto errorOf = [](const char* argument) {
        std::string error;
        static_cast<void>(Parse('b', {argument}, error));
        return error;
    };
    EXPECT_EQ(errorOf("--b-env=LP_NUM_THREADS"), "option --b-env needs NAME=VALUE, found \"LP_NUM_THREADS\"");
    EXPECT_EQ(errorOf("--b-env==1"), "option --b-env needs NAME=VALUE, found \"=1\"");
    EXPECT_EQ(errorOf("--b-driver="), "option --b-driver needs a folder, found \"\"");
    EXPECT_EQ(errorOf("--b-options=-skipapi 'glDraw*"),
              "option --b-options has a quote without an end: -skipapi 'glDraw*");
}

TEST(SideTest, WordsAreSplitAsAShellSplitsThem)
{
    const auto split = [](const char* text) {
        std::vector<std::string> words;
        EXPECT_TRUE(Sides::SplitWords(text, words)) << text;
        return words;
    };
    EXPECT_THAT(split("  a \t b\n"), ElementsAre("a", "b"));
    EXPECT_THAT(split(R"(-x 'a b'c "d \"e\" \f" '' g\ h)"), ElementsAre("-x", "a bc", R"(d "e" \f)", "", "g h"));
    EXPECT_THAT(split(""), IsEmpty());
}

} // namespace
