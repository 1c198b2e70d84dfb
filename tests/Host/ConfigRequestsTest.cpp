#include "Replay/Driver/ConfigRequests.h"

#include <gmock/gmock.h>

#include "FakeDriver/FakeDriver.h"

namespace {

using Replay::SurfaceKind;

TEST(AdaptConfigRequestTest, WindowsAndPixmapsBecomePbuffers)
{
    using List = std::vector<EGLint>;
    const auto adapt = [](List request, SurfaceKind kind = SurfaceKind::Pbuffer) {
        request.push_back(EGL_NONE);
        List adapted = Replay::AdaptConfigRequest(request.data(), kind);
        EXPECT_EQ(adapted.back(), EGL_NONE);
        adapted.pop_back();
        return adapted;
    };
    EXPECT_EQ(
        adapt({EGL_RED_SIZE, 8, EGL_SURFACE_TYPE, EGL_WINDOW_BIT | EGL_PIXMAP_BIT | EGL_SWAP_BEHAVIOR_PRESERVED_BIT}),
        (List{EGL_RED_SIZE, 8, EGL_SURFACE_TYPE, EGL_PBUFFER_BIT | EGL_SWAP_BEHAVIOR_PRESERVED_BIT}));
    // The default is a window too.
    EXPECT_EQ(adapt({EGL_RED_SIZE, 8}), (List{EGL_RED_SIZE, 8, EGL_SURFACE_TYPE, EGL_PBUFFER_BIT}));
    EXPECT_EQ(Replay::AdaptConfigRequest(nullptr, SurfaceKind::Pbuffer),
              (List{EGL_SURFACE_TYPE, EGL_PBUFFER_BIT, EGL_NONE}));
    for (const EGLint type : {EGL_DONT_CARE, 0, EGL_PBUFFER_BIT})
        EXPECT_EQ(adapt({EGL_SURFACE_TYPE, type}), (List{EGL_SURFACE_TYPE, type}));
    EXPECT_EQ(adapt({EGL_SURFACE_TYPE, EGL_WINDOW_BIT}, SurfaceKind::Window), (List{EGL_SURFACE_TYPE, EGL_WINDOW_BIT}));
}

TEST_F(FakeDriverTest, ConfigsOfExactlyTheSizesAskedForComeFirstAndNoneIsLost)
{
    const EGLint request[] = {EGL_RED_SIZE, 8, EGL_NONE}; // the driver puts a config of 10 bits first, as real ones do
    Replay::AdaptConfigRequests(SurfaceKind::Pbuffer);
    const auto choose = Core::KHRLayer::playbackEGLProcTable.eglChooseConfig;
    EGLint count = 0;
    ASSERT_TRUE(choose(nullptr, request, nullptr, 0, &count));
    std::vector<EGLConfig> configs(static_cast<std::size_t>(count) + 3);
    EGLint found = 0;
    ASSERT_TRUE(choose(nullptr, request, configs.data(), 1, &found));
    EXPECT_EQ(found, 1);
    ASSERT_TRUE(choose(nullptr, request, configs.data(), count + 3, &found));
    EXPECT_EQ(found, count);
    EGLint red = 0;
    Core::KHRLayer::EGLProc().eglGetConfigAttrib(nullptr, configs[0], EGL_RED_SIZE, &red);
    EXPECT_EQ(red, 8);
    configs.resize(static_cast<std::size_t>(count));
    std::sort(configs.begin(), configs.end());
    EXPECT_EQ(std::unique(configs.begin(), configs.end()), configs.end());
    EXPECT_NE(configs[0], nullptr);

    // A size that there is none of becomes the largest that there is; no other one changes.
    const EGLint tooDeep[] = {EGL_RED_SIZE, 12, EGL_DEPTH_SIZE, 24, EGL_NONE};
    ASSERT_TRUE(choose(nullptr, tooDeep, configs.data(), 1, &found));
    ASSERT_EQ(found, 1);
    Core::KHRLayer::EGLProc().eglGetConfigAttrib(nullptr, configs[0], EGL_RED_SIZE, &red);
    EXPECT_EQ(red, 10);
}

} // namespace
