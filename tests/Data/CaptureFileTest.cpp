#include <array>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/TestCapture.h"

namespace Data {

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

/// Writes down what reaches it, whichever interface it comes through.
class Log : public GLNullAdapter, public NullMetaHandler, public BlockEventHandler, public FrameHashHandler {
public:
    std::vector<std::string> lines;

    void SetCurrentThread(std::uint32_t thread) override { lines.push_back("thread " + std::to_string(thread)); }
    void Process_glClear(std::uint32_t mask) override { lines.push_back("glClear " + std::to_string(mask)); }
    void Process_glBufferData(std::uint32_t, std::int64_t size, PointerData* data, std::uint32_t) override
    {
        lines.push_back("glBufferData " + std::to_string(size) + " " + std::to_string(data->GetCount()) + " " +
                        std::to_string(data->As<std::uint8_t>()[size - 1]));
    }
    void Process_glGetAttribLocation(std::int32_t captured, std::uint32_t program, PointerData* name) override
    {
        lines.push_back("glGetAttribLocation " + std::to_string(captured) + " " + std::to_string(program) + " " +
                        name->As<char>());
    }
    void ProcessSetWindowSizeCommand(std::uint32_t, std::uint32_t surface, std::uint32_t width,
                                     std::uint32_t height) override
    {
        lines.push_back("window " + std::to_string(surface) + " " + std::to_string(width) + "x" +
                        std::to_string(height));
    }
    void ProcessDisplayMessageCommand(const std::string& message) override { lines.push_back("message " + message); }
    void BlockStart(BlockType type) override { lines.push_back(type == BlockType::Frame ? "frame{" : "state{"); }
    void BlockEnd(BlockType type) override { lines.push_back(type == BlockType::Frame ? "}frame" : "}state"); }
    void ProcessFrameHash(std::uint32_t frame, std::uint32_t surface, std::uint32_t, std::uint32_t,
                          std::uint64_t hash) override
    {
        lines.push_back("hash " + std::to_string(frame) + " " + std::to_string(surface) + " " + std::to_string(hash));
    }
};

class CaptureFileTest : public CaptureTest {
protected:
    std::vector<std::string> ReplayLogged(Preload preload = Preload::No)
    {
        Log log;
        const std::unique_ptr<CaptureFile> capture = Open(preload);
        if (!capture)
            return {openError};
        capture->SetAdapter(&log);
        capture->Add(static_cast<BlockEventHandler*>(&log));
        capture->SetFrameHashHandler(&log);
        ReplayAll(*capture);
        frames = capture->GetCurrentFrame();
        EXPECT_FALSE(capture->GetFrameProcessor()->ProcessNextFrame()) << "the end stays the end";
        return log.lines;
    }
    std::uint32_t frames = 0;
};

TEST_F(CaptureFileTest, DeliversEverythingInOrder)
{
    writer->BlockStart(static_cast<std::uint32_t>(BlockType::State));
    Call(CallId::glClear, 64);
    writer->BlockEnd(static_cast<std::uint32_t>(BlockType::State));
    Call(CallId::glGetAttribLocation, 3, 7, "position");
    writer->SetThread(2);
    Call(CallId::glClear, 16384);
    writer->FrameHash(5, 400, 300, 99);
    writer->FrameEnd();
    Call(CallId::glClear, 256);
    EXPECT_THAT(ReplayLogged(),
                ElementsAre("thread 1", "state{", "glClear 64", "}state", "frame{", "glGetAttribLocation 3 7 position",
                            "thread 2", "glClear 16384", "hash 1 5 99", "}frame", "frame{", "glClear 256", "}frame"));
    EXPECT_EQ(frames, 1u);
    EXPECT_THAT(reports, IsEmpty());
}

TEST_F(CaptureFileTest, MetaCommandsReachEveryHandler)
{
    writer->WindowSize(1, 5, 640, 480);
    writer->Text(RecordId::DisplayMessage, "hello 100%s");
    Log log;
    const std::unique_ptr<CaptureFile> capture = Open();
    ASSERT_NE(capture, nullptr) << openError;
    capture->Add(static_cast<MetaHandler*>(&log));
    capture->Add(static_cast<MetaHandler*>(&log));
    EXPECT_FALSE(capture->GetFrameProcessor()->ProcessNextFrame());
    EXPECT_THAT(log.lines, ElementsAre("thread 1", "thread 1", "window 5 640x480", "window 5 640x480",
                                       "message hello 100%s", "message hello 100%s"));
}

TEST_F(CaptureFileTest, HeaderComesBackAsItWasLastWritten)
{
    const auto texts = [](CaptureHeader& of) {
        return std::array{&of.toolVersion, &of.command,    &of.eglVendor, &of.eglVersion,
                          &of.glVendor,    &of.glRenderer, &of.glVersion};
    };
    char letter = 'a';
    for (std::string* const text : texts(header))
        *text = std::string(5000, letter++);
    header.surfaceWidth = 400;
    header.surfaceHeight = 300;
    header.calls = 70;
    header.eglCalls = 7;
    writer->UpdateHeader(header);
    const std::unique_ptr<CaptureFile> capture = Open();
    ASSERT_NE(capture, nullptr) << openError;
    CaptureHeader read = capture->Header();
    EXPECT_EQ(read.surfaceWidth, 400u);
    EXPECT_EQ(read.surfaceHeight, 300u);
    letter = 'a';
    for (const std::string* const text : texts(read))
        EXPECT_EQ(*text, std::string(512, letter++)) << "long text is cut, what follows is not";
    EXPECT_EQ(read.calls, 70u);
    EXPECT_EQ(read.eglCalls, 7u);
}

/// More chunks than the reader holds, one of them larger than a chunk usually is.
TEST_F(CaptureFileTest, ManyChunksAndALargeRecordComeBackWhole)
{
    Call(CallId::glGenBuffers, 1, std::vector<std::uint32_t>{1});
    Call(CallId::glBindBuffer, 0x8892, 1);
    std::vector<std::string> expected{"thread 1", "frame{"};
    for (std::uint32_t i = 1; i <= 24; ++i) {
        const std::size_t size = i == 7 ? ChunkBytes + 1000 : ChunkBytes / 3;
        Call(CallId::glBufferData, 0x8892, size, std::vector<std::uint8_t>(size, static_cast<std::uint8_t>(i)), 0x88E4);
        expected.push_back("glBufferData " + std::to_string(size) + " " + std::to_string(size) + " " +
                           std::to_string(i));
        writer->FrameEnd();
        expected.emplace_back("}frame");
        if (i < 24)
            expected.emplace_back("frame{");
    }
    EXPECT_EQ(ReplayLogged(), expected);
    EXPECT_EQ(ReplayLogged(Preload::All), expected);
    EXPECT_THAT(reports, IsEmpty());
    const std::unique_ptr<CaptureFile> capture = Open();
    EXPECT_EQ(capture->GetFrameCount(), 24u);
}

TEST_F(CaptureFileTest, FramesAreReplayedAgainFromWhereTheyBegan)
{
    // Frames begin in chunks and at their ends, on different threads.
    for (std::uint32_t frame = 1; frame <= 6; ++frame) {
        writer->SetThread(frame % 2 + 1);
        Call(CallId::glClear, frame);
        Call(CallId::glBufferData, 1, std::int64_t{ChunkBytes / 2}, std::vector<std::uint8_t>(ChunkBytes / 2), 3);
        writer->FrameEnd();
    }
    for (std::uint32_t before = 1; before <= 5; ++before) {
        Log log;
        const std::unique_ptr<CaptureFile> capture = Open(before % 2 == 0 ? Preload::No : Preload::All);
        ASSERT_NE(capture, nullptr) << openError;
        capture->SetAdapter(&log);
        FrameProcessor* const processor = capture->GetFrameProcessor();
        for (std::uint32_t frame = 0; frame < before; ++frame)
            ASSERT_TRUE(processor->ProcessNextFrame());
        const FrameProcessor::Place place = capture->AtFrameEnd();
        log.lines.clear();
        ReplayAll(*capture);
        std::vector<std::string> first = log.lines;
        log.lines.clear();
        capture->GoTo(place);
        EXPECT_EQ(capture->GetCurrentFrame(), before);
        ReplayAll(*capture);
        EXPECT_EQ(capture->GetCurrentFrame(), 6U);
        // The thread is told of anew.
        std::erase_if(
            first, [](const std::string& line) { return line.starts_with("thread"); });
        std::erase_if(log.lines, [](const std::string& line) { return line.starts_with("thread"); });
        EXPECT_EQ(log.lines, first);
    }
}

TEST_F(CaptureFileTest, CallsThatAreNotKnownAreSkippedWithOneWarningEach)
{
    Call(CallId::glClear, 1);
    Call(CallId::glFlush);
    Call(CallId::glFlush);
    Call(CallId::glClear, 2);
    Finish();
    // Another program's table: it has a call that this one lacks, and one that differs.
    const std::vector<std::uint8_t> bytes = FileBytes();
    std::string entries;
    for (std::uint32_t id = 0; id < callCount; ++id) {
        std::string entry(8, '\0');
        const std::string name =
            id == static_cast<std::uint32_t>(CallId::glFlush) ? "glFlushTwice" : callTable[id].name;
        entry += name + '\0' + (name == "glClear" ? "vmm" : callTable[id].signature) + '\0';
        entry.resize(RoundUp8(entry.size()));
        const RecordHeader header{static_cast<std::uint32_t>(entry.size()), id};
        std::memcpy(entry.data(), &header, sizeof header);
        entries += entry;
    }
    const std::vector<std::uint8_t> table = PlainChunk(ChunkKind::CallTable, {entries.begin(), entries.end()});
    std::vector<std::uint8_t> changed(bytes.begin(), bytes.begin() + HeaderBytes);
    changed.insert(changed.end(), table.begin(), table.end());
    changed.insert(changed.end(), bytes.begin() + static_cast<std::ptrdiff_t>(RecordsOffset(bytes)), bytes.end());
    SetFileBytes(changed);
    writer.reset();

    EXPECT_THAT(ReplayLogged(), ElementsAre("thread 1"));
    EXPECT_THAT(reports, ElementsAre(HasSubstr("no call glClear with the signature vmm"),
                                     HasSubstr("no call glFlushTwice"), HasSubstr("incomplete")));
}

} // namespace

} // namespace Data
