#include "Interfaces/Core.h"

#include <cstring>
#include <optional>

#include <gmock/gmock.h>

#include "FakeDriver/FakeDriver.h"
#include "support/LiveContext.h"

namespace {

using Core::FuncId;
using Core::KHRLayer;

template <class Table> std::size_t EntriesIn(const Table& table)
{
    void* entries[sizeof(Table) / sizeof(void*)];
    std::memcpy(entries, &table, sizeof table);
    std::size_t count = 0;
    for (const void* entry : entries)
        count += entry != nullptr;
    return count;
}

bool HasExtension(const char* name)
{
    const auto* extensions = reinterpret_cast<const char*>(KHRLayer::GLESProc().glGetString(GL_EXTENSIONS));
    return std::strstr(extensions, name) != nullptr;
}

bool AllTablesAreEmpty()
{
    return EntriesIn(KHRLayer::EGLProc()) + EntriesIn(KHRLayer::EGLExtProc()) + EntriesIn(KHRLayer::GLESProc()) +
               EntriesIn(KHRLayer::GLESExtProc()) + EntriesIn(KHRLayer::playbackEGLProcTable) +
               EntriesIn(KHRLayer::playbackEGLExtProcTable) + EntriesIn(KHRLayer::playbackGLESProcTable) +
               EntriesIn(KHRLayer::playbackGLESExtProcTable) ==
           0;
}

/// With the driver of this machine.
class KHRLayerTest : public testing::Test {
protected:
    ~KHRLayerTest() override { KHRLayer::SetSkipApis({}); }

    void Start()
    {
        m_context.emplace();
        ASSERT_TRUE(m_context->IsCurrent()) << KHRLayer::LoadError();
        KHRLayer::LoadGLESExt();
    }

    std::optional<LiveContext> m_context;
};

TEST_F(KHRLayerTest, StubsOfTheDispatchLibraryAreNotTakenForFunctions)
{
    Start();
    // The dispatch library answers both names, the driver has neither function.
    ASSERT_FALSE(HasExtension("GL_EXT_debug_marker"));
    EXPECT_EQ(KHRLayer::GLESExtProc().glInsertEventMarkerEXT, nullptr);
    EXPECT_EQ(KHRLayer::GLESExtProc().glBlitRotation, nullptr);
    EXPECT_EQ(KHRLayer::EGLExtProc().eglLockImageTAVO, nullptr);
    EXPECT_NE(KHRLayer::EGLExtProc().eglCreateImageKHR, nullptr);
    ASSERT_TRUE(HasExtension("GL_EXT_debug_label"));
    ASSERT_NE(KHRLayer::GLESExtProc().glLabelObjectEXT, nullptr);
    KHRLayer::GLESExtProc().glLabelObjectEXT(GL_TEXTURE, 4711, 0, "no such texture");
    EXPECT_NE(KHRLayer::GLESProc().glGetError(), GLenum{GL_NO_ERROR}) << "a stub would have reported nothing";
}

TEST_F(KHRLayerTest, SkippedFunctionsStaySkippedWhenTablesAreLoadedLater)
{
    KHRLayer::SetSkipApis({static_cast<unsigned>(FuncId::glClear), static_cast<unsigned>(FuncId::eglSwapInterval),
                           static_cast<unsigned>(FuncId::glLabelObjectEXT),
                           static_cast<unsigned>(FuncId::eglCreateImageKHR)});
    Start();
    EXPECT_EQ(KHRLayer::playbackGLESProcTable.glClear, nullptr);
    EXPECT_EQ(KHRLayer::playbackEGLProcTable.eglSwapInterval, nullptr);
    EXPECT_EQ(KHRLayer::playbackGLESExtProcTable.glLabelObjectEXT, nullptr);
    EXPECT_EQ(KHRLayer::playbackEGLExtProcTable.eglCreateImageKHR, nullptr);
    // The fixed functions of OpenGL ES 1.1 are the last ones.
    const std::size_t complete = static_cast<std::size_t>(FuncId::glAlphaFunc) - Core::FirstGLESFuncId;
    EXPECT_EQ(EntriesIn(KHRLayer::playbackGLESProcTable), complete - 1);
    EXPECT_EQ(EntriesIn(KHRLayer::GLESProc()), complete) << "the live tables are complete";
    for (int i = 0; i < 2; ++i) {
        EXPECT_TRUE(KHRLayer::IsGLESExtLoaded());
        m_context.reset();
        EXPECT_TRUE(AllTablesAreEmpty() && !KHRLayer::IsGLESExtLoaded());
        Start();
    }
}

/// With a driver whose version, extensions and functions the test chooses.
class ChosenDriverTest : public testing::Test {
protected:
    /// The last call that arrived at the driver.
    std::string LastCall() { return driver.Log().empty() ? "none" : driver.Log().back(); }

