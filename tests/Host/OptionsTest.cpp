#include "Host/Options.h"

#include <vector>

#include <gmock/gmock.h>

#include "Playback/PlaybackSettings.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

std::variant<Host::Options, Host::Answer> Parse(std::vector<const char*> arguments)
{
    arguments.insert(arguments.begin(), "playback");
    return Host::ParseOptions(static_cast<int>(arguments.size()), arguments.data());
}

/// The text of a refusal; empty when the command line was accepted.
std::string Refusal(const std::vector<const char*>& arguments)
{
    const auto parsed = Parse(arguments);
    const auto* answer = std::get_if<Host::Answer>(&parsed);
    return answer && answer->status == Host::ExitStatus::Usage ? answer->text : "";
}

TEST(OptionsTest, HostAndEngineOptionsReachTheirPlaces)
{
    const auto parsed =
        Parse({"--headless", "-verify", "-driver", "/d", "-screenshots", "", "-skiperrorcheck", "x.glcap"});
    const auto& options = std::get<Host::Options>(parsed);
    EXPECT_EQ(options.captureFile, "x.glcap");
    EXPECT_EQ(options.driverDirectory, "/d");
    EXPECT_TRUE(options.headless);
    EXPECT_TRUE(options.verify);
    EXPECT_EQ(*options.args.FindValue("-screenshots"), "");
    EXPECT_TRUE(options.args.HasSwitch("-skiperrorcheck"));
}

TEST(OptionsTest, RefusalsNameTheOptionAndWhatItNeeds)
{
    EXPECT_THAT(Refusal({"-frobnicate", "x.glcap"}),
                AllOf(StartsWith("playback: unknown option -frobnicate\n"), HasSubstr("Usage:")));
    EXPECT_THAT(Refusal({"x.glcap", "-width"}), HasSubstr("option -width needs a value"));
    EXPECT_THAT(Refusal({"-stopframe", "ten", "x.glcap"}),
                HasSubstr("option -stopframe needs a whole number, found \"ten\""));
    EXPECT_THAT(Refusal({"-width", "0", "x.glcap"}), HasSubstr("option -width needs 1 to 32767 pixels"));
    EXPECT_THAT(Refusal({"-screenshots", "all", "x.glcap"}), HasSubstr("option -screenshots needs a frame N"));
    EXPECT_THAT(Refusal({"-stats", "-verify", "x.glcap"}), HasSubstr("-stats draws no frame that -verify could"));
    EXPECT_THAT(Refusal({}), HasSubstr("no capture file given"));
    EXPECT_THAT(Refusal({"a.glcap", "b.glcap"}), HasSubstr("found a second one: b.glcap"));
}

// The engine reads characters 1, 2, 4 and 5 of such a text without looking at its length.
TEST(OptionsTest, ShortConfigsWithoutComponentsAreRefused)
{
    EXPECT_THAT(Refusal({"-config", "", "x.glcap"}), HasSubstr("option -config needs components"));
    EXPECT_THAT(Refusal({"-config", "C32", "x.glcap"}), HasSubstr("found \"C32\""));
    EXPECT_EQ(Refusal({"-config", "R8", "x.glcap"}), "");
    EXPECT_EQ(Refusal({"-config", "C32D", "x.glcap"}), "");
}

TEST(OptionsTest, FrameSelectionsOfEveryFormAreAccepted)
{
    for (const char* selection : {"", "5", "3-9", "10*", "12:5-9", "12:"}) {
        EXPECT_EQ(Refusal({"-screenshots", selection, "x.glcap"}), "") << selection;
    }
}

TEST(OptionsTest, HelpListsEveryOptionOfTheEngine)
{
    const auto parsed = Parse({"-help"});
    const auto& answer = std::get<Host::Answer>(parsed);
    EXPECT_EQ(answer.status, Host::ExitStatus::Done);
    EXPECT_EQ(Playback::PlaybackEnvironment::Options().size(), 39U);
    for (const auto& option : Playback::PlaybackEnvironment::Options()) {
        EXPECT_THAT(answer.text, HasSubstr(std::string("\n  ") + option.name + " "));
    }
}

} // namespace
