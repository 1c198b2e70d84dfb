#include "Host/ConfigRequests.h"

#include <gmock/gmock.h>

#include "FakeDriver/FakeDriver.h"

namespace {

using Host::AdaptConfigRequest;
using Host::SurfaceKind;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;

TEST(AdaptConfigRequestTest, WindowsAndPixmapsBecomePbuffers)
{
    const EGLint request[] = {EGL_RED_SIZE, 8, EGL_SURFACE_TYPE,
                              EGL_WINDOW_BIT | EGL_PIXMAP_BIT | EGL_SWAP_BEHAVIOR_PRESERVED_BIT, EGL_NONE};
    EXPECT_THAT(
        AdaptConfigRequest(request, SurfaceKind::Pbuffer),
        ElementsAre(EGL_RED_SIZE, 8, EGL_SURFACE_TYPE, EGL_PBUFFER_BIT | EGL_SWAP_BEHAVIOR_PRESERVED_BIT, EGL_NONE));
}

TEST(AdaptConfigRequestTest, TheDefaultIsAWindowToo)
{
    const EGLint request[] = {EGL_RED_SIZE, 8, EGL_NONE};
    EXPECT_THAT(AdaptConfigRequest(request, SurfaceKind::Pbuffer),
                ElementsAre(EGL_RED_SIZE, 8, EGL_SURFACE_TYPE, EGL_PBUFFER_BIT, EGL_NONE));
    EXPECT_THAT(AdaptConfigRequest(nullptr, SurfaceKind::Pbuffer),
                ElementsAre(EGL_SURFACE_TYPE, EGL_PBUFFER_BIT, EGL_NONE));
}

TEST(AdaptConfigRequestTest, WhatAsksForNoWindowStaysAsItIs)
{
    for (const EGLint type : {EGL_DONT_CARE, 0, EGL_PBUFFER_BIT}) {
        const EGLint request[] = {EGL_SURFACE_TYPE, type, EGL_NONE};
        EXPECT_THAT(AdaptConfigRequest(request, SurfaceKind::Pbuffer), ElementsAre(EGL_SURFACE_TYPE, type, EGL_NONE));
    }
    const EGLint window[] = {EGL_SURFACE_TYPE, EGL_WINDOW_BIT, EGL_NONE};
    EXPECT_THAT(AdaptConfigRequest(window, SurfaceKind::Window),
                ElementsAre(EGL_SURFACE_TYPE, EGL_WINDOW_BIT, EGL_NONE));
    EXPECT_THAT(AdaptConfigRequest(nullptr, SurfaceKind::Window), ElementsAre(EGL_NONE));
}

class ConfigRequestsTest : public FakeDriverTest {
protected:
    ConfigRequestsTest() { Host::AdaptConfigRequests(SurfaceKind::Pbuffer); }

    static EGLint RedSize(EGLConfig config)
    {
        EGLint value = 0;
        Core::KHRLayer::EGLProc().eglGetConfigAttrib(nullptr, config, EGL_RED_SIZE, &value);
        return value;
    }

    // The fake driver puts a config of 10 bits first, as real ones do.
    const EGLint m_request[3] = {EGL_RED_SIZE, 8, EGL_NONE};
};

TEST_F(ConfigRequestsTest, ConfigsOfExactlyTheSizesAskedForComeFirst)
{
    EGLConfig config = nullptr;
    EGLint count = 0;
    ASSERT_TRUE(Core::KHRLayer::playbackEGLProcTable.eglChooseConfig(nullptr, m_request, &config, 1, &count));
    EXPECT_EQ(count, 1);
    EXPECT_EQ(RedSize(config), 8);
    EXPECT_THAT(driver.Log(), testing::Contains(HasSubstr("EGL_SURFACE_TYPE: 1")));
}

TEST_F(ConfigRequestsTest, NoConfigIsLostAndTheCountIsTheDrivers)
{
    EGLint before = 0;
    EGLint after = 0;
    const auto choose = Core::KHRLayer::EGLProc().eglChooseConfig;
    ASSERT_TRUE(choose(nullptr, m_request, nullptr, 0, &before));
    std::vector<EGLConfig> configs(static_cast<std::size_t>(before) + 3);
    ASSERT_TRUE(choose(nullptr, m_request, configs.data(), before + 3, &after));
    EXPECT_EQ(after, before);
    configs.resize(static_cast<std::size_t>(before));
    std::sort(configs.begin(), configs.end());
    EXPECT_EQ(std::unique(configs.begin(), configs.end()), configs.end());
    EXPECT_THAT(configs, Each(testing::NotNull()));
}

} // namespace
