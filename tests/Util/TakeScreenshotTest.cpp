#include "Interfaces/Util.h"

#include <cstdlib>
#include <optional>

#include <gmock/gmock.h>

#include "FakeDriver/FakeDriver.h"
#include "support/LiveContext.h"
#include "support/PictureFile.h"
#include "support/TestFiles.h"

namespace {

using testing::HasSubstr;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;
using Util::GLScreenshotHandler;
using Util::ImageFormat;

constexpr unsigned AllBuffers = GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT;

/// Screenshots of what the machine's driver has drawn.
class TakeScreenshotTest : public testing::Test {
protected:
    void Start(const LiveContext::Request& request = {})
    {
        m_context.emplace(request);
        ASSERT_TRUE(m_context->IsCurrent()) << Core::KHRLayer::LoadError();
        Core::KHRLayer::LoadGLESExt();
    }

    /// Takes the picture; the log must stay silent, and GL must have no error to report.
    void Take(unsigned mask = GL_COLOR_BUFFER_BIT)
    {
        CaptureStderr();
        GLScreenshotHandler(ImageFormat::Png, false).TakeScreenshot(m_folder.File("x"), mask);
        EXPECT_EQ(GetCapturedStderr(), "");
        EXPECT_EQ(gl.glGetError(), GLenum{GL_NO_ERROR});
    }
    Picture TakeColor()
    {
        Take();
        return ReadPng(m_folder.File("x.png"));
    }

    void Fill(float red, float green, float blue, float alpha)
    {
        gl.glClearColor(red, green, blue, alpha);
        gl.glClear(GL_COLOR_BUFFER_BIT);
    }

    GLint Get(GLenum name)
    {
        GLint value = -1;
        gl.glGetIntegerv(name, &value);
        return value;
    }

    GLuint BindNewFramebuffer()
    {
        GLuint name = 0;
        gl.glGenFramebuffers(1, &name);
        gl.glBindFramebuffer(GL_FRAMEBUFFER, name);
        return name;
    }
    GLuint AttachRenderbuffer(GLenum attachment, GLenum internalFormat, GLsizei width, GLsizei height, int samples = 0)
    {
        GLuint name = 0;
        gl.glGenRenderbuffers(1, &name);
        gl.glBindRenderbuffer(GL_RENDERBUFFER, name);
        gl.glRenderbufferStorageMultisample(GL_RENDERBUFFER, samples, internalFormat, width, height);
        gl.glFramebufferRenderbuffer(GL_FRAMEBUFFER, attachment, GL_RENDERBUFFER, name);
        gl.glBindRenderbuffer(GL_RENDERBUFFER, 0);
        EXPECT_EQ(gl.glCheckFramebufferStatus(GL_FRAMEBUFFER), GLenum{GL_FRAMEBUFFER_COMPLETE});
        return name;
    }

