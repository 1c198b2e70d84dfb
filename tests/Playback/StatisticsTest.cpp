// Statistics through the reader: captures are written call by call and read back with the statistics adapters.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

#include "Playback/Statistics/EGLStatsAdapter.h"
#include "Playback/Statistics/GLStatsAdapter.h"
#include "Playback/Statistics/StatsBin.h"
#include "support/TestCapture.h"

namespace Playback {

namespace {

using Data::CallId;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using Bytes = std::vector<std::uint8_t>;

class StatisticsTest : public Data::CaptureTest {
protected:
    StatisticsTest() : previous(std::filesystem::current_path()) { std::filesystem::current_path(folder.Path()); }
    ~StatisticsTest() override { std::filesystem::current_path(previous); }

    /// Reads the capture with both adapters, which writes the reports.
    void Run()
    {
        StatsBin store("report");
        GLStatsAdapter gl(&store);
        EGLStatsAdapter egl(&store);
        Replay(&gl, &egl);
        EXPECT_EQ(skippedCalls, 0u) << ::testing::PrintToString(reports);
    }

    /// Reads the capture frame by frame, each with adapters of its own, and answers what each recorded.
    std::vector<StatsMap> RunFrames()
    {
        std::vector<StatsMap> frames;
        const std::unique_ptr<Data::CaptureFile> capture = Open();
        for (bool isFrame = capture != nullptr; isFrame;) {
            StatsBin store("report");
            GLStatsAdapter gl(&store);
            EGLStatsAdapter egl(&store);
            capture->SetAdapter(&gl);
            capture->SetAdapter(&egl);
            isFrame = capture->GetFrameProcessor()->ProcessNextFrame();
            if (isFrame)
                frames.push_back(*store.GetMap());
        }
        EXPECT_THAT(reports, ElementsAre());
        return frames;
    }

    void BindTextures()
    {
        for (const int texture : {0x0DE1, 0x806F, 0x8C1A, 0x8513, 0x9100, 0x9102})
            Call(CallId::glBindTexture, 0x0DE1, texture);
    }
    void UploadTextures()
    {
        for (const int format : {0x1906, 0x1907, 0x1908, 0x1909, 0x190A})
            Call(CallId::glTexImage2D, 0x0DE1, 0, format, 64, 32, 0, format, 0x1401, 0);
        for (int face = 0x8515; face <= 0x851A; ++face)
            Call(CallId::glTexSubImage2D, face, 0, 0, 0, 2, 1, 0x1908, 0x1401, Bytes(8));
        for (const int target : {0x806F, 0x8C1A})
            Call(CallId::glTexImage3D, target, 0, 0x1908, 16, 128, 5, 0, 0x1908, 0x1401, 0);
        Call(CallId::glTexSubImage3D, 0x806F, 0, 0, 0, 0, 1, 2, 3, 0x1908, 0x1401, Bytes(24));
        Call(CallId::glCopyTexImage2D, 0x0DE1, 0, 0x1908, 0, 0, 4, 4, 0);
        Call(CallId::glCopyTexSubImage2D, 0x0DE1, 0, 0, 0, 0, 0, 4, 4);
    }
    void UseShadersAndState()
    {
        for (const int type : {0x91B9, 0x8B31, 0x8E88, 0x8E87, 0x8DD9})
            Call(CallId::glCreateShader, 1, type);
        Call(CallId::glCreateShaderProgramv, 2, 0x8B30, 1, std::vector<std::string>{"void main() {}"});
        for (const int cap : {0x0BE2, 0x0B44, 0x0B71, 0x0BD0, 0x0C11, 0x0B90, 0x8C89, 0x0DE1})
            Call(CallId::glEnable, cap);
        for (int function = 0x0200; function <= 0x0207; ++function)
            Call(CallId::glStencilFunc, function, 0, 255);
        for (const int target : {0x8C2F, 0x8D6A, 0x8C88})
            Call(CallId::glQueryCounterEXT, 1, target);
        Call(CallId::glSamplerParameterf, 3, 0x84FE, 16.0);
        Call(CallId::glRenderbufferStorage, 0x8D41, 0x8D62, 100, 200);
        Call(CallId::glRenderbufferStorageMultisample, 0x8D41, 4, 0x8D62, 300, 50);
    }
    void Wait()
    {
        Call(CallId::glFlush);
        Call(CallId::glFinish);
        Call(CallId::glFinish);
        Call(CallId::glReadPixels, 0, 0, 1, 1, 0x1908, 0x1401, Bytes(4));
        Call(CallId::glEndTilingTAVO, 0);
        for (const int timeout : {0, 1000}) {
            Call(CallId::glClientWaitSync, 0x911A, 1, 1, timeout);
            Call(CallId::eglClientWaitSyncKHR, 0x30F6, 1, 1, 0, timeout);
        }
    }
    void UseSurfaces()
    {
        Call(CallId::eglCreateWindowSurface, 5, 1, 2, 3, 0);
        Call(CallId::eglCreatePbufferSurface, 6, 1, 2, 0);
        writer->SetThread(7);
        Call(CallId::eglCreatePixmapSurface, 7, 1, 2, 3, 0);
        Call(CallId::eglMakeCurrent, 1, 1, 5, 5, 9);
        Call(CallId::eglCopyBuffers, 1, 1, 5, 3);
        Call(CallId::eglWaitClient, 1);
        Call(CallId::eglWaitGL, 1);
        Call(CallId::eglSwapBuffers, 1, 1, 5);
    }

