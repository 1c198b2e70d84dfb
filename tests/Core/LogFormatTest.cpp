#include "Interfaces/Core.h"

#include <gtest/gtest.h>

namespace {

using Core::LogFormat;

TEST(LogFormatTest, ErrorCodesHaveTheirObviousNames)
{
    EXPECT_EQ(LogFormat::GetGLEnumString(0), "GL_NO_ERROR");
    EXPECT_EQ(LogFormat::GetGLEnumString(0x0500), "GL_INVALID_ENUM");
    EXPECT_EQ(LogFormat::GetGLEnumString(0x0507), "GL_CONTEXT_LOST");
    EXPECT_EQ(LogFormat::GetEGLEnumString(0x3000), "EGL_SUCCESS");
    EXPECT_EQ(LogFormat::GetEGLEnumString(0x300E), "EGL_CONTEXT_LOST");
}

TEST(LogFormatTest, CoreNamesWinOverVendorsAndEnumsOverBits)
{
    EXPECT_EQ(LogFormat::GetGLEnumString(GL_RGBA8), "GL_RGBA8");
    EXPECT_EQ(LogFormat::GetGLEnumString(GL_TEXTURE_3D), "GL_TEXTURE_3D");
    EXPECT_EQ(LogFormat::GetGLEnumString(GL_FRAMEBUFFER_UNDEFINED), "GL_FRAMEBUFFER_UNDEFINED");
    EXPECT_EQ(LogFormat::GetGLEnumString(0x0207), "GL_ALWAYS");
    EXPECT_EQ(LogFormat::GetGLEnumString(GL_COLOR_BUFFER_BIT), "GL_COLOR_BUFFER_BIT");
    EXPECT_EQ(LogFormat::GetEGLEnumString(EGL_SYNC_FENCE_KHR), "EGL_SYNC_FENCE");
}

TEST(LogFormatTest, UnknownValueHasNoName)
{
    EXPECT_EQ(LogFormat::GetGLEnumString(0xDEADBEEF), "");
    EXPECT_EQ(LogFormat::GetEGLEnumString(0x500), "");
    EXPECT_EQ(LogFormat::NameOrHex(LogFormat::GetEGLEnumString, 0x500), "0x500");
}

} // namespace
