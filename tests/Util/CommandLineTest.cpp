#include "Util/CommandLine.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using Util::AfterFirstPositional;
using Util::CommandLine;

constexpr Util::Option Options[] = {
    {"-fullscreen", "", "Covers the whole screen.", "Window"},
    {"-width", "N", "Width of the window in pixels.", "Window"},
    {"--json", "", "Prints JSON.", "Pictures"},
    {"--hash", "[=draws]", "Hashes.", "Pictures"},
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

TEST_F(CommandLineTest, ValueMayBeEmptyOrBeginWithAHyphen)
{
    const std::pair<std::vector<const char*>, std::string> values[] = {
        {{"-width", "", "x"}, ""},     {{"-width="}, ""},         {{"-width", "-5"}, "-5"}, {{"--width=7"}, "7"},
        {{"-width=-width"}, "-width"}, {{"-width", "a=b"}, "a=b"}};
    for (const auto& [arguments, value] : values) {
        const auto result = Parse(arguments);
        ASSERT_NE(result.args.FindValue("-width"), nullptr) << result.error;
        EXPECT_EQ(*result.args.FindValue("-width"), value);
    }
}

TEST_F(CommandLineTest, AnOptionalValueComesAfterAnEqualsSign)
{
    for (const auto& [argument, value] : {std::pair("--hash", ""), {"--hash=draws", "draws"}}) {
        const auto result = Parse({argument, "draws"});
        EXPECT_TRUE(result.args.HasSwitch("--hash"));
        EXPECT_THAT(result.args.positional, ElementsAre("draws"));
        const std::string* const found = result.args.FindValue("--hash");
        EXPECT_EQ(found ? *found : "", value);
    }
    EXPECT_THAT(m_commandLine.Help("Usage"), testing::HasSubstr("--hash[=draws]  "));
}

TEST_F(CommandLineTest, ErrorsNameTheOption)
{
    EXPECT_EQ(Parse({"-fulscreen"}).error, "unknown option -fulscreen; did you mean -fullscreen?");
    EXPECT_EQ(Parse({"-JSON"}).error, "unknown option -JSON; did you mean --json?");
    EXPECT_EQ(Parse({"--wdith=3"}).error, "unknown option --wdith; did you mean -width?");
    EXPECT_EQ(Parse({"-full"}).error, "unknown option -full; did you mean -fullscreen?");
    EXPECT_EQ(Parse({"-unknown=3"}).error, "unknown option -unknown");
    EXPECT_EQ(Parse({"x", "--width"}).error, "option -width needs a value (N)");
    EXPECT_EQ(Parse({"-width", "-fullscreen"}).error, "option -width needs a value (N)");
    EXPECT_EQ(Parse({"-fullscreen=yes"}).error, "option -fullscreen takes no value, found \"yes\"");
}

TEST_F(CommandLineTest, OptionsOfAnotherProgramAreLeftToIt)
{
    const auto result = Parse({"--json", "glmark2", "-b", "--json"}, AfterFirstPositional::TakeAll);
    EXPECT_THAT(result.args.switches, ElementsAre("--json"));
    EXPECT_THAT(result.args.positional, ElementsAre("glmark2", "-b", "--json"));
    EXPECT_THAT(Parse({"--", "-b", "x"}, AfterFirstPositional::TakeAll).args.positional, ElementsAre("-b", "x"));
}

} // namespace
