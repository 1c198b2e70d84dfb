#include "Interfaces/Util.h"

#include <gtest/gtest.h>

#include "Util/PixelTransfer.h"
#include "support/LiveContext.h"

namespace {

TEST(GLValuesTest, DriverTakesPixelsInTheInternalFormatThatHoldsThem)
{
    const LiveContext context;
    ASSERT_TRUE(context.IsCurrent()) << Core::KHRLayer::LoadError();
    const Core::GLESProcTable& gl = Core::KHRLayer::GLESProc();
    GLuint texture = 0;
    gl.glGenTextures(1, &texture);
    gl.glBindTexture(GL_TEXTURE_2D, texture);
    const std::uint8_t pixels[2 * 2 * 16] = {};
    int pairs = 0;
    for (const GLenum format : {GL_RED, GL_RG, GL_RGB, GL_RGBA, GL_RED_INTEGER, GL_RG_INTEGER, GL_RGB_INTEGER,
                                GL_RGBA_INTEGER, GL_DEPTH_COMPONENT, GL_DEPTH_STENCIL, GL_STENCIL_INDEX, GL_BGRA_EXT}) {
        // All types of OpenGL ES are in these two ranges.
        for (GLenum type = GL_BYTE; type < 0x8DAE; type = type == 0x140B ? 0x8033 : type + 1) {
            const GLenum internalFormat = Util::GetInternalFormat(format, type);
            if (internalFormat == 0)
                continue;
            ++pairs;
            EXPECT_GT(Util::BytesPerPixel(format, type), 0U);
            gl.glTexImage2D(GL_TEXTURE_2D, 0, static_cast<GLint>(internalFormat), 2, 2, 0, format, type, pixels);
            EXPECT_EQ(gl.glGetError(), GLenum{GL_NO_ERROR})
                << Core::LogFormat::GetGLEnumString(format) << " " << Core::LogFormat::GetGLEnumString(type);
        }
    }
    EXPECT_EQ(pairs, 58);
}

} // namespace
