#include "Playback/Meta/KHRMetaHandler.h"

#include <array>

#include "FakeDriver/FakeDriver.h"
#include "Playback/PlaybackSettings.h"
#include "support/LiveContext.h"
#include "support/LogCapture.h"

namespace Playback {
namespace {

using testing::ElementsAreArray;

PlaybackEnvironment& Settings()
{
    return *PlaybackEnvironment::Instance();
}

constexpr std::uint32_t Display = 1;
constexpr std::uint32_t Surface = 2;

/// What the handler asks of the driver.
class KHRMetaHandlerTest : public FakeDriverTest {
protected:
    ~KHRMetaHandlerTest() override { Settings().InitDefaultSettings(); }

    void RestoreAll()
    {
        handler.ProcessDefaultColorBuffer(Display, Surface, 2, 2, GL_RGBA, GL_UNSIGNED_BYTE, 16, pixels.data());
        handler.ProcessDefaultDepthBuffer(Display, Surface, 2, 2, GL_DEPTH_COMPONENT, GL_UNSIGNED_INT, 16,
                                          pixels.data());
        handler.ProcessDefaultStencilBuffer(Display, Surface, 2, 2, GL_DEPTH_STENCIL, GL_UNSIGNED_INT_24_8, 16,
                                            pixels.data());
    }

    std::array<std::uint8_t, 48> pixels{};
    KHRMetaHandler handler{nullptr};
};

/// What becomes of the pixels on this machine's driver.
class KHRMetaHandlerLiveTest : public testing::Test {
protected:
    static constexpr GLsizei Size = 4;
    using Pixels = std::array<std::uint8_t, Size * Size * 4>;

    KHRMetaHandlerLiveTest()
    {
        Core::KHRLayer::SetDriverDirectory("");
        m_context.emplace(LiveContext::Request{.width = Size, .height = Size});
        EXPECT_TRUE(m_context->IsCurrent()) << Core::KHRLayer::LoadError();
        Core::KHRLayer::LoadGLESExt();
    }
    ~KHRMetaHandlerLiveTest() override
    {
        EXPECT_EQ(gl.glGetError(), GLenum{GL_NO_ERROR});
        Settings().InitDefaultSettings();
    }

    static Pixels Pattern(unsigned int seed)
    {
        Pixels pixels;
        for (std::size_t i = 0; i < pixels.size(); ++i)
            pixels[i] = static_cast<std::uint8_t>(i * 37 + seed);
        return pixels;
    }
    Pixels ReadBack()
    {
        Pixels pixels{};
        gl.glReadPixels(0, 0, Size, Size, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
        return pixels;
    }
    /// The pixels of the framebuffer that is bound for reading, as they are with one sample.
    Pixels Resolve()
    {
        GLuint renderbuffer = 0;
        GLuint framebuffer = 0;
        gl.glGenRenderbuffers(1, &renderbuffer);
        gl.glBindRenderbuffer(GL_RENDERBUFFER, renderbuffer);
        gl.glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA8, Size, Size);
        gl.glGenFramebuffers(1, &framebuffer);
        gl.glBindFramebuffer(GL_DRAW_FRAMEBUFFER, framebuffer);
        gl.glFramebufferRenderbuffer(GL_DRAW_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, renderbuffer);
        gl.glBlitFramebuffer(0, 0, Size, Size, 0, 0, Size, Size, GL_COLOR_BUFFER_BIT, GL_NEAREST);
        gl.glBindFramebuffer(GL_READ_FRAMEBUFFER, framebuffer);
        return ReadBack();
    }

