#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "Data/Records/RecordWalk.h"
#include "Tools/Info/CaptureSummary.h"
#include "Tools/Info/Dump.h"
#include "support/TestCapture.h"

namespace Tools {

namespace {

using namespace Data;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

class CaptureSummaryTest : public CaptureTest {
protected:
    /// The lines of a listing, without their line feeds.
    std::vector<std::string> List(const DumpChoice& choice)
    {
        const auto source = OpenSource();
        Diagnostics diagnostics(path, nullptr);
        std::vector<std::string> lines;
        Dump(*source, diagnostics, choice, [&](std::string_view line) {
            lines.emplace_back(line.substr(0, line.size() - 1));
            return true;
        });
        return lines;
    }

    std::unique_ptr<CaptureSource> OpenSource()
    {
        if (writer)
            Finish();
        auto source = CaptureSource::Open(path, openError);
        EXPECT_NE(source, nullptr) << openError;
        return source;
    }
};

TEST_F(CaptureSummaryTest, SaysWhatIsInACapture)
{
    header.command = "program \"with quotes\"\n\xff";
    writer->UpdateHeader(header);
    Call(CallId::eglCreateContext, 7, 1, 1, 0, 0);
    Call(CallId::eglCreateContext, 8, 1, 1, 7, 0);
    Call(CallId::eglCreatePbufferSurface, 3, 1, 1, std::vector<std::int32_t>{0x3057, 64, 0x3056, 32, 0x3038});
    Call(CallId::eglCreateWindowSurface, 4, 1, 1, 1, 0);
    writer->WindowSize(1, 4, 400, 300);
    writer->WindowSize(1, 4, 400, 300);
    writer->WindowSize(1, 4, 800, 600);
    writer->SetThread(2);
    Call(CallId::glClear, 0x4000);
    writer->FrameHash(4, 800, 600, 1);
    writer->FrameEnd();
    Call(CallId::glClear, 0x4000);
    writer->Note("glNewThing", 5);

    Diagnostics diagnostics(path, nullptr);
    const CaptureSummary summary = Summarize(*OpenSource(), diagnostics);
    const nlohmann::json json = nlohmann::json::parse(ToJson(summary, nullptr));
    EXPECT_TRUE(json["complete"]);
    EXPECT_EQ(json["frames"], 1);
    EXPECT_EQ(json["frameHashes"], 1);
    EXPECT_EQ(json["callCount"], 6);
    EXPECT_EQ(json["calls"]["glClear"], 2);
    EXPECT_EQ(json["calls"].size(), 4u);
    EXPECT_EQ(json["threads"], nlohmann::json::parse(R"([{"thread":1,"calls":4},{"thread":2,"calls":2}])"));
    EXPECT_EQ(json["contexts"],
              nlohmann::json::parse(R"([{"context":7,"sharesWith":0},{"context":8,"sharesWith":7}])"));
    EXPECT_EQ(json["surfaces"], nlohmann::json::parse(
                                    R"([{"surface":3,"kind":"pbuffer","sizes":[{"width":64,"height":32}]},
                                        {"surface":4,"kind":"window",
                                         "sizes":[{"width":400,"height":300},{"width":800,"height":600}]}])"));
    EXPECT_EQ(json["notRecorded"]["glNewThing"], 5);
    EXPECT_EQ(json["command"], "program \"with quotes\"\n\xEF\xBF\xBD") << "what is no UTF-8 is replaced";

    const std::string text = ToText(summary);
    EXPECT_THAT(text, HasSubstr("frames       1 in "));
    EXPECT_THAT(text, HasSubstr("surface      4: window, 400x300, 800x600\n"));
    EXPECT_THAT(text, HasSubstr("context      8, shares with 7\n"));
    EXPECT_THAT(text, HasSubstr("not recorded glNewThing, 5 times\n"));
    EXPECT_THAT(text, HasSubstr("\n           2 glClear\n"));
}

TEST_F(CaptureSummaryTest, EachRecordIsALineOfText)
{
    Call(CallId::eglMakeCurrent, 1, 1, 3, 3, 7);
    Call(CallId::glBindTexture, 0x0DE1, 5);
    Call(CallId::glClearColor, 0.5, 0, 0, 1);
    Call(CallId::glGetAttribLocation, 3, 7, "pos\"ition\n");
    Call(CallId::glShaderSource, 1, 2, std::vector<std::string>{"one", std::string(100, 'x')}, 0);
    Call(CallId::glUniform4fv, 2, 3, std::vector<float>(12, 1.5F));
    Call(CallId::glTexParameterf, 0x0DE1, 0x2801, 0x2600);
    Call(CallId::glColorMask, 1, 0, 1, 1);
    Call(CallId::glBufferData, 0x8892, 4, std::vector<std::uint8_t>(4), 0x88E4);
    Call(CallId::eglCreateContext, 7, 1, 1, 0, std::vector<std::int32_t>{0x3098, 2, 0x3038});
    Call(CallId::glDrawElements, 4, 3, 0x1403, 0x40);
    Call(CallId::glClear, 0x4108);
    writer->FrameEnd();
    Call(CallId::glClear, 0);
    writer->FrameEnd();

    EXPECT_THAT(
        List({}),
        ElementsAre(
            "1:0 t0 c0 -- thread 1", "1:1 t1 c0 eglMakeCurrent(dpy=1, draw=3, read=3, ctx=7) = 1",
            "1:2 t1 c7 glBindTexture(target=GL_TEXTURE_2D, texture=5)",
            "1:3 t1 c7 glClearColor(red=0.5, green=0, blue=0, alpha=1)",
            "1:4 t1 c7 glGetAttribLocation(program=7, name=\"pos\\\"ition\\n\") = 3",
            "1:5 t1 c7 glShaderSource(shader=1, count=2, string=[\"one\", \"" + std::string(72, 'x') +
                "...\"], length=null)",
            "1:6 t1 c7 glUniform4fv(location=2, count=3, value=[1.5, 1.5, 1.5, 1.5, 1.5, 1.5, 1.5, 1.5, ... 12])",
            "1:7 t1 c7 glTexParameterf(target=GL_TEXTURE_2D, pname=GL_TEXTURE_MIN_FILTER, param=GL_NEAREST)",
            "1:8 t1 c7 glColorMask(red=GL_TRUE, green=GL_FALSE, blue=GL_TRUE, alpha=GL_TRUE)",
            "1:9 t1 c7 glBufferData(target=GL_ARRAY_BUFFER, size=4, data=<4 bytes>, usage=GL_STATIC_DRAW)",
            "1:10 t1 c7 eglCreateContext(dpy=1, config=1, share_context=0, "
            "attrib_list=[EGL_CONTEXT_CLIENT_VERSION, 2, EGL_NONE]) = 7",
            "1:11#1 t1 c7 glDrawElements(mode=GL_TRIANGLES, count=3, type=GL_UNSIGNED_SHORT, indices=0x40)",
            "1:12#1.1 t1 c7 glClear(mask=GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | 0x8)",
            ::testing::StartsWith("1:12 t1 c7 -- end of frame, "), "2:1#0.1 t1 c7 glClear(mask=0x0)",
            ::testing::StartsWith("2:1 t1 c7 -- end of frame, ")));
    EXPECT_THAT(List({.frames = {1, 1}, .calls = "glDraw*,*Clear"}), ::testing::SizeIs(2));
    EXPECT_THAT(List({.notation = Notation::Full, .calls = "glShaderSource"}),
                ElementsAre(HasSubstr("\"" + std::string(100, 'x') + "\"")));
    EXPECT_THAT(List({.frames = {.first = 2}, .calls = "glDraw*,*Clear"}),
                ElementsAre("2:1#0.1 t1 c7 glClear(mask=0x0)"));

    const std::vector<std::string> json = List({.notation = Notation::Json, .frames = {1, 1}, .calls = "gl[GSUB]*"});
    std::vector<nlohmann::json> arguments;
    for (const std::string& line : json)
        arguments.push_back(nlohmann::json::parse(line)["args"]);
    EXPECT_EQ(arguments[0], nlohmann::json::parse(R"({"target": "GL_TEXTURE_2D", "texture": 5})"));
    EXPECT_EQ(arguments[1]["name"], "pos\"ition\n");
    EXPECT_EQ(arguments[2]["string"][1], std::string(100, 'x'));
    EXPECT_EQ(arguments[3]["value"], std::vector<float>(12, 1.5F));
    EXPECT_EQ(arguments[4]["data"]["bytes"], 4);
    const nlohmann::json whole = nlohmann::json::parse(json[1]);
    EXPECT_EQ(whole, nlohmann::json::parse(R"({"frame": 1, "call": 4, "thread": 1, "context": 7, "return": 3,
        "name": "glGetAttribLocation", "args": {"program": 7, "name": "pos\"ition\n"}})"));
}

TEST_F(CaptureSummaryTest, OffsetsIntoBuffersAreNoAddresses)
{
    Call(CallId::eglCreateContext, 7, 1, 1, 0, 0);
    Call(CallId::eglMakeCurrent, 1, 1, 3, 3, 7);
    Call(CallId::glGenBuffers, 2, std::vector<std::uint32_t>{4, 5});
    Call(CallId::glBindBuffer, 0x8893, 5);
    Call(CallId::glDrawElements, 4, 3, 0x1403, 64);
    Call(CallId::glTexImage2D, 0x0DE1, 0, 0x8058, 1, 1, 0, 0x1908, 0x1401, 0);
    Call(CallId::glBindBuffer, 0x88EC, 4);
    Call(CallId::glTexImage2D, 0x0DE1, 0, 0x8058, 1, 1, 0, 0x1908, 0x1401, 0);
    writer->FrameEnd();

    EXPECT_THAT(List({.calls = "glDraw*,glTex*"}),
                ElementsAre(HasSubstr("indices=buffer 5 at 64)"), HasSubstr("internalformat=GL_RGBA8, "),
                            HasSubstr("pixels=buffer 4 at 0)")));
    EXPECT_THAT(List({.notation = Notation::Json, .calls = "glDraw*"}),
                ElementsAre(HasSubstr(R"("indices":{"buffer":5,"offset":64})")));
}

/// A listing that begins in the middle is the end of the whole one, whatever was bound in chunks that it does not read.
TEST_F(CaptureSummaryTest, FramesAreListedWithoutReadingWhatIsBefore)
{
    using Names = std::vector<std::uint32_t>;
    const std::function<void()> steps[] = {
        [&] { Call(CallId::eglCreateContext, 7, 1, 1, 0, 0), Call(CallId::eglMakeCurrent, 1, 1, 3, 3, 7); },
        [&] { Call(CallId::glBindVertexArray, 2), Call(CallId::glBindBuffer, 0x8893, 5); },
        [&] { Call(CallId::glBindBuffer, 0x8892, 4), Call(CallId::glBindVertexArray, 0); },
        [&] { writer->SetThread(2), Call(CallId::eglMakeCurrent, 1, 1, 3, 3, 8); },
        [&] { Call(CallId::glBindBuffer, 0x88EC, 6), writer->SetThread(1); },
        [&] { Call(CallId::glBindVertexArray, 2), Call(CallId::glDeleteBuffers, 1, Names{4}); },
        [&] { writer->SetThread(2), Call(CallId::eglReleaseThread, 1), writer->SetThread(1); },
        [&] { Call(CallId::glDeleteVertexArrays, 1, Names{2}), Call(CallId::glBindVertexArray, 2); },
        [&] { Call(CallId::eglCreateContext, 7, 1, 1, 0, 0); },
    };
    for (const auto& step : steps) {
        step();
        Call(CallId::glVertexAttribPointer, 0, 4, 0x1406, 0, 0, 32);
        Call(CallId::glDrawElements, 4, 3, 0x1403, 64);
        Call(CallId::glTexImage2D, 0x0DE1, 0, 0x8058, 1, 1, 0, 0x1908, 0x1401, 0);
        writer->FrameEnd();
        writer->Flush();
    }
    const std::vector<std::string> whole = List({});
    EXPECT_THAT(whole, ::testing::Contains(HasSubstr("indices=buffer 5 at 64")));
    for (std::uint32_t first = 2; first <= std::size(steps); ++first) {
        const std::vector<std::string> part = List({.frames = {.first = first}});
        ASSERT_LT(part.size(), whole.size());
        EXPECT_TRUE(std::equal(part.rbegin(), part.rend(), whole.rbegin())) << "from frame " << first;
    }
    // The chunks in front are not read.
    std::vector<std::uint8_t> bytes = FileBytes();
    bytes[RecordsOffset(bytes) + sizeof(ChunkHeader)] ^= 1;
    SetFileBytes(bytes);
    EXPECT_THAT(List({.frames = {.first = 4}, .calls = "glTex*"}), ::testing::SizeIs(std::size(steps) - 3));
    EXPECT_THAT(List({}), ::testing::IsEmpty());
    Diagnostics diagnostics(path, nullptr);
    const CaptureSummary summary = Summarize(*OpenSource(), diagnostics, Util::FrameRange{.first = 4, .last = 5});
    EXPECT_TRUE(summary.isComplete);
    EXPECT_EQ(summary.counts.calls, 2 * 3 + 2u);
    EXPECT_THAT(ToText(summary), HasSubstr(", from frame 4 of 9 on\n"));
}

} // namespace

} // namespace Tools
