#include "Host/Options.h"

#include <vector>

#include <gmock/gmock.h>

#include "Playback/PlaybackSettings.h"

namespace {

/// The text of a refusal; empty when the command line was accepted.
std::string Refusal(std::vector<const char*> arguments)
{
    arguments.insert(arguments.begin(), "playback");
    const auto parsed = Host::ParseOptions(static_cast<int>(arguments.size()), arguments.data());
    const auto* answer = std::get_if<Host::Answer>(&parsed);
    return answer && answer->status == Host::ExitStatus::Usage ? answer->text : "";
}

TEST(OptionsTest, RefusalsNameTheOptionAndWhatItNeeds)
{
    const std::pair<std::vector<const char*>, const char*> cases[] = {
        {{"-stopframe", "ten", "x"}, "option -stopframe needs a whole number, found \"ten\""},
        {{"-width", "0", "x"}, "option -width needs 1 to 32767 pixels"},
        {{"-screenshots", "all", "x"}, "option -screenshots needs a frame N"},
        {{"-stats", "-verify", "x"}, "-stats draws no frame that -verify could"},
        {{}, "no capture file given"},
        {{"a", "b"}, "found a second one: b"},
        // The engine reads characters 1, 2, 4 and 5 of such a text without looking at its length.
        {{"-config", "", "x"}, "option -config needs components"},
        {{"-config", "C32", "x"}, "found \"C32\""}};
    for (const auto& [arguments, text] : cases) {
        EXPECT_THAT(Refusal(arguments), testing::HasSubstr(text));
    }
    for (const char* config : {"R8", "C32D"}) {
        EXPECT_EQ(Refusal({"-config", config, "x"}), "");
    }
    for (const char* selection : {"", "5", "3-9", "10*", "12:5-9", "12:"}) {
        EXPECT_EQ(Refusal({"-screenshots", selection, "x"}), "") << selection;
    }
}

TEST(OptionsTest, HelpListsEveryOptionOfTheEngine)
{
    const char* const arguments[] = {"playback", "-help"};
    const auto answer = std::get<Host::Answer>(Host::ParseOptions(2, arguments));
    EXPECT_EQ(Playback::PlaybackEnvironment::Options().size(), 39U);
    for (const auto& option : Playback::PlaybackEnvironment::Options()) {
        EXPECT_THAT(answer.text, testing::HasSubstr(std::string("\n  ") + option.name + " "));
    }
}

} // namespace