    FakeDriver driver;
};

TEST_F(ChosenDriverTest, AFormServesWithItsVersionOrExtension)
{
    driver->Set("VERSION", "OpenGL ES 2.0 fake");
    driver->Set("EXTENSIONS", "GL_EXT_map_buffer_range GL_EXT_texture_view GL_EXT_debug_label2 XGL_EXT_debug_label");
    driver.Load();
    KHRLayer::GLESProc().glFlushMappedBufferRange(GL_ARRAY_BUFFER, 0, 4);
    EXPECT_THAT(LastCall(), testing::StartsWith("glFlushMappedBufferRangeEXT("));
    KHRLayer::GLESExtProc().glTextureViewOES(1, GL_TEXTURE_2D, 2, GL_RGBA8, 0, 1, 0, 1);
    EXPECT_THAT(LastCall(), testing::StartsWith("glTextureViewEXT("));
    EXPECT_FALSE(KHRLayer::GLESProc().glBindVertexArray || KHRLayer::GLESExtProc().glBindVertexArrayOES);
    EXPECT_FALSE(KHRLayer::GLESExtProc().glLabelObjectEXT) << "names are compared whole";
    EXPECT_TRUE(KHRLayer::IsGLESExtLoaded());

    // A later context of a higher version brings its functions.
    driver->Set("VERSION", "OpenGL ES 3.0");
    driver->Set("EXTENSIONS", "GL_EXT_debug_label");
    EXPECT_FALSE(KHRLayer::IsGLESExtLoaded());
    KHRLayer::LoadGLESExt();
    EXPECT_TRUE(KHRLayer::playbackGLESProcTable.glBindSampler && KHRLayer::GLESExtProc().glLabelObjectEXT);
    EXPECT_EQ(KHRLayer::GLESProc().glDispatchCompute, nullptr);
    // The core form serves an extension that the driver lacks.
    KHRLayer::GLESExtProc().glBindVertexArrayOES(3);
    EXPECT_EQ(LastCall(), "glBindVertexArray(3)");
    driver->Set("VERSION", "OpenGL ES 2.0");
    EXPECT_TRUE(KHRLayer::IsGLESExtLoaded()) << "what a newer context has is not taken away";

    // A context of OpenGL ES 1.1 has functions of its own, and other names for some.
    EXPECT_EQ(KHRLayer::GLESProc().glMatrixMode, nullptr);
    driver->Set("VERSION", "OpenGL ES-CM 1.1 fake");
    driver->Set("EXTENSIONS", "GL_OES_framebuffer_object");
    EXPECT_FALSE(KHRLayer::IsGLESExtLoaded());
    KHRLayer::LoadGLESExt();
    EXPECT_TRUE(KHRLayer::playbackGLESProcTable.glMatrixMode && KHRLayer::playbackGLESProcTable.glClear);
    EXPECT_FALSE(KHRLayer::GLESProc().glUseProgram || KHRLayer::GLESExtProc().glLabelObjectEXT);
    KHRLayer::GLESProc().glBindFramebuffer(GL_FRAMEBUFFER, 3);
    EXPECT_THAT(LastCall(), testing::StartsWith("glBindFramebufferOES("));
    driver->Set("VERSION", "OpenGL ES 2.0");
    EXPECT_FALSE(KHRLayer::IsGLESExtLoaded());
    KHRLayer::LoadGLESExt();
    EXPECT_TRUE(KHRLayer::GLESProc().glUseProgram && !KHRLayer::GLESProc().glMatrixMode);
}

TEST_F(ChosenDriverTest, WithoutACurrentContextNothingIsConcludedFromItsVersion)
{
    driver->Set("MISSING", "eglDestroyImageKHR,eglSwapInterval");
    driver.Returns<const GLubyte*>("glGetString", nullptr);
    driver.Load();
    EXPECT_FALSE(KHRLayer::IsGLESExtLoaded());
    EXPECT_EQ(EntriesIn(KHRLayer::GLESProc()), std::size_t{Core::GLESFuncCount});
    EXPECT_EQ(EntriesIn(KHRLayer::GLESExtProc()), 0U);
    EXPECT_EQ(KHRLayer::EGLProc().eglSwapInterval, nullptr);
    KHRLayer::EGLExtProc().eglDestroyImageKHR(nullptr, nullptr);
    EXPECT_THAT(LastCall(), testing::StartsWith("eglDestroyImage(")) << "its other form";
}

} // namespace