    const Core::GLESProcTable& gl = Core::KHRLayer::GLESProc();
    TestFolder m_folder;
    std::optional<LiveContext> m_context;
};

TEST_F(TakeScreenshotTest, DefaultFramebufferStandsUprightAtItsFullSize)
{
    Start({.width = 30, .height = 7});
    gl.glClearDepthf(0.2f);
    gl.glClearStencil(7);
    gl.glClear(AllBuffers);
    Fill(1, 0, 0, 0.2f);
    gl.glEnable(GL_SCISSOR_TEST);
    gl.glScissor(0, 6, 1, 1);
    Fill(0, 1, 0, 1);
    Take(AllBuffers);
    const Picture picture = ReadPng(m_folder.File("x.png"));
    ASSERT_EQ(std::pair(picture.width, picture.height), std::pair(30U, 7U));
    EXPECT_EQ(picture.At(0, 0), 0x00FF00FFU) << "the top left corner";
    EXPECT_EQ(picture.At(1, 0), 0xFF000033U);
    EXPECT_EQ(picture.At(29, 6), 0xFF000033U);
    EXPECT_EQ(ReadPng(m_folder.File("x_depth.png")).At(3, 3), 0x333333FFU);
    EXPECT_EQ(ReadPng(m_folder.File("x_stencil.png")).At(3, 3), 0x070707FFU);
}

TEST_F(TakeScreenshotTest, AllStateIsPutBackAndNoneDisturbsThePicture)
{
    Start();
    Fill(0, 0, 1, 1);
    gl.glReadBuffer(GL_NONE);
    GLuint buffer = 0;
    gl.glGenBuffers(1, &buffer);
    gl.glBindBuffer(GL_PIXEL_PACK_BUFFER, buffer);
    gl.glBufferData(GL_PIXEL_PACK_BUFFER, 4, nullptr, GL_STREAM_READ);
    const GLuint other = BindNewFramebuffer();
    const GLuint renderbuffer = AttachRenderbuffer(GL_COLOR_ATTACHMENT0, GL_RGBA8, 3, 3);
    gl.glReadBuffer(GL_NONE);
    gl.glBindFramebuffer(GL_DRAW_FRAMEBUFFER, 0);
    gl.glBindRenderbuffer(GL_RENDERBUFFER, renderbuffer);
    for (const auto& [name, value] :
         {std::pair{GL_PACK_ALIGNMENT, 8}, {GL_PACK_ROW_LENGTH, 100}, {GL_PACK_SKIP_PIXELS, 3}, {GL_PACK_SKIP_ROWS, 2}})
        gl.glPixelStorei(static_cast<GLenum>(name), value);
    gl.glEnable(0xFFFF); // leaves an error pending that the screenshot must not take for its own

    const auto state = [&] {
        std::vector<GLint> values;
        for (const GLenum name : {GL_PACK_ALIGNMENT, GL_PACK_ROW_LENGTH, GL_PACK_SKIP_PIXELS, GL_PACK_SKIP_ROWS,
                                  GL_PIXEL_PACK_BUFFER_BINDING, GL_READ_FRAMEBUFFER_BINDING,
                                  GL_DRAW_FRAMEBUFFER_BINDING, GL_RENDERBUFFER_BINDING, GL_READ_BUFFER})
            values.push_back(Get(name));
        gl.glBindFramebuffer(GL_READ_FRAMEBUFFER, 0);
        values.push_back(Get(GL_READ_BUFFER));
        gl.glBindFramebuffer(GL_READ_FRAMEBUFFER, other);
        return values;
    };
    const auto before = state();
    EXPECT_EQ(TakeColor().At(7, 7), 0x0000FFFFU);
    EXPECT_EQ(state(), before);
    EXPECT_EQ(before.back(), GL_NONE);
}

TEST_F(TakeScreenshotTest, TextureAttachmentsOfAnyTargetHaveTheirSizeAndLevel)
{
    Start();
    // A face or a layer of each.
    const struct {
        GLenum target, binding, face;
        GLsizei depth;
    } cases[] = {{GL_TEXTURE_2D, GL_TEXTURE_BINDING_2D, GL_TEXTURE_2D, 0},
                 {GL_TEXTURE_CUBE_MAP, GL_TEXTURE_BINDING_CUBE_MAP, GL_TEXTURE_CUBE_MAP_NEGATIVE_Z, 0},
                 {GL_TEXTURE_2D_ARRAY, GL_TEXTURE_BINDING_2D_ARRAY, 0, 3},
                 {GL_TEXTURE_3D, GL_TEXTURE_BINDING_3D, 0, 4}};
    for (const auto& c : cases) {
        SCOPED_TRACE(Core::LogFormat::GetGLEnumString(c.target));
        BindNewFramebuffer();
        GLuint names[2] = {};
        gl.glGenTextures(2, names);
        gl.glBindTexture(c.target, names[0]);
        if (c.depth == 0) {
            gl.glTexStorage2D(c.target, 2, GL_RGBA8, 12, 12);
            gl.glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, c.face, names[0], 1);
        } else {
            gl.glTexStorage3D(c.target, 2, GL_RGBA8, 12, 12, c.depth);
            gl.glFramebufferTextureLayer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, names[0], 1, 1);
        }
        gl.glBindTexture(c.target, names[1]);
        ASSERT_EQ(gl.glCheckFramebufferStatus(GL_FRAMEBUFFER), GLenum{GL_FRAMEBUFFER_COMPLETE});
        Fill(1, 0, 1, 1);
        const Picture picture = TakeColor();
        EXPECT_EQ(std::pair(picture.width, picture.height), std::pair(6U, 6U));
        EXPECT_EQ(picture.At(5, 5), 0xFF00FFFFU);
        EXPECT_EQ(static_cast<GLuint>(Get(c.binding)), names[1]);
    }
}

