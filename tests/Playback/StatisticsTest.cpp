// Statistics through the reader: captures are written call by call and read back with the statistics adapters.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string_view>

#include "LogCapture.h"
#include "Playback/EGLStatsAdapter.h"
#include "Playback/GLStatsAdapter.h"
#include "Playback/StatsBin.h"
#include "TestCapture.h"

namespace Playback {

namespace {

using Data::CallId;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using Bytes = std::vector<std::uint8_t>;

struct CategoryKey {
    std::string_view captureType;
    const char* category;
    const char* key;
    const char* initial;
};
constexpr CategoryKey categoryKeys[] = {
#include "Playback/StatsCategories.inc"
};
constexpr const char* handlerKeys[] = {
#include "tests/StatsKeys.inc"
};
struct ExtensionFunction {
    std::string_view key;
    const char* extension;
};
constexpr ExtensionFunction glFunctions[] = {
#include "Playback/GLStatsExtensions.inc"
};
constexpr ExtensionFunction eglFunctions[] = {
#include "Playback/EGLStatsExtensions.inc"
};

/// Keys of the reports that no handler sets.
const std::set<std::string_view> neverSet = {
    "Domain_Shader_Used",
    "Hull_Shader_Used",
    "Pixel_Shader_Used",
    "Tess_Shader_Used",
    "Timestamp_Query_Used",
    "Capability_GL_FRAMEBUFFER_SRGB_Used",
    "Capability_GL_LINE_SMOOTH_Used",
    "Capability_GL_MULTISAMPLE_Used",
    // Faces are not reported by any handler.
    "Stencil_Face_GL_FRONT_Used",
    "Stencil_Face_GL_BACK_Used",
    "Stencil_Face_GL_FRONT_AND_BACK_Used",
    "NonBlocking_glCopyTexSubImage3D_Times",
    // Their uses go to keys that are spelled differently.
    "TexType_GL_TEXTURE_TwoD_MULTISAMPLE_ARRAY_Used",
    "Stencil_Func_GL_LEQUAL_Used",
    "Stencil_Func_GL_GREATER_Used",
    "Blocking_eglClientWaitSync_Times",
    "NonBlocking_eglClientWaitSync_Times",
    "NonBlocking_glCopyTexImage2D_Times",
};

std::string Contents(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file) << path;
    return {std::istreambuf_iterator<char>(file), {}};
}

/// The call of a function by its key, whose first letter is a capital one; callCount when there is none.
std::size_t FindCall(std::string_view key)
{
    const auto found = std::find_if(Data::callTable.begin(), Data::callTable.end(), [key](const auto& call) {
        const std::string_view name = call.name;
        return name.size() == key.size() && name.substr(1) == key.substr(1);
    });
    return static_cast<std::size_t>(found - Data::callTable.begin());
}

class StatisticsTest : public Data::CaptureTest {
protected:
    void SetUp() override
    {
        CaptureTest::SetUp();
        previous = std::filesystem::current_path();
        std::filesystem::current_path(folder);
    }
    void TearDown() override
    {
        std::filesystem::current_path(previous);
        CaptureTest::TearDown();
    }

