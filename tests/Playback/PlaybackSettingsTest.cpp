#include "Playback/PlaybackSettings.h"

#include <array>
#include <map>

#include <gmock/gmock.h>

#include "Interfaces/Core.h"

namespace Playback {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class PlaybackSettingsTest : public testing::Test {
protected:
    void Load(const std::vector<std::string>& switches, const std::map<std::string, std::string>& values = {},
              const std::string& captureFile = "/captures/trace.glcap")
    {
        testing::internal::CaptureStderr();
        settings.LoadSettings({switches, values, {}}, captureFile);
        console = testing::internal::GetCapturedStderr();
    }

    PlaybackEnvironment settings;
    /// What the last Load printed.
    std::string console;
};

TEST_F(PlaybackSettingsTest, ScreenshotsSelectFramesOrDraws)
{
    struct Selection {
        int interval, startFrame, endFrame, drawFrame, firstDraw, lastDraw;
        bool operator==(const Selection&) const = default;
    };
    const std::map<std::string, Selection> expected = {
        {"", {1, 0, 0, 0, 0, 0}},      {"5", {0, 5, 5, 0, 0, 0}},    {"3-9", {0, 3, 9, 0, 0, 0}},
        {"10*", {10, 0, 0, 0, 0, 0}},  {"12:", {0, 0, 0, 12, 0, 0}}, {"12:5-9", {0, 0, 0, 12, 5, 9}},
        {"1-2:3", {0, 0, 0, 1, 3, 2}}, // a dash before the colon counts as the one after it would
    };
    for (const auto& [value, selection] : expected) {
        settings.InitDefaultSettings();
        Load({}, {{"-screenshots", value}});
        const PlaybackEnvironment& s = settings;
        EXPECT_TRUE((Selection{s.m_screenshotInterval, s.m_screenshotStartFrame, s.m_screenshotEndFrame,
                               s.m_perDrawScreenshotFrame, s.m_perDrawScreenshotFirstDraw,
                               s.m_perDrawScreenshotLastDraw} == selection))
            << '"' << value << '"';
        EXPECT_EQ(settings.m_screenshotPath, "trace.glcap_");
    }
}

TEST_F(PlaybackSettingsTest, ValuesThatAreNotUnderstoodAreReportedAndChangeNothing)
{
    Load({}, {{"-screenshotformat", "PNG"}, {"-perdrawscreenshotsfilter", "DSV"}, {"-swapfbo", "3:0:1"}});
    EXPECT_EQ(settings.m_screenshotFormat, 2);
    EXPECT_EQ(settings.m_perDrawScreenshotFilter, 2);
    EXPECT_EQ(settings.m_swapFbo, 3);
    EXPECT_EQ(settings.m_swapFboY, 1);
    EXPECT_THAT(console, IsEmpty());

    Load({}, {{"-screenshotformat", "JPG"}, {"-perdrawscreenshotsfilter", "Depth"}, {"-swapfbo", "4:5"}});
    EXPECT_EQ(settings.m_screenshotFormat, 2);
    EXPECT_EQ(settings.m_perDrawScreenshotFilter, 0);
    EXPECT_EQ(settings.m_swapFbo, 3);
    EXPECT_THAT(console, HasSubstr("Unrecognized -screenshotformat option: jpg."));
    EXPECT_THAT(console, HasSubstr("Unrecognized option: depth. Defaulting to all"));
    EXPECT_THAT(console, HasSubstr("Unrecognized -swapfbo option: 4:5."));
}

TEST_F(PlaybackSettingsTest, SkipListsHoldKnownFunctionsOfExactlyThatName)
{
    const auto [draw, swap, clear, map] = std::array{
        static_cast<unsigned>(Core::FuncId::glDrawArrays), static_cast<unsigned>(Core::FuncId::eglSwapBuffers),
        static_cast<unsigned>(Core::FuncId::glClear), static_cast<unsigned>(Core::FuncId::glMapBufferRange)};
    Load({},
         {{"-skipapi", "glDrawArrays,bogus,gldrawarrays,None,,eglSwapBuffers"}, {"-skipstateapi", "glClear, glFlush"}});
    EXPECT_THAT(settings.m_skipFrameApiIds, UnorderedElementsAre(draw, swap));
    EXPECT_THAT(settings.m_skipStateApiIds, UnorderedElementsAre(draw, swap, clear));
    Load({}, {{"-skipframeapi", "glClear,glMapBufferRangeEXT"}});
    EXPECT_THAT(settings.m_skipFrameApiIds, UnorderedElementsAre(draw, swap, clear, map)) << "an alias is its function";
}

} // namespace
} // namespace Playback
