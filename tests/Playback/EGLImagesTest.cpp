#include <GLES2/gl2.h>
#include <GLES2/gl2ext.h>

#include "FakeDriver/FakeDriver.h"
#include "Interfaces/Data.h"
#include "LogCapture.h"
#include "Playback/GLResourceTable.h"

namespace Playback {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

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

TEST_F(EGLImagesTest, AnImageWithoutABufferIsReported)
{
    LogCapture log;
    table.AddEGLImageBuffer(0, 3, SmallImage); // there is no display 0
    EXPECT_EQ(table.GetEGLImageBuffer(3), nullptr);
    EXPECT_THAT(log.Take(), ElementsAre("warning: Failed to allocate EGLClientBuffer for EGLImage 3"));
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

TEST_F(EGLImagesTest, ADestroyedImageLeavesOneTextureAtMost)
{
    table.AddTextureEGLImage(GL_TEXTURE_2D, 5, 30);
    table.AddTextureEGLImage(GL_TEXTURE_2D, 6, 30);
    table.RemoveTextureEGLImage(30);
    EXPECT_THAT(*table.GetTextureEGLImageMap(GL_TEXTURE_2D), SizeIs(1));
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