    /// Reads the capture with both adapters and answers what they recorded; the reports are written.
    StatsMap Run()
    {
        StatsBin store("report");
        GLStatsAdapter gl(&store);
        EGLStatsAdapter egl(&store);
        Replay(&gl, &egl);
        EXPECT_EQ(skippedCalls, 0u) << ::testing::PrintToString(reports);
        return *store.GetMap();
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

/// A capture with every use that a handler knows sets every key that a handler can set.
TEST_F(StatisticsTest, EveryKeyIsSetAndTheReportsAreTheReviewedOnes)
{
    UseSurfaces();
    BindTextures();
    UploadTextures();
    UseShadersAndState();
    Wait();
    writer->FrameEnd();
    const StatsMap map = Run();

    std::set<std::string> keys(std::begin(handlerKeys), std::end(handlerKeys));
    keys.insert({"number_of_draws", "anisotropic_sampling_used", "Blocking_eglClientWaitSyncKHR_Times",
                 "NonBlocking_eglClientWaitSyncKHR_Times"});
    std::map<std::string, std::string> initial;
    for (const CategoryKey& key : categoryKeys) {
        if (key.captureType == "GL") {
            initial[key.key] = key.initial ? key.initial : "";
            keys.insert(key.key);
        }
    }
    std::size_t untouched = 0;
    for (const std::string& key : keys) {
        // What the reports add by themselves, and faces, which no handler reports.
        if (key.starts_with("Total_") || key.starts_with("One_Thread_") || key == "stencil_face")
            continue;
        ASSERT_TRUE(map.contains(key)) << key;
        if (neverSet.contains(key)) {
            ++untouched;
            EXPECT_EQ(map.at(key), initial.at(key)) << key;
        } else {
            EXPECT_NE(map.at(key), initial[key]) << key;
        }
    }
    EXPECT_EQ(untouched, neverSet.size());

    EXPECT_EQ(Contents("report.xml"), Contents(STATISTICS_EXPECTED ".xml"));
    EXPECT_EQ(Contents("report_flat.xml"), Contents(STATISTICS_EXPECTED "_flat.xml"));
    EXPECT_THAT(Contents("glstats.txt"),
                AllOf(HasSubstr("'Texture' Buffer With Format 'GL_TEXTURE_TwoD'\n"), HasSubstr("'Tess' Shader Used\n"),
                      HasSubstr("Query 'Occlusion' Used\n"), HasSubstr("Draw Called\nDraw Called\nDraw Called\n"),
                      Not(HasSubstr("GL_BLEND"))));
    EXPECT_EQ(Contents("stats.txt") + Contents("eglstats.txt"), "");
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

TEST_F(StatisticsTest, EveryExtensionIsNoticedByEachOfItsFunctions)
{
    std::vector<ExtensionFunction> functions(std::begin(glFunctions), std::end(glFunctions));
    functions.insert(functions.end(), std::begin(eglFunctions), std::end(eglFunctions));
    EXPECT_EQ(functions.size(), 98u + 83u);
    std::erase_if(functions, [](const auto& function) { return FindCall(function.key) == Data::callCount; });
    for (const ExtensionFunction& function : functions) {
        const auto call = static_cast<CallId>(FindCall(function.key));
        Data::CallRecord record(call);
        record.FillPointers(128, function.key[0] == 'E' ? 0x3038 : 0);
        record.AppendTo(*writer);
        writer->FrameEnd();
    }
    const std::vector<StatsMap> frames = RunFrames();
    ASSERT_EQ(frames.size(), functions.size());
    for (std::size_t i = 0; i < frames.size(); ++i) {
        const auto found = frames[i].find("GL_Extensions");
        EXPECT_EQ(found != frames[i].end() ? found->second : "", functions[i].extension) << functions[i].key;
    }
}

/// Functions that no capture of this system has: a reader that has them calls their handlers with what it has.
TEST_F(StatisticsTest, HandlersWithoutACallTakeAnyArguments)
{
    StatsBin store("report");
    EGLStatsAdapter egl(&store);
    egl.Process_eglQueryStreamu64KHR(1, 2u, nullptr);
    egl.Process_eglCreateSharedImageMERIDANE();
    egl.Process_eglQueryImagePtrTAVO("anything");
    EXPECT_EQ((*store.GetMap())["GL_Extensions"], "GL_TAVO,EGL_MERIDANE_shared_image,EGL_KHR_stream");
    // In the table of extensions, but without a handler.
    egl.LogExtensionCall("glFenceNV");
    egl.LogExtensionCall("Process_");
    egl.LogExtensionCall("Process_eglUnheardOf");
    EXPECT_EQ((*store.GetMap())["GL_Extensions"], "GL_TAVO,EGL_MERIDANE_shared_image,EGL_KHR_stream");
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
        const std::string report = Contents("report_flat.xml");
        EXPECT_THAT(report, HasSubstr("<Total_Threads>\n\t" + std::string(each.total) + "\n</Total_Threads>\n"));
        EXPECT_THAT(report, HasSubstr("<Total_Surfaces>\n\t" + std::string(each.surfaces) + "\n</Total_Surfaces>\n"));
        EXPECT_THAT(report, HasSubstr("<One_Thread_Has_Multiple_Surfaces>\n\t" + std::string(each.multiple) + "\n"));
    }
    {
        StatsBin store("report");
        EGLStatsAdapter egl(&store);
        egl.Process_eglCreateWindowSurface(1, 1, 1, 1, nullptr);
    }
    EXPECT_THAT(Contents("report_flat.xml"),
                AllOf(HasSubstr("<Total_Threads>\n\t0\n"), HasSubstr("<Total_Surfaces>\n\t1\n")))
        << "a surface in front of all threads counts for none of them";
}

TEST_F(StatisticsTest, TheTypeOfTheCaptureChoosesTheCategories)
{
    constexpr const char* empty = "<features category=\"ESXCapture\">\n</features>\n";
    {
        StatsBin store("report");
        store.SetCaptureType("DX");
    }
    const std::string report = Contents("report.xml");
    std::vector<std::string> categories;
    for (std::size_t at = 0; (at = report.find("\n<", at)) != std::string::npos; ++at) {
        if (const std::string name = report.substr(at + 2, report.find('>', at) - at - 2); name[0] != '/')
            categories.push_back(name);
    }
    EXPECT_THAT(categories, ElementsAre("Buffer_Sizes", "Counts", "Misc", "Query_Type_Used", "Sampling",
                                        "Shader_Features", "Shader_Type_Used", "Texture_Formats"));
    EXPECT_THAT(report, HasSubstr("\t<Use_DXGI_FORMAT_D32_FLOAT>\n\t\tFalse\n\t</Use_DXGI_FORMAT_D32_FLOAT>\n"
                                  "\t<unique_texture_formats_used>\n\t\t0\n"));

    LogCapture log;
    {
        StatsBin store("report");
        store.SetCaptureType("VK");
    }
    EXPECT_THAT(log.Take(), ElementsAre(HasSubstr("Unhandled m_captureType = VK")));
    EXPECT_EQ(Contents("report.xml") + Contents("report_flat.xml"), std::string(empty) + empty);

    StatsBin store("other");
    GLStatsAdapter gl(&store);
    gl.Process_glEnable(0x0BE2);
    gl.Process_glGetFixedvAMD(0, nullptr);
    gl.Process_glEnable(0x0BE3);
    EXPECT_THAT(log.Take(), ElementsAre(HasSubstr("Unhandled capability = 3043")));
    gl.LogStencilFaceInfo(0x0408);
    store.SetCaptureType("GL");
    EXPECT_EQ((*store.GetMap())["Capability_GL_BLEND_Used"], "False") << "initial again";
    EXPECT_EQ((*store.GetMap())["Stencil_Face_GL_FRONT_AND_BACK_Used"], "False");
    EXPECT_EQ((*store.GetMap())["stencil_face"], "GL_FRONT_AND_BACK") << "of no category";
    EXPECT_EQ((*store.GetMap())["GL_Extensions"], "GL_need_a_name") << "without an initial value";

    gl.SetCaptureFileName("adapter");
    gl.LogXml();
    EXPECT_EQ(Contents("adapter_gl.xml") + Contents("adapter_flat.xml"), std::string(empty) + empty);
    GLStatsAdapter without;
    without.SetCurrentThread(1);
    without.Process_glFinish();
    without.Process_glTexBufferEXT(0, 0, 0);
}

} // namespace

} // namespace Playback
