#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "TouchingAdapters.h"
#include "support/TestCapture.h"

namespace Data {

namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr std::uint32_t Texture2D = 0x0DE1;
constexpr std::uint32_t Triangles = 4;

class CallDecoderTest : public CaptureTest {
protected:
    void SetUp() override
    {
        CaptureTest::SetUp();
        Call(CallId::glGenBuffers, 2, std::vector<std::uint32_t>{1, 2});
    }
    /// Replays; the reports say which calls were skipped and why.
    void Play()
    {
        const std::unique_ptr<CaptureFile> capture = Open();
        ASSERT_NE(capture, nullptr) << openError;
        PlayTouching(*capture);
    }
    static std::vector<std::uint8_t> Bytes(std::size_t count) { return std::vector<std::uint8_t>(count, 1); }
    void Deliver(std::uint32_t index, std::uint32_t first, std::uint32_t count, std::uint32_t bytes)
    {
        VertexAttribDataRecord fields{};
        fields.index = index;
        fields.size = 2;
        fields.type = Enum::Float;
        fields.stride = 8;
        fields.first = first;
        fields.count = count;
        std::uint8_t* const data = writer->BeginVertexAttribData(fields, bytes);
        ASSERT_NE(data, nullptr);
        std::memset(data, 1, bytes);
        writer->End();
    }
    void ClientAttrib(std::uint32_t index)
    {
        Call(CallId::glBindBuffer, Enum::ArrayBuffer, 0);
        Call(CallId::glVertexAttribPointer, index, 2, Enum::Float, 0, 0, 0x1000);
        Call(CallId::glEnableVertexAttribArray, index);
    }
};

/// One capture, one refusal of each kind; the calls around them go through.
TEST_F(CallDecoderTest, ContentsThatTheDriverWouldReadBeyondAreRefused)
{
    const std::vector<float> matrix(16);
    Call(CallId::glUniformMatrix4fv, 0, 1, 0, matrix);
    Call(CallId::glUniformMatrix4fv, 0, 2, 0, matrix);
    Call(CallId::glUniformMatrix4fv, 0, 1, 0, 0x1234);
    Call(CallId::glUniformMatrix4fv, 0, -1, 0, 0);
    Call(CallId::glDeleteBuffers, 3, std::vector<std::uint32_t>{7, 8});
    Call(CallId::glTexImage2D, Texture2D, 0, Enum::Rgba, 4, 4, 0, Enum::Rgba, Enum::UnsignedByte, 0);
    Call(CallId::glTexImage2D, Texture2D, 0, Enum::Rgba, 4, 4, 0, Enum::Rgba, Enum::UnsignedByte, Bytes(63));
    Call(CallId::glTexSubImage2D, Texture2D, 0, 0, 0, 4, 4, Enum::Rgba, Enum::UnsignedByte, 0);
    Call(CallId::glTexSubImage2D, Texture2D, 0, 0, 0, 0x7fffffff, 0x7fffffff, Enum::Rgba, Enum::Float, Bytes(64));
    Call(CallId::glTexSubImage2D, Texture2D, 0, 0, 0, 4, 4, Enum::Rgba, 0x9999, Bytes(64));
    Call(CallId::glPixelStorei, Enum::UnpackRowLength, 8);
    Call(CallId::glTexSubImage2D, Texture2D, 0, 0, 0, 4, 4, Enum::Rgba, Enum::UnsignedByte, Bytes(64));
    Call(CallId::glCopyBufferSubData, Enum::ArrayBuffer, Enum::ElementArrayBuffer, 0, INT64_MAX, 4);
    Play();
    EXPECT_THAT(reports,
                ElementsAre(HasSubstr("glUniformMatrix4fv: value: expected 32 elements of 4 bytes, found 64 bytes"),
                            HasSubstr("glUniformMatrix4fv: value: expected contents, found none"),
                            HasSubstr("glDeleteBuffers: buffers: expected 3 elements"),
                            HasSubstr("glTexImage2D: pixels: expected 64 elements of 1 bytes, found 63"),
                            HasSubstr("glTexSubImage2D: pixels: expected contents, found a null pointer"),
                            HasSubstr("glTexSubImage2D: pixels: expected"),
                            HasSubstr("expected a known pixel format and type"),
                            HasSubstr("expected 112 elements of 1 bytes, found 64"),
                            HasSubstr("glCopyBufferSubData: writeOffset: expected at most")));
}

TEST_F(CallDecoderTest, ContentsLieInsideTheRecordAndDoNotOverlap)
{
    const auto strings =
        CallRecord(CallId::glGetUniformIndices, 1, 1, std::vector<std::string>{"a"}, std::vector<std::uint32_t>{0});
    // The two slots of that call: names, then the indices that the driver writes.
    constexpr std::size_t Names = 16;
    constexpr std::size_t Indices = 32;
    const auto changed = [&](std::size_t slot, std::uint32_t bytes, std::uint32_t offset) {
        CallRecord record = strings;
        const PointerSlot value{1, bytes, offset};
        std::memcpy(record.bytes.data() + slot, &value, sizeof value);
        record.AppendTo(*writer);
    };
    strings.AppendTo(*writer);
    changed(Indices, 8, 48);         // over the names, which the driver follows
    changed(Names, 16, 16);          // over the slots
    changed(Names, 16, 44);          // not aligned
    changed(Names, 0xffffffff, 48);  // longer than the record
    changed(Indices, 4, 0xfffffff8); // beyond the record
    Play();
    EXPECT_THAT(reports, SizeIs(5));
    EXPECT_THAT(reports, Each(HasSubstr("expected contents between")));
}

TEST_F(CallDecoderTest, AnOffsetIsOneOnlyWhileABufferIsBound)
{
    Call(CallId::glDrawElements, Triangles, 6, Enum::UnsignedShort, 0x40);
    Call(CallId::glBindBuffer, Enum::ElementArrayBuffer, 1);
    Call(CallId::glDrawElements, Triangles, 6, Enum::UnsignedShort, 0x40);
    Call(CallId::glReadPixels, 0, 0, 4, 4, Enum::Rgba, Enum::UnsignedByte, 0);
    Call(CallId::glBindBuffer, Enum::PixelPackBuffer, 1);
    Call(CallId::glReadPixels, 0, 0, 4, 4, Enum::Rgba, Enum::UnsignedByte, 0x10);
    Call(CallId::glDrawArraysIndirect, Triangles, 0);
    Call(CallId::glBindBuffer, Enum::DrawIndirectBuffer, 1);
    Call(CallId::glDrawArraysIndirect, Triangles, 0);
    Call(CallId::glBindBuffer, Enum::ArrayBuffer, 77);
    Play();
    EXPECT_THAT(reports,
                ElementsAre(HasSubstr("glDrawElements: indices: expected contents, found none"),
                            HasSubstr("glDrawArraysIndirect: indirect: expected contents"),
                            HasSubstr("glBindBuffer: buffer: expected a buffer that was generated, found 77")));
}

TEST_F(CallDecoderTest, StringsEndInsideTheirContents)
{
    const std::vector<std::string> sources{"void main(){}", "second"};
    Call(CallId::glShaderSource, 1, 2, sources, 0);
    Call(CallId::glShaderSource, 1, 2, sources, std::vector<std::int32_t>{4, -1});
    Call(CallId::glShaderSource, 1, 3, sources, 0);
    Call(CallId::glShaderSource, 1, 2, sources, std::vector<std::int32_t>{4, 100});
    Call(CallId::glShaderSource, 1, 2, sources, std::vector<std::int32_t>{4});
    Call(CallId::glBindAttribLocation, 1, 0, std::vector<char>{'a', 'b'});
    Call(CallId::glPushGroupMarkerEXT, -1, std::vector<char>{'a', 'b'});
    Call(CallId::glPushGroupMarkerEXT, 3, std::vector<char>{'a', 'b'});
    Call(CallId::glPushGroupMarkerEXT, 2, std::vector<char>{'a', 'b'});
    Play();
    EXPECT_THAT(reports, ElementsAre(HasSubstr("string"), HasSubstr("length: expected at most"),
                                     HasSubstr("length: expected 2 elements"),
                                     HasSubstr("name: expected a zero byte at the end"),
                                     HasSubstr("marker: expected a zero byte at the end"),
                                     HasSubstr("marker: expected 3 characters, found 2")));
}

TEST_F(CallDecoderTest, ListsOfIndicesLieInsideTheirContents)
{
    // Two lists of two bytes, at the ends of what two slots take.
    const auto lists = [](std::uint64_t first, std::uint64_t second) {
        return std::vector<std::uint64_t>{first, second, 0x0200, 0x0504};
    };
    const std::vector<std::int32_t> counts{2, 2};
    const auto draw = [&](const auto&... arguments) {
        Call(CallId::glMultiDrawElementsEXT, Triangles, counts, Enum::UnsignedByte, arguments...);
    };
    draw(lists(16, 24), 2);
    draw(lists(24, 16), 2);
    draw(lists(16, 31), 2);
    draw(lists(16, 32), 2);
    draw(lists(16, ~std::uint64_t{0}), 2);
    draw(lists(16, 24), 5);
    // All vertices of all draws have to be there, and with a buffer the same are offsets.
    ClientAttrib(0);
    Deliver(0, 0, 5, 40);
    draw(lists(16, 24), 2);
    Call(CallId::glBindBuffer, Enum::ElementArrayBuffer, 1);
    Call(CallId::glDisableVertexAttribArray, 0);
    draw(lists(500, 3), 2);
    Call(CallId::glMultiDrawElementsEXT, Triangles, counts, Enum::UnsignedShort, lists(500, 3), 2);
    Play();
    EXPECT_THAT(reports, ElementsAre(HasSubstr("expected 2 bytes of list 1 between 26 and 32 bytes, found it at 16"),
                                     HasSubstr("found it at 31"), HasSubstr("found it at 32"),
                                     HasSubstr("found it at 18446744073709551615"), HasSubstr("expected 5 elements"),
                                     HasSubstr("6 vertices from 0, found 5 from 0"),
                                     HasSubstr("expected multiples of 2, found 3")));
}

TEST_F(CallDecoderTest, AttributeListsAreClosedAndFitTheEnginesCopy)
{
    const auto list = [](std::size_t values) {
        std::vector<std::int32_t> attribs(values, 0x3024);
        attribs.push_back(Enum::EglNone);
        return attribs;
    };
    Call(CallId::eglCreateContext, 1, 1, 1, 0, list(0));
    Call(CallId::eglCreateContext, 1, 1, 1, 0, list(60));
    Call(CallId::eglCreateContext, 1, 1, 1, 0, list(62));
    Call(CallId::eglCreateContext, 1, 1, 1, 0, std::vector<std::int32_t>{0x3098, 2});
    // EGL_NONE as a value closes nothing.
    Call(CallId::eglCreateContext, 1, 1, 1, 0, std::vector<std::int32_t>{0x3098, Enum::EglNone});
    Call(CallId::eglCreateContext, 1, 1, 1, 0, std::vector<std::int32_t>{});
    Play();
    EXPECT_THAT(reports,
                ElementsAre(HasSubstr("expected at most 60 values, found 62"),
                            HasSubstr("expected a closing attribute"), HasSubstr("expected a closing attribute"),
                            HasSubstr("expected a closing attribute")));
}

TEST_F(CallDecoderTest, OutputHasRoomForWhatTheLiveDriverWrites)
{
    Call(CallId::glGetIntegerv, 0x86A3, std::vector<std::int32_t>{1, 2});
    Call(CallId::glGetIntegerv, 0x0BA2, 0);
    Call(CallId::glGetProgramInfoLog, 1, 1000, 0, "short");
    Call(CallId::glGetProgramInfoLog, 1, -1, 0, "short");
    Call(CallId::glReadPixels, 0, 0, 16, 16, Enum::Rgba, Enum::UnsignedByte, Bytes(16));
    Call(CallId::glGenTextures, 2, 0);
    Call(CallId::glGetDebugMessageLog, 0, 0xffffffff, 16, 0, 0, Bytes(4), 0, 0, 0);
    Play();
    EXPECT_THAT(reports, ElementsAre(HasSubstr("glGetProgramInfoLog: infoLog: expected room for at least 0 elements"),
                                     HasSubstr("glGenTextures: textures: expected the 2 names that the driver gave"),
                                     HasSubstr("glGetDebugMessageLog: ids: expected room for at most")));
}

TEST_F(CallDecoderTest, DrawsFromClientMemoryNeedTheirVertices)
{
    ClientAttrib(0);
    ClientAttrib(3);
    Deliver(0, 2, 3, 24);
    Deliver(3, 2, 3, 24);
    Call(CallId::glDrawArrays, Triangles, 2, 3);
    Call(CallId::glDrawArrays, Triangles, 2, 3); // the vertices were for the draw before
    Deliver(0, 0, 3, 24);
    Call(CallId::glDrawArrays, Triangles, 0, 3); // attribute 3 has none
    Deliver(0, 0, 3, 24);
    Deliver(3, 0, 2, 16);
    Call(CallId::glDrawArrays, Triangles, 0, 3); // too few
    Call(CallId::glDisableVertexAttribArray, 3);
    Deliver(0, 0, 6, 48);
    Call(CallId::glDrawElements, Triangles, 3, Enum::UnsignedByte, std::vector<std::uint8_t>{0, 5, 2});
    Deliver(0, 0, 5, 40);
    Call(CallId::glDrawElements, Triangles, 3, Enum::UnsignedByte, std::vector<std::uint8_t>{0, 5, 2});
    Deliver(0, 0, 3, 23); // the last vertex is cut
    Deliver(0, 1u << 28, 3, 24);
    Call(CallId::glDrawArrays, Triangles, -1, 3);
    Play();
    EXPECT_THAT(reports,
                ElementsAre(HasSubstr("attribute 0: expected 3 vertices from 2, found none"),
                            HasSubstr("attribute 3: expected 3 vertices from 0, found none"),
                            HasSubstr("attribute 3: expected 3 vertices from 0, found 2 from 0"),
                            HasSubstr("attribute 0: expected 6 vertices from 0, found 5 from 0"),
                            HasSubstr("vertex data: attribute 0: expected 24 bytes inside the record, found 23"),
                            HasSubstr("1073741824 bytes in front of the first vertex, found 2147483648"),
                            HasSubstr("glDrawArrays: client memory of attribute 0")));
}

TEST_F(CallDecoderTest, IndicesInABufferDecideWhichVerticesADrawNeeds)
{
    const auto draw = [&](std::uint64_t offset) {
        Deliver(0, 0, 3, 24);
        Call(CallId::glDrawElements, Triangles, 2, Enum::UnsignedShort, offset);
    };
    ClientAttrib(0);
    Call(CallId::glBindBuffer, Enum::ElementArrayBuffer, 1);
    Call(CallId::glBufferData, Enum::ElementArrayBuffer, 8, std::vector<std::uint16_t>{0, 1, 9, 2}, 0x88E4);
    draw(0);
    draw(2);
    // A mapping can have changed anything.
    Call(CallId::glMapBufferRange, 0x5000, Enum::ElementArrayBuffer, 0, 8, 2);
    Call(CallId::glUnmapBuffer, 1, Enum::ElementArrayBuffer);
    draw(0);
    Play();
    EXPECT_THAT(reports, ElementsAre(HasSubstr("expected 9 vertices from 1, found 3 from 0"),
                                     HasSubstr("expected indices that were captured")));
}

/// A pointer into client memory, set while no array buffer was bound, is still one when one is bound at the draw.
TEST_F(CallDecoderTest, VerticesAreDeliveredWithoutAnArrayBuffer)
{
    class Order : public GLNullAdapter {
    public:
        std::vector<std::string> calls;
        void Process_glBindBuffer(std::uint32_t, std::uint32_t buffer) override
        {
            calls.push_back("bind " + std::to_string(buffer));
        }
        void ProcessVertexAttribData(std::uint32_t, std::int32_t, std::uint32_t, std::uint32_t, std::int32_t stride,
                                     std::uint8_t* data, std::uint32_t first, std::uint32_t) override
        {
            calls.push_back("data " + std::to_string(data[first * static_cast<std::uint32_t>(stride)]));
        }
        void Process_glDrawArrays(std::uint32_t, std::int32_t, std::int32_t) override { calls.emplace_back("draw"); }
    };
    ClientAttrib(0);
    Call(CallId::glBindBuffer, Enum::ArrayBuffer, 2);
    Deliver(0, 5, 3, 24);
    Call(CallId::glDrawArrays, Triangles, 5, 3);
    Order order;
    Replay(&order);
    EXPECT_THAT(order.calls, ElementsAre("bind 0", "bind 2", "bind 0", "data 1", "bind 2", "draw"));
    EXPECT_THAT(reports, IsEmpty());
}

TEST_F(CallDecoderTest, MessagesSayWhereWhatExpectedAndFoundAndManyAreCounted)
{
    writer->FrameEnd();
    Call(CallId::glBindBuffer, Enum::ArrayBuffer, 1);
    Call(CallId::glBufferData, Enum::ArrayBuffer, 4096, Bytes(512), 0x88E4);
    for (int i = 0; i < 99; ++i)
        Call(CallId::glBindBuffer, Enum::ArrayBuffer, 77);
    Play();
    EXPECT_THAT(reports, SizeIs(21));
    EXPECT_THAT(reports[0], testing::MatchesRegex(".*test.glcap: offset 0x[0-9a-f]+\\+0x[0-9a-f]+, frame 2, call 2 "
                                                  "glBufferData: data: expected 4096 elements of 1 bytes, found 512 "
                                                  "bytes; call skipped"));
    EXPECT_THAT(reports.back(), HasSubstr("100 calls were skipped, 80 of them without a message"));
}

} // namespace

} // namespace Data