    std::filesystem::path previous;
};

/// Every use that a handler knows.
TEST_F(StatisticsTest, TheReportsAreTheReviewedOnes)
{
    UseSurfaces();
    BindTextures();
    UploadTextures();
    UseShadersAndState();
    Wait();
    writer->FrameEnd();
    Run();
    EXPECT_EQ(ReadFile("report.xml"), ReadFile(STATISTICS_EXPECTED ".xml"));
    EXPECT_THAT(ReadFile("glstats.txt"),
                AllOf(HasSubstr("'Texture' Buffer With Format 'GL_TEXTURE_TwoD'\n"), HasSubstr("'Tess' Shader Used\n"),
                      HasSubstr("Query 'Occlusion' Used\n"), HasSubstr("Draw Called\nDraw Called\nDraw Called\n"),
                      Not(HasSubstr("GL_BLEND"))));
    EXPECT_EQ(ReadFile("stats.txt") + ReadFile("eglstats.txt"), "");
}

struct ValueCase {
    const char* name;
    std::vector<Data::CallRecord> calls;
    std::map<std::string, std::string> expected;
};

TEST_F(StatisticsTest, ValuesFollowTheRulesOfTheirKeys)
{
    using Record = Data::CallRecord;
    const auto upload = [](int width) {
        return Record(CallId::glTexImage2D, 0x0DE1, 0, 0x1908, width, 1, 0, 0x1908, 0x1401, 0);
    };
    const auto upload3D = [](int depth) {
        return Record(CallId::glTexImage3D, 0x806F, 0, 0x1908, 1, 1, depth, 0, 0x1908, 0x1401, 0);
    };
    const ValueCase cases[] = {
        {"the least and the largest",
         {upload(64), upload(32), upload(128)},
         {{"Min_Texture_Width", "32"}, {"Max_Texture_Width", "128"}}},
        {"a 2D upload takes the least depth back to 0", {upload3D(5), upload(1)}, {{"Min_Texture_Depth", "0"}}},
        {"and a 3D one sets it again", {upload3D(5), upload(1), upload3D(7)}, {{"Min_Texture_Depth", "7"}}},
        {"sizes are signed",
         {Record(CallId::glRenderbufferStorage, 0, 0, 8, 8), Record(CallId::glRenderbufferStorage, 0, 0, -1, 9)},
         {{"Min_Render_Buf_Width", "-1"}, {"Max_Render_Buf_Width", "8"}, {"Max_Render_Buf_Height", "9"}}},
        {"draws are calls that wait for drawing",
         {Record(CallId::glFinish), Record(CallId::glFinish), Record(CallId::glFinish)},
         {{"number_of_draws", "3"}, {"Blocking_glFinish_Times", "3"}}},
        {"items add up at the end",
         {Record(CallId::glEnable, 0x0BE2), Record(CallId::glEnable, 0x0BE2), Record(CallId::glEnable, 0x0B44)},
         {{"cap_type", "GL_BLEND,GL_BLEND,GL_CULL_FACE"}}},
        {"a depth clamp is told by another value",
         {Record(CallId::glEnable, 0x0DE1)},
         {{"Capability_GL_DEPTH_CLAMP_Used", "True"}, {"cap_type", "GL_DEPTH_CLAMP"}}},
        {"keys in capitals",
         {Record(CallId::glStencilFuncSeparate, 0x0404, 0x0203, 0, 0)},
         {{"STENCIL_FUNC_GL_LEQUAL_Used", "True"}, {"Stencil_Func_GL_LEQUAL_Used", "False"}}},
        {"copies count under a key of their own",
         {Record(CallId::glCopyTexImage2D, 0, 0, 0, 0, 0, 0, 0, 0)},
         {{"NonBlocking_glCopyTexImage2d_Times", "1"}, {"NonBlocking_glCopyTexImage2D_Times", "0"}}},
        {"the newest extension comes first, each once",
         {Record(CallId::eglDestroyImageKHR, 1, 1, 1), Record(CallId::glBeginQueryEXT, 0, 0),
          Record(CallId::glEndQueryEXT, 0), Record(CallId::glTexBufferEXT, 0, 0, 0)},
         {{"GL_Extensions", "GL_EXT_texture_buffer,GL_EXT_disjoint_timer_query,EGL_KHR_image"}}},
    };
    for (const ValueCase& each : cases) {
        for (const Data::CallRecord& call : each.calls)
            call.AppendTo(*writer);
        writer->FrameEnd();
    }
    const std::vector<StatsMap> frames = RunFrames();
    ASSERT_EQ(frames.size(), std::size(cases));
    for (std::size_t i = 0; i < frames.size(); ++i) {
        for (const auto& [key, value] : cases[i].expected) {
            const auto found = frames[i].find(key);
            EXPECT_EQ(found != frames[i].end() ? found->second : "", value) << cases[i].name << ": " << key;
        }
    }
}

TEST_F(StatisticsTest, ThreadsAndSurfacesAreCountedByThread)
{
    struct {
        std::vector<std::uint32_t> threads; ///< one surface each
        const char *total, *surfaces, *multiple;
    } const cases[] = {{{}, "0", "0", "0"}, {{7, 7}, "1", "2", "1"}, {{1, 2}, "2", "2", "0"}};
    for (const auto& each : cases) {
        {
            StatsBin store("report");
            EGLStatsAdapter egl(&store);
            for (const std::uint32_t thread : each.threads) {
                egl.SetCurrentThread(thread);
                egl.Process_eglCreateWindowSurface(1, 1, 1, 1, nullptr);
            }
        }
        const std::string report = ReadFile("report_flat.xml");
        EXPECT_THAT(report, HasSubstr("<Total_Threads>\n\t" + std::string(each.total) + "\n</Total_Threads>\n"));
        EXPECT_THAT(report, HasSubstr("<Total_Surfaces>\n\t" + std::string(each.surfaces) + "\n</Total_Surfaces>\n"));
        EXPECT_THAT(report, HasSubstr("<One_Thread_Has_Multiple_Surfaces>\n\t" + std::string(each.multiple) + "\n"));
    }
    {
        StatsBin store("report");
        EGLStatsAdapter egl(&store);
        egl.Process_eglCreateWindowSurface(1, 1, 1, 1, nullptr);
    }
    EXPECT_THAT(ReadFile("report_flat.xml"),
                AllOf(HasSubstr("<Total_Threads>\n\t0\n"), HasSubstr("<Total_Surfaces>\n\t1\n")))
        << "a surface in front of all threads counts for none of them";
}

} // namespace

} // namespace Playback
