#include "Interfaces/Util.h"

#include <gtest/gtest.h>

#include "Core/LiveContext.h"
#include "Util/PixelTransfer.h"

namespace {

constexpr GLenum Formats[] = {GL_RED,
                              GL_RG,
                              GL_RGB,
                              GL_RGBA,
                              GL_RED_INTEGER,
                              GL_RG_INTEGER,
                              GL_RGB_INTEGER,
                              GL_RGBA_INTEGER,
                              GL_DEPTH_COMPONENT,
                              GL_DEPTH_STENCIL,
                              GL_STENCIL_INDEX,
                              GL_BGRA_EXT};
constexpr GLenum Types[] = {GL_UNSIGNED_BYTE,
                            GL_BYTE,
                            GL_UNSIGNED_SHORT,
                            GL_SHORT,
                            GL_UNSIGNED_INT,
                            GL_INT,
                            GL_HALF_FLOAT,
                            GL_FLOAT,
                            GL_UNSIGNED_SHORT_5_6_5,
                            GL_UNSIGNED_SHORT_4_4_4_4,
                            GL_UNSIGNED_SHORT_5_5_5_1,
                            GL_UNSIGNED_INT_2_10_10_10_REV,
                            GL_UNSIGNED_INT_10F_11F_11F_REV,
                            GL_UNSIGNED_INT_5_9_9_9_REV,
                            GL_UNSIGNED_INT_24_8,
                            GL_FLOAT_32_UNSIGNED_INT_24_8_REV};

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
    for (const GLenum format : Formats) {
        for (const GLenum type : Types) {
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
    EXPECT_EQ(Util::GetInternalFormat(GL_RGBA, GL_UNSIGNED_SHORT_5_6_5), 0U);
}

TEST(GLValuesTest, BindingOfATargetTellsTheBoundBuffer)
{
    const LiveContext context;
    ASSERT_TRUE(context.IsCurrent()) << Core::KHRLayer::LoadError();
    const Core::GLESProcTable& gl = Core::KHRLayer::GLESProc();
    for (const GLenum target :
         {GL_ARRAY_BUFFER, GL_ELEMENT_ARRAY_BUFFER, GL_PIXEL_PACK_BUFFER, GL_PIXEL_UNPACK_BUFFER, GL_UNIFORM_BUFFER,
          GL_TRANSFORM_FEEDBACK_BUFFER, GL_COPY_READ_BUFFER, GL_COPY_WRITE_BUFFER, GL_DRAW_INDIRECT_BUFFER,
          GL_DISPATCH_INDIRECT_BUFFER, GL_ATOMIC_COUNTER_BUFFER, GL_SHADER_STORAGE_BUFFER, GL_TEXTURE_BUFFER}) {
        GLuint buffer = 0;
        gl.glGenBuffers(1, &buffer);
        gl.glBindBuffer(target, buffer);
        GLint bound = 0;
        gl.glGetIntegerv(Util::GetBindBuffer(target), &bound);
        EXPECT_EQ(static_cast<GLuint>(bound), buffer) << Core::LogFormat::GetGLEnumString(target);
    }
    EXPECT_EQ(Util::GetBindBuffer(GL_TEXTURE_2D), 0U);
}

} // namespace