    std::optional<LiveContext> m_context;
    const Core::GLESProcTable& gl = Core::KHRLayer::GLESProc();
    KHRMetaHandler handler{nullptr};
};

TEST_F(KHRMetaHandlerLiveTest, TheColorBufferGetsItsPixelsBackEitherWay)
{
    for (const int samples : {1, 4}) { // by blit, by quad
        Settings().m_samples = samples;
        const Pixels pixels = Pattern(static_cast<unsigned int>(samples));
        handler.ProcessDefaultColorBuffer(Display, Surface, Size, Size, GL_RGBA, GL_UNSIGNED_BYTE, sizeof pixels,
                                          pixels.data());
        EXPECT_THAT(ReadBack(), ElementsAreArray(pixels)) << samples;
    }
}

TEST_F(KHRMetaHandlerLiveTest, MultisampleTexturesGetTheirPixelsLayerByLayer)
{
    GLuint textures[2];
    gl.glGenTextures(2, textures);
    gl.glBindTexture(GL_TEXTURE_2D_MULTISAMPLE, textures[0]);
    gl.glTexStorage2DMultisample(GL_TEXTURE_2D_MULTISAMPLE, 4, GL_RGBA8, Size, Size, GL_TRUE);
    gl.glBindTexture(GL_TEXTURE_2D_MULTISAMPLE_ARRAY, textures[1]);
    gl.glTexStorage3DMultisample(GL_TEXTURE_2D_MULTISAMPLE_ARRAY, 4, GL_RGBA8, Size, Size, 2, GL_TRUE);
    const std::array<Pixels, 2> layers = {Pattern(1), Pattern(2)};
    handler.ProcessMultiSampleTexture(GL_TEXTURE_2D_MULTISAMPLE, textures[0], Size, Size, 1, GL_RGBA8, GL_RGBA,
                                      GL_UNSIGNED_BYTE, sizeof(Pixels), sizeof(Pixels), layers[1].data());
    handler.ProcessMultiSampleTexture(GL_TEXTURE_2D_MULTISAMPLE_ARRAY, textures[1], Size, Size, 2, GL_RGBA8, GL_RGBA,
                                      GL_UNSIGNED_BYTE, sizeof(Pixels), sizeof layers, layers[0].data());

    GLuint framebuffer = 0;
    gl.glGenFramebuffers(1, &framebuffer);
    gl.glBindFramebuffer(GL_READ_FRAMEBUFFER, framebuffer);
    gl.glFramebufferTexture2D(GL_READ_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D_MULTISAMPLE, textures[0], 0);
    EXPECT_THAT(Resolve(), ElementsAreArray(layers[1]));
    for (const int layer : {0, 1}) {
        gl.glBindFramebuffer(GL_READ_FRAMEBUFFER, framebuffer);
        gl.glFramebufferTextureLayer(GL_READ_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, textures[1], 0, layer);
        EXPECT_THAT(Resolve(), ElementsAreArray(layers[static_cast<std::size_t>(layer)])) << layer;
    }
}

TEST_F(KHRMetaHandlerLiveTest, TheStencilReachesTheDefaultFramebuffer)
{
    // The stencil decides where the clear below may write.
    std::array<std::uint32_t, Size * Size> depthStencil{};
    depthStencil[5] = 3;
    handler.ProcessDefaultStencilBuffer(Display, Surface, Size, Size, GL_DEPTH_STENCIL, GL_UNSIGNED_INT_24_8,
                                        sizeof depthStencil,
                                        reinterpret_cast<const std::uint8_t*>(depthStencil.data()));
    const Pixels white = [] {
        Pixels pixels;
        pixels.fill(255);
        return pixels;
    }();
    gl.glClearColor(0, 0, 0, 0);
    gl.glClear(GL_COLOR_BUFFER_BIT);
    gl.glEnable(GL_STENCIL_TEST);
    gl.glStencilFunc(GL_EQUAL, 3, 0xFF);
    Settings().m_samples = 4; // draws, and so obeys the stencil test
    handler.ProcessDefaultColorBuffer(Display, Surface, Size, Size, GL_RGBA, GL_UNSIGNED_BYTE, sizeof white,
                                      white.data());
    Pixels expected{};
    std::fill_n(expected.begin() + 5 * 4, 4, std::uint8_t{255});
    EXPECT_THAT(ReadBack(), ElementsAreArray(expected));
}

} // namespace
} // namespace Playback
