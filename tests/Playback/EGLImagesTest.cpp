#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES2/gl2.h>
#include <GLES2/gl2ext.h>

#include "FakeDriver/FakeDriver.h"
#include "Interfaces/Data.h"
#include "LogCapture.h"
#include "Playback/GLResourceTable.h"

namespace Playback {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

constexpr Data::EGLImageData SmallImage{.width = 4, .height = 4, .format = 28, .bpp = 4, .planeCount = 0, .planes = {}};

class EGLImagesTest : public FakeDriverTest {
protected:
    EGLImagesTest() { table.AddIdEGLDisplay(1, &table); }

    GLResourceTable table;
};

TEST_F(EGLImagesTest, ABufferLivesUntilItsLastUseEnds)
{
    driver.Returns("eglCreateImageKHR", reinterpret_cast<void*>(0x77));
    table.AddEGLImageBuffer(1, 3, SmallImage);
    EXPECT_EQ(table.GetEGLImageBuffer(3), reinterpret_cast<void*>(0x77));
    table.AddEGLImageBufferRef(3);
    table.RemoveEGLImageBuffer(3);
    EXPECT_EQ(table.GetEGLImageBuffer(3), reinterpret_cast<void*>(0x77));
    table.RemoveEGLImageBuffer(3);
    EXPECT_EQ(table.GetEGLImageBuffer(3), nullptr);
    table.AddEGLImageBufferRef(3);
    table.RemoveEGLImageBuffer(3);
    table.SetEGLImageData(3, SmallImage);
}

TEST_F(EGLImagesTest, AnImageKeepsTheBufferItHas)
{
    driver.Returns("eglCreateImageKHR", reinterpret_cast<void*>(0x77));
    table.AddEGLImageBuffer(1, 3, SmallImage);
    driver.Returns("eglCreateImageKHR", reinterpret_cast<void*>(0x78));
    driver.ClearLog();
    table.AddEGLImageBuffer(1, 3, SmallImage);
    EXPECT_EQ(table.GetEGLImageBuffer(3), reinterpret_cast<void*>(0x77));
    EXPECT_THAT(driver.Log(), SizeIs(1)) << "the second image is made and stays";
}

/// A driver without the vendor's images. Texture 41 is bound, and uploads are arranged in another way. What the pixels
/// become is tested with a real driver.
class EGLTextureImagesTest : public EGLImagesTest {
protected:
    static constexpr unsigned int FormatBGRA = 87;

    EGLTextureImagesTest()
    {
        table.GetValueEGLDisplay(1);
        table.AddIdEGLContext(3, reinterpret_cast<void*>(0x50));
        driver->SetEGLExtensions("EGL_KHR_image_base EGL_KHR_gl_texture_2D_image");
        driver.Answer("eglCreateImageKHR", [](const Fake::Arguments& args) {
            return Fake::Word{args.Get<EGLenum>(2) == EGL_GL_TEXTURE_2D_KHR ? 0x77u : 0u};
        });
        driver.Answer("glGetIntegerv", [](const Fake::Arguments& args) {
            *args.Get<GLint*>(1) = args.Get<GLenum>(0) == GL_TEXTURE_BINDING_2D ? 41 : 8;
            return Fake::Word{0};
        });
    }
    Data::EGLImageData Image(unsigned int format) { return {2, 2, format, 4, 1, &plane}; }
    /// Creations of images and uploads; all with `all`.
    std::vector<std::string> Calls(bool all = false)
    {
        auto calls = driver.Log();
        driver.ClearLog();
        std::erase_if(calls, [all](const std::string& call) {
            const bool isQuery = call.starts_with("glGet") || call.starts_with("eglGet");
            return all ? isQuery : !call.starts_with("eglCreateImage") && !call.starts_with("glTexSubImage2D");
        });
        return calls;
    }