TEST_F(TakeScreenshotTest, FloatAndIntegerBuffersAreRead)
{
    Start();
    BindNewFramebuffer();
    AttachRenderbuffer(GL_COLOR_ATTACHMENT0, GL_RGBA16F, 2, 2);
    Fill(0.2f, 7, -1, 1);
    EXPECT_EQ(TakeColor().At(1, 1), 0x33FF00FFU);

    BindNewFramebuffer();
    AttachRenderbuffer(GL_COLOR_ATTACHMENT0, GL_RGBA16UI, 2, 2);
    const GLuint values[] = {1, 2, 300, 4};
    gl.glClearBufferuiv(GL_COLOR, 0, values);
    EXPECT_EQ(TakeColor().At(1, 1), 0x0102FF04U);

    BindNewFramebuffer();
    AttachRenderbuffer(GL_COLOR_ATTACHMENT0, GL_RG8I, 2, 2);
    const GLint signedValues[] = {-1, 100, 0, 0};
    gl.glClearBufferiv(GL_COLOR, 0, signedValues);
    EXPECT_EQ(TakeColor().At(1, 1) >> 8, 0x006400U);
}

TEST_F(TakeScreenshotTest, MultisampledFramebufferObjectIsResolvedWithoutATrace)
{
    Start();
    const GLuint framebuffer = BindNewFramebuffer();
    const GLuint renderbuffer = AttachRenderbuffer(GL_COLOR_ATTACHMENT0, GL_RGBA8, 6, 6, 4);
    Fill(1, 1, 0, 1);
    gl.glEnable(GL_SCISSOR_TEST);
    gl.glScissor(0, 0, 1, 1);
    gl.glBindRenderbuffer(GL_RENDERBUFFER, renderbuffer);
    const Picture picture = TakeColor();
    EXPECT_EQ(picture.At(0, 5), 0xFFFF00FFU);
    EXPECT_EQ(picture.At(5, 0), 0xFFFF00FFU) << "outside of the scissor";
    EXPECT_TRUE(gl.glIsEnabled(GL_SCISSOR_TEST));
    EXPECT_EQ(static_cast<GLuint>(Get(GL_DRAW_FRAMEBUFFER_BINDING)), framebuffer);
    EXPECT_EQ(static_cast<GLuint>(Get(GL_READ_FRAMEBUFFER_BINDING)), framebuffer);
    EXPECT_EQ(static_cast<GLuint>(Get(GL_RENDERBUFFER_BINDING)), renderbuffer);
}

TEST_F(TakeScreenshotTest, FirstBufferThatIsDrawnToIsTheOneRead)
{
    Start();
    const GLuint framebuffer = BindNewFramebuffer();
    AttachRenderbuffer(GL_COLOR_ATTACHMENT0, GL_RGBA8, 5, 3);
    AttachRenderbuffer(GL_COLOR_ATTACHMENT1, GL_RGBA8, 5, 3);
    Fill(1, 0, 0, 1);
    const GLenum second[] = {GL_NONE, GL_COLOR_ATTACHMENT1};
    gl.glDrawBuffers(2, second);
    Fill(0, 1, 0, 1);
    gl.glBindFramebuffer(GL_READ_FRAMEBUFFER, 0); // whatever is bound for reading
    const Picture picture = TakeColor();
    EXPECT_EQ(std::pair(picture.width, picture.height), std::pair(5U, 3U));
    EXPECT_EQ(picture.At(4, 2), 0x00FF00FFU);
    gl.glBindFramebuffer(GL_READ_FRAMEBUFFER, framebuffer);
    EXPECT_EQ(Get(GL_READ_BUFFER), GL_COLOR_ATTACHMENT0);
}

