#include "Util/CommandLine.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;
using Util::AfterFirstPositional;
using Util::CommandLine;

constexpr Util::Option Options[] = {
    {"-fullscreen", "", "Covers the whole screen.", "Window"},
    {"-width", "N", "Width of the window in pixels.", "Window"},
    {"-screenshots", "FRAMES", "Frames that are saved as pictures.", "Pictures"},
    {"--json", "", "Prints JSON.", "Pictures"},
    {"-a-rather-long-option-name-for-a-table", "VALUE", "Has its help on the next line.", "Window"},
};

class CommandLineTest : public testing::Test {
protected:
    CommandLine::Result Parse(std::vector<const char*> arguments,
                              AfterFirstPositional after = AfterFirstPositional::ParseOptions)
    {
        return m_commandLine.Parse(arguments, after);
    }

    CommandLine m_commandLine{Options};
};

TEST_F(CommandLineTest, SortsSwitchesValuesAndFiles)
{
    const auto result = Parse({"-fullscreen", "-width", "640", "demo.glcap", "-json"});
    EXPECT_EQ(result.error, "");
    EXPECT_THAT(result.args.switches, ElementsAre("-fullscreen", "--json"));
    EXPECT_THAT(result.args.values, ElementsAre(Pair("-width", "640")));
    EXPECT_THAT(result.args.positional, ElementsAre("demo.glcap"));
}

TEST_F(CommandLineTest, HyphensOfTheTableNameTheOptionHoweverItWasWritten)
{
    EXPECT_TRUE(Parse({"--fullscreen"}).args.HasSwitch("-fullscreen"));
    EXPECT_TRUE(Parse({"-json"}).args.HasSwitch("--json"));
    EXPECT_EQ(*Parse({"--width", "7"}).args.FindValue("-width"), "7");
    EXPECT_EQ(*Parse({"--width=7"}).args.FindValue("-width"), "7");
    EXPECT_EQ(Parse({"---json"}).error, "unknown option ---json");
    EXPECT_EQ(Parse({"-JSON"}).error, "unknown option -JSON");
}

TEST_F(CommandLineTest, ValueMayBeEmptyOrBeginWithAHyphen)
{
    EXPECT_EQ(*Parse({"-screenshots", "", "x"}).args.FindValue("-screenshots"), "");
    EXPECT_EQ(*Parse({"-screenshots="}).args.FindValue("-screenshots"), "");
    EXPECT_EQ(*Parse({"-screenshots", "-5"}).args.FindValue("-screenshots"), "-5");
    EXPECT_EQ(*Parse({"-screenshots=-width"}).args.FindValue("-screenshots"), "-width");
    EXPECT_EQ(*Parse({"-screenshots", "a=b"}).args.FindValue("-screenshots"), "a=b");
}

TEST_F(CommandLineTest, ErrorsNameTheOption)
{
    EXPECT_EQ(Parse({"-fulscreen"}).error, "unknown option -fulscreen");
    EXPECT_EQ(Parse({"-unknown=3"}).error, "unknown option -unknown");
    EXPECT_EQ(Parse({"x", "--width"}).error, "option -width needs a value (N)");
    EXPECT_EQ(Parse({"-width", "-fullscreen"}).error, "option -width needs a value (N)");
    EXPECT_EQ(Parse({"-fullscreen=yes"}).error, "option -fullscreen takes no value, found \"yes\"");
}

TEST_F(CommandLineTest, DoubleHyphenEndsTheOptions)
{
    const auto result = Parse({"-fullscreen", "--", "-width", "--", "-"});
    EXPECT_EQ(result.error, "");
    EXPECT_THAT(result.args.positional, ElementsAre("-width", "--", "-"));
    EXPECT_THAT(Parse({"-", "-fullscreen"}).args.positional, ElementsAre("-"));
}

TEST_F(CommandLineTest, OptionsOfAnotherProgramAreLeftToIt)
{
    const auto result = Parse({"--json", "glmark2", "-b", "--json"}, AfterFirstPositional::TakeAll);
    EXPECT_EQ(result.error, "");
    EXPECT_THAT(result.args.switches, ElementsAre("--json"));
    EXPECT_THAT(result.args.positional, ElementsAre("glmark2", "-b", "--json"));
    EXPECT_THAT(Parse({"--", "-b", "x"}, AfterFirstPositional::TakeAll).args.positional, ElementsAre("-b", "x"));
}

TEST_F(CommandLineTest, HelpListsEveryOptionUnderItsGroup)
{
    EXPECT_EQ(m_commandLine.Help("Usage: program [options]"), //
              "Usage: program [options]\n"
              "\n"
              "Window:\n"
              "  -fullscreen                   Covers the whole screen.\n"
              "  -width N                      Width of the window in pixels.\n"
              "  -a-rather-long-option-name-for-a-table VALUE\n"
              "                                Has its help on the next line.\n"
              "\n"
              "Pictures:\n"
              "  -screenshots FRAMES           Frames that are saved as pictures.\n"
              "  --json                        Prints JSON.\n");
}

} // namespace