    std::uint8_t pixels[20] = {1, 2, 3, 4, 5, 6, 7, 8, 0xEE, 0xEE, 0xEE, 0xEE, 9, 10, 11, 12, 13, 14, 15, 16};
    Data::EGLImagePlane plane{12, sizeof(pixels), 0, pixels};
};

TEST_F(EGLTextureImagesTest, ATextureStandsInForTheBufferAndLeavesNoTrace)
{
    LogCapture log;
    table.AddEGLImageBuffer(1, 3, Image(FormatBGRA));
    table.AddEGLImageBuffer(1, 4, Image(FormatBGRA));
    const std::string failed = "warning: Failed to allocate EGLClientBuffer for EGLImage ";
    EXPECT_THAT(log.Take(), ElementsAre(failed + "3",
                                        "The driver cannot make native buffers: textures hold the pixels of their "
                                        "EGLImages",
                                        failed + "4"));
    EXPECT_EQ(table.GetEGLImageBuffer(3), reinterpret_cast<void*>(0x77));
    driver.ClearLog();
    table.SetEGLImageData(3, Image(FormatBGRA));
    EXPECT_THAT(Calls(true),
                ElementsAre(StartsWith("eglMakeCurrent("), "glGenTextures(1) = [903]",
                            "glBindTexture(GL_TEXTURE_2D, 903)", "glEGLImageTargetTexture2DOES(GL_TEXTURE_2D, 119)",
                            "glPixelStorei(GL_UNPACK_ALIGNMENT, 1)", "glPixelStorei(GL_UNPACK_ROW_LENGTH, 0)",
                            "glPixelStorei(GL_UNPACK_SKIP_ROWS, 0)", "glPixelStorei(GL_UNPACK_SKIP_PIXELS, 0)",
                            "glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0)",
                            "glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 2, 2, GL_RGBA, GL_UNSIGNED_BYTE, pointer)",
                            "glPixelStorei(GL_UNPACK_ALIGNMENT, 8)", "glPixelStorei(GL_UNPACK_ROW_LENGTH, 8)",
                            "glPixelStorei(GL_UNPACK_SKIP_ROWS, 8)", "glPixelStorei(GL_UNPACK_SKIP_PIXELS, 8)",
                            "glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 8)", "glBindTexture(GL_TEXTURE_2D, 41)",
                            StartsWith("glDeleteTextures(1, "), StartsWith("eglMakeCurrent(")));
    table.RemoveIdEGLImage(3);
    EXPECT_EQ(table.GetEGLImageBuffer(3), nullptr);
    table.SetEGLImageData(3, Image(FormatBGRA));
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(EGLTextureImagesTest, WhatDoesNotFitIsLeftAlone)
{
    const auto image = Image(FormatBGRA);
    table.AddEGLImageBuffer(1, 3, image);
    Calls();
    const auto refused = [&](auto change) {
        const Data::EGLImagePlane fitting = plane;
        auto changed = image;
        change(changed);
        table.SetEGLImageData(3, changed);
        plane = fitting;
        EXPECT_THAT(Calls(), IsEmpty());
    };
    refused([](auto& data) { data.width = 1; });
    refused([](auto& data) { data.height = 3; });
    refused([](auto& data) { data.format = 28; });
    refused([](auto& data) { data.planeCount = 0; });
    refused([this](auto&) { plane.stride = 7; });
    refused([this](auto&) { plane.size = 19; });
    refused([this](auto&) { plane.data = nullptr; });
    table.SetEGLImageData(3, image);
    EXPECT_THAT(Calls(), SizeIs(1));

    table.AddEGLImageBuffer(1, 5, Image(85)); // no four channels
    driver->SetEGLExtensions("EGL_KHR_image_base EGL_KHR_gl_texture_2D_image2");
    table.AddEGLImageBuffer(1, 6, image);
    EXPECT_EQ(table.GetEGLImageBuffer(5), nullptr);
    EXPECT_EQ(table.GetEGLImageBuffer(6), nullptr);
}

TEST_F(EGLImagesTest, TexturesAndRenderbuffersRememberTheirImages)
{
    table.AddTextureEGLImage(GL_TEXTURE_2D, 5, 30);
    table.AddTextureEGLImage(GL_TEXTURE_EXTERNAL_OES, 5, 31); // the same texture: its image stays
    table.SetTextureEGLImage(GL_RENDERBUFFER, 5, 32);         // has none to replace
    table.AddTextureEGLImage(GL_TEXTURE_CUBE_MAP, 5, 33);
    EXPECT_EQ(table.GetTextureEGLImage(GL_TEXTURE_EXTERNAL_OES, 5), 30u);
    EXPECT_EQ(table.GetTextureEGLImage(GL_RENDERBUFFER, 5), 0u);
    EXPECT_EQ(table.GetTextureEGLImage(GL_TEXTURE_CUBE_MAP, 5), 0u);
    table.SetTextureEGLImage(GL_TEXTURE_2D, 5, 34);
    table.AddTextureEGLImage(GL_RENDERBUFFER, 6, 34);
    EXPECT_EQ(table.GetTextureEGLImage(GL_TEXTURE_2D, 5), 34u);

    table.RemoveTextureEGLImage(34);
    EXPECT_EQ(table.GetTextureEGLImage(GL_TEXTURE_2D, 5), 0u);
    EXPECT_EQ(table.GetTextureEGLImage(GL_RENDERBUFFER, 6), 0u);
}

TEST_F(EGLImagesTest, ATextureOfAnImageIsLookedForInTheContextItself)
{
    table.SetSharedContextAssociation(2, 1);
    table.SetCurrentContext(1, 0, 0, 2);
    table.AddIdGLTexture(5, 50);
    EXPECT_EQ(table.GetEGLImageTexture(1, 5), 50u);
    EXPECT_EQ(table.GetEGLImageTexture(2, 5), 0u) << "the names are under the group's root";
    EXPECT_EQ(table.GetEGLImageTexture(1, 6), 0u);
    table.SetCurrentContext(0, 0, 0, 0);
    table.AddIdGLTexture(5, 51);
    EXPECT_EQ(table.GetEGLImageTexture(0, 5), 0u);
}

} // namespace
} // namespace Playback
