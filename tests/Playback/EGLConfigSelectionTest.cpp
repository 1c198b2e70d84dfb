#include <algorithm>

#include <EGL/egl.h>
#include <EGL/eglext.h>

#include "EGLReplay.h"

namespace Playback {
namespace {

using testing::Contains;
using testing::Not;
using testing::StartsWith;

/// The live driver's configs, as the tests want them: the handle is the index plus 1.
class EGLConfigSelectionTest : public EGLReplay {
protected:
    struct Config {
        int red, green, blue, alpha, depth, stencil, samples;
        int surface = EGL_WINDOW_BIT | EGL_PBUFFER_BIT;
        int sampleBuffers = samples > 0;
        int renderable = EGL_OPENGL_ES2_BIT | EGL_OPENGL_ES3_BIT;
    };

    EGLConfigSelectionTest()
    {
        driver.Answer("eglGetConfigAttrib", [this](const Fake::Arguments& args) {
            return Fake::Word{
                Attribute(configs.at(args.Get<std::uintptr_t>(1) - 1), args.Get<EGLint>(2), *args.Get<EGLint*>(3))};
        });
        // Offers every config, as a driver with lower bounds in its request may, deepest first.
        driver.Answer("eglChooseConfig", [this](const Fake::Arguments& args) {
            lastRequest.clear();
            for (const EGLint* at = args.Get<const EGLint*>(1); at && at[0] != EGL_NONE; at += 2)
                lastRequest.insert(lastRequest.end(), {at[0], at[1]});
            EGLint count = std::min<EGLint>(offered, static_cast<EGLint>(configs.size()));
            if (auto* out = args.Get<EGLConfig*>(2)) {
                count = std::min(count, args.Get<EGLint>(3));
                for (EGLint i = 0; i < count; ++i)
                    out[i] = Handle(static_cast<std::uint64_t>(i) + 1);
            }
            *args.Get<EGLint*>(4) = count;
            return Fake::Word{EGL_TRUE};
        });
        Initialize();
        log.Take();
    }

    static bool Attribute(const Config& config, EGLint attribute, EGLint& value)
    {
        static constexpr std::pair<EGLint, int Config::*> Fields[] = {
            {EGL_RED_SIZE, &Config::red},         {EGL_GREEN_SIZE, &Config::green},
            {EGL_BLUE_SIZE, &Config::blue},       {EGL_ALPHA_SIZE, &Config::alpha},
            {EGL_DEPTH_SIZE, &Config::depth},     {EGL_STENCIL_SIZE, &Config::stencil},
            {EGL_SAMPLES, &Config::samples},      {EGL_SAMPLE_BUFFERS, &Config::sampleBuffers},
            {EGL_SURFACE_TYPE, &Config::surface}, {EGL_RENDERABLE_TYPE, &Config::renderable}};
        const auto* const field =
            std::find_if(std::begin(Fields), std::end(Fields), [&](const auto& f) { return f.first == attribute; });
        if (field == std::end(Fields))
            return false;
        value = config.*field->second;
        return true;
    }

    /// The live number of captured config 5, 0 for none.
    std::uintptr_t Chosen() { return reinterpret_cast<std::uintptr_t>(adapter->GetConfig(1, 5)); }
    std::uintptr_t Override(const std::string& spec, int samples = 1)
    {
        return reinterpret_cast<std::uintptr_t>(EGLPlaybackAdapter::CreateOverrideConfig(Handle(11), spec, samples));
    }