TEST_F(TakeScreenshotTest, BuffersThatAreNotThereGiveNoPicture)
{
    Start();
    BindNewFramebuffer();
    AttachRenderbuffer(GL_DEPTH_ATTACHMENT, GL_DEPTH_COMPONENT16, 4, 2);
    gl.glClearDepthf(1);
    gl.glClear(GL_DEPTH_BUFFER_BIT);
    Take(AllBuffers);
    EXPECT_EQ(ReadPng(m_folder.File("x_depth.png")).At(3, 0), 0xFFFFFFFFU);
    EXPECT_EQ(m_folder.Count(), 1U);

    GLScreenshotHandler handler(ImageFormat::Bmp, false);
    CaptureStderr();
    BindNewFramebuffer();
    handler.TakeScreenshot(m_folder.File("y"), GL_COLOR_BUFFER_BIT);
    m_context.reset();
    handler.TakeScreenshot(m_folder.File("z"), GL_COLOR_BUFFER_BIT);
    EXPECT_THAT(GetCapturedStderr(), testing::AllOf(HasSubstr("y.bmp was not written: the framebuffer is not complete ("
                                                              "GL_FRAMEBUFFER_INCOMPLETE_MISSING_ATTACHMENT)"),
                                                    HasSubstr("z.bmp was not written: no context is current")));
    EXPECT_EQ(m_folder.Count(), 1U);
}

TEST_F(TakeScreenshotTest, ContextsOfVersion2AreReadWithWhatTheyHave)
{
    setenv("MESA_GLES_VERSION_OVERRIDE", "2.0", 1);
    Start({.clientVersion = 2});
    unsetenv("MESA_GLES_VERSION_OVERRIDE");
    ASSERT_THAT(reinterpret_cast<const char*>(gl.glGetString(GL_VERSION)), HasSubstr("OpenGL ES 2.0"));
    gl.glPixelStorei(GL_PACK_ALIGNMENT, 8);
    Fill(1, 0, 0, 1);
    EXPECT_EQ(TakeColor().At(15, 15), 0xFF0000FFU);
    EXPECT_EQ(Get(GL_PACK_ALIGNMENT), 8);

    BindNewFramebuffer();
    GLuint texture = 0;
    gl.glGenTextures(1, &texture);
    gl.glBindTexture(GL_TEXTURE_2D, texture);
    gl.glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB, 5, 4, 0, GL_RGB, GL_UNSIGNED_BYTE, nullptr);
    gl.glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture, 0);
    gl.glViewport(0, 0, 5, 4);
    Fill(0, 1, 0, 1);
    const Picture picture = TakeColor();
    EXPECT_EQ(picture.width, 5U) << "as wide as the viewport";
    EXPECT_EQ(picture.At(4, 3), 0x00FF00FFU);
}

/// A driver that cannot read depth and stencil buffers, although it has them.
TEST(TakeScreenshotWithFakeDriverTest, UnreadableBuffersAreReportedOnce)
{
    FakeDriver driver;
    driver->Set("EXTENSIONS", "");
    driver.Returns("glCheckFramebufferStatus", GLenum{GL_FRAMEBUFFER_COMPLETE});
    driver.Answer("glGetIntegerv", [](const Fake::Arguments& arguments) {
        const auto name = arguments.Get<GLenum>(0);
        *arguments.Get<GLint*>(1) = name == GL_DEPTH_BITS ? 24 : name == GL_STENCIL_BITS ? 8 : 0;
        return 0;
    });
    driver.Answer("eglQuerySurface", [](const Fake::Arguments& arguments) {
        *arguments.Get<EGLint*>(3) = 4;
        return Fake::ToWord(EGL_TRUE);
    });
    driver.Returns("eglGetCurrentDisplay", 1);
    driver.Returns("eglGetCurrentSurface", 1);
    driver.Load();

    TestFolder folder;
    GLScreenshotHandler handler(ImageFormat::Png, false);
    CaptureStderr();
    for (int i = 0; i < 3; ++i)
        handler.TakeScreenshot(folder.File("x"), GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
    EXPECT_EQ(GetCapturedStderr(),
              "Screenshots of the depth buffer are not available: the driver lacks GL_NV_read_depth\n"
              "Screenshots of the stencil buffer are not available: the driver lacks GL_NV_read_stencil\n");
    EXPECT_EQ(folder.Count(), 0U);
}

} // namespace
