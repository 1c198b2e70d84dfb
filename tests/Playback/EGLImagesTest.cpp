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

using testing::Contains;
using testing::SizeIs;
using testing::StartsWith;

void* Handle(std::uintptr_t value)
{
    return reinterpret_cast<void*>(value);
}

class EGLImagesTest : public FakeDriverTest {
protected:
    EGLImagesTest() { table.AddIdEGLDisplay(1, &table); }

    GLResourceTable table;
};

TEST_F(EGLImagesTest, AnImageKeepsItsBufferUntilTheLastUseEnds)
{
    const Data::EGLImageData small{.width = 4, .height = 4, .format = 28, .bpp = 4, .planeCount = 0, .planes = {}};
    driver.Returns("eglCreateImageKHR", Handle(0x77));
    table.AddEGLImageBuffer(1, 3, small);
    driver.Returns("eglCreateImageKHR", Handle(0x78));
    driver.ClearLog();
    table.AddEGLImageBuffer(1, 3, small);
    EXPECT_THAT(driver.Log(), SizeIs(1)) << "the second image is made and stays";
    EXPECT_EQ(table.GetEGLImageBuffer(3), Handle(0x77));
    table.AddEGLImageBufferRef(3);
    table.RemoveEGLImageBuffer(3);
    EXPECT_EQ(table.GetEGLImageBuffer(3), Handle(0x77));
    table.RemoveEGLImageBuffer(3);
    EXPECT_EQ(table.GetEGLImageBuffer(3), nullptr);
    table.AddEGLImageBufferRef(3);
    table.RemoveEGLImageBuffer(3);
    table.SetEGLImageData(3, small);
}

/// A driver without the vendor's images, whose textures stand in for them. What the pixels become, and that the state
/// of the context stays, is tested with a real driver.
TEST_F(EGLImagesTest, ContentsThatDoNotFitTheStandInAreLeftAlone)
{
    table.GetValueEGLDisplay(1);
    table.AddIdEGLContext(3, Handle(0x50));
    driver->Set("EGL_EXTENSIONS", "EGL_KHR_image_base EGL_KHR_gl_texture_2D_image");
    driver.Answer("eglCreateImageKHR", [](const Fake::Arguments& args) {
        return Fake::Word{args.Get<EGLenum>(2) == EGL_GL_TEXTURE_2D_KHR ? 0x77u : 0u};
    });
    std::uint8_t pixels[20] = {};
    const Data::EGLImagePlane fitting{12, sizeof(pixels), 0, pixels};
    Data::EGLImagePlane plane = fitting;
    const Data::EGLImageData image{2, 2, 87, 4, 1, &plane};
    table.AddEGLImageBuffer(1, 3, image);
    const auto isUploaded = [&](auto change) {
        auto changed = image;
        plane = fitting;
        change(changed);
        driver.ClearLog();
        table.SetEGLImageData(3, changed);
        return testing::Value(driver.Log(), Contains(StartsWith("glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 2, 2,")));
    };
    EXPECT_TRUE(isUploaded([](auto&) {}));
    EXPECT_FALSE(isUploaded([](auto& data) { data.width = 1; }));
    EXPECT_FALSE(isUploaded([](auto& data) { data.height = 3; }));
    EXPECT_FALSE(isUploaded([](auto& data) { data.format = 28; }));
    EXPECT_FALSE(isUploaded([](auto& data) { data.planeCount = 0; }));
    EXPECT_FALSE(isUploaded([&](auto&) { plane.stride = 7; }));
    EXPECT_FALSE(isUploaded([&](auto&) { plane.size = 19; }));
    EXPECT_FALSE(isUploaded([&](auto&) { plane.data = nullptr; }));
    table.RemoveIdEGLImage(3);
    EXPECT_EQ(table.GetEGLImageBuffer(3), nullptr);

    table.AddEGLImageBuffer(1, 5, {2, 2, 85, 4, 1, &plane}); // no four channels
    driver->Set("EGL_EXTENSIONS", "EGL_KHR_image_base EGL_KHR_gl_texture_2D_image2");
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
    EXPECT_EQ(table.GetTextureEGLImage(GL_RENDERBUFFER, 5) + table.GetTextureEGLImage(GL_TEXTURE_CUBE_MAP, 5), 0u);
    table.SetTextureEGLImage(GL_TEXTURE_2D, 5, 34);
    table.AddTextureEGLImage(GL_RENDERBUFFER, 6, 34);
    EXPECT_EQ(table.GetTextureEGLImage(GL_TEXTURE_2D, 5), 34u);
    table.RemoveTextureEGLImage(34);
    EXPECT_EQ(table.GetTextureEGLImage(GL_TEXTURE_2D, 5) + table.GetTextureEGLImage(GL_RENDERBUFFER, 6), 0u);
}

TEST_F(EGLImagesTest, ATextureOfAnImageIsLookedForInTheContextItself)
{
    table.SetSharedContextAssociation(2, 1);
    table.SetCurrentContext(1, 0, 0, 2);
    table.AddIdGLTexture(5, 50);
    EXPECT_EQ(table.GetEGLImageTexture(1, 5), 50u);
    EXPECT_EQ(table.GetEGLImageTexture(2, 5), 0u) << "the names are under the group's root";
    table.SetCurrentContext(0, 0, 0, 0);
    table.AddIdGLTexture(5, 51);
    EXPECT_EQ(table.GetEGLImageTexture(0, 5), 0u);
}

} // namespace
} // namespace Playback