    std::vector<Config> configs = {
        {10, 10, 10, 2, 24, 8, 0}, {8, 8, 8, 8, 24, 8, 4}, {8, 8, 8, 8, 24, 8, 0}, {5, 6, 5, 0, 16, 0, 0}};
    EGLint offered = 100;
    std::vector<int> lastRequest;
};

TEST_F(EGLConfigSelectionTest, RecordedAttributesAreMatchedExactlyAndElseTheFirstServes)
{
    const int captured[] = {EGL_RED_SIZE,   8,  EGL_GREEN_SIZE,   8, EGL_BLUE_SIZE, 8, EGL_ALPHA_SIZE,   8,
                            EGL_DEPTH_SIZE, 24, EGL_STENCIL_SIZE, 8, EGL_SAMPLES,   0, EGL_SURFACE_TYPE, EGL_WINDOW_BIT,
                            EGL_NONE};
    table.AddEGLConfigAttribs(5, captured);
    EXPECT_EQ(Chosen(), 3u) << "more bits or samples are no match";
    EXPECT_THAT(lastRequest, Not(Contains(EGL_SURFACE_TYPE)));

    // What a config is for counts only for one that was recorded.
    configs.push_back({8, 8, 8, 8, 24, 8, 0, EGL_WINDOW_BIT});
    HaveConfig(5, 3);
    EXPECT_EQ(Chosen(), 5u);
    EXPECT_THAT(lastRequest, Contains(EGL_SURFACE_TYPE));
    configs[2].surface = EGL_WINDOW_BIT;
    Forget();
    EXPECT_EQ(Chosen(), 3u);
    EXPECT_THAT(Calls(), Not(Contains(StartsWith("eglChooseConfig")))) << "the recorded one stays";
    configs[2].red = configs[4].red = 7;
    EXPECT_EQ(Chosen(), 1u);

    adapter.reset();
    driver.Load();
    adapter.emplace(nullptr, nullptr, nullptr);
    EXPECT_EQ(adapter->GetConfig(1, 5), nullptr) << "without a table there is nothing to go by";
}

TEST_F(EGLConfigSelectionTest, OverridesByComponentsOrDepths)
{
    const struct {
        const char* spec;
        int samples;
        std::uintptr_t chosen;
        std::string said;
    } cases[] = {
        // The first that matches: one sample does not ask for single sampling.
        {"R8G8B8A8D24S8", 1, 2,
         "Overriding EGLConfig with 8-bit R color, 8-bit G color, 8-bit B color, 8-bit alpha, 24-bit depth, 8-bit "
         "stencil, fixed-point, 1 multi-sample"},
        {"c32d24", 1, 2, "Overriding EGLConfig with 32-bit color, 24-bit depth, 8-bit stencil and 1 multi-sample."},
        {"c16d16", 1, 4, "Overriding EGLConfig with 16-bit color, 16-bit depth, 0-bit stencil and 1 multi-sample."},
        // Invalid ones leave the common request.
        {"c24d20", 1, 1, "Invalid EGLConfig override c24d20.  Valid color/depth values are 32, 24, and 16."},
        {"c32d24", 0, 1, "Invalid EGLConfig override c32d24.  Valid color/depth values are 32, 24, and 16."},
        {"R16G16B16F", 4, 1,
         "Overriding EGLConfig with 16-bit R color, 16-bit G color, 16-bit B color, 0-bit alpha, 0-bit depth, 0-bit "
         "stencil, floating-point, 4 multi-sample"},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(Override(each.spec, each.samples), each.chosen) << each.spec;
        EXPECT_THAT(log.Take(), Contains(each.said));
    }
    const std::vector<int> last = {EGL_RED_SIZE, 16, EGL_GREEN_SIZE,     16, EGL_BLUE_SIZE,       16,  0x3339, 0x333B,
                                   EGL_SAMPLES,  4,  EGL_SAMPLE_BUFFERS, 1,  EGL_RENDERABLE_TYPE, 0x44};
    EXPECT_EQ(lastRequest, last) << "floating-point";
    EXPECT_THROW(Override("c32"), std::out_of_range);
}

TEST_F(EGLConfigSelectionTest, OverrideServesEveryConfigUntilTheDisplayGoes)
{
    settings.m_config = "c16d16";
    EXPECT_EQ(Chosen(), 4u);
    configs.insert(configs.begin(), configs.back());
    EXPECT_EQ(Chosen(), 4u);
    adapter->Process_eglTerminate(1, 1);
    EXPECT_EQ(Chosen(), 1u);
    adapter->Process_eglTerminate(1, 1);
    offered = 0;
    EXPECT_EQ(Chosen(), 0u);
    EXPECT_THAT(log.Take(), Contains("EGLConfig override failed.  No match for specified config settings."));
}

using EGLConfigListTest = EGLReplay;

TEST_F(EGLConfigListTest, PairsCapturedConfigsWithLiveOnesInTheRoomOfTheApplication)
{
    Initialize();
    driver.Answer("eglChooseConfig", [](const Fake::Arguments& args) {
        auto* out = args.Get<EGLConfig*>(2);
        const auto room = args.Get<EGLint>(3);
        for (EGLint i = 0; out && i < room; ++i)
            out[i] = Handle(0x200 + static_cast<unsigned>(i));
        *args.Get<EGLint*>(4) = room;
        return Fake::Word{EGL_TRUE};
    });
    // Two were recorded, although the application had room for 64, all of which the live driver fills; then more room
    // than any argument gets, a count query, and a call that failed when it was recorded.
    adapter->Process_eglChooseConfig(1, 1, Null(), In64({100, 101}), 64, Out(1, 4));
    adapter->Process_eglChooseConfig(1, 1, Null(), In64({102}), 0x7FFFFFFF, Out(1, 4));
    adapter->Process_eglChooseConfig(1, 1, Null(), Null(), 0, Out(1, 4));
    adapter->Process_eglChooseConfig(0, 1, Null(), Out(4, 8), 4, Out(1, 4));
    EXPECT_EQ(table.GetValueEGLConfig(100), Handle(0x200));
    EXPECT_EQ(table.GetValueEGLConfig(101), Handle(0x201));
    EXPECT_EQ(table.GetValueEGLConfig(102), Handle(0x200));
    EXPECT_EQ(table.GetDisplayResource(1)->configs.size(), 3u);
    adapter->Process_eglGetConfigs(1, 1, In64({103}), 1, Out(1, 4));
    EXPECT_EQ(table.GetValueEGLConfig(103), Handle(21));
}

} // namespace
} // namespace Playback
