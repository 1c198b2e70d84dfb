#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Data/Records/RecordWalk.h"
#include "support/TestCapture.h"

namespace Data {

namespace {

using ::testing::HasSubstr;

using Lines = std::vector<std::string>;

class SnapshotTest : public CaptureTest {
protected:
    /// Frames begin in chunks and at their ends, on different threads.
    void WriteFrames(std::size_t bytes)
    {
        for (std::uint32_t frame = 1; frame <= Frames; ++frame) {
            writer->SetThread(frame % 2 + 1);
            Call(CallId::glFlush);
            Call(CallId::glBufferData, 1, static_cast<std::int64_t>(bytes), std::vector<std::uint8_t>(bytes), 3);
            Call(CallId::glClear, frame);
            writer->FrameEnd();
        }
        Call(CallId::glFinish);
        Finish();
    }
    /// In front of a frame.
    void WriteSnapshot(std::uint32_t frame)
    {
        CaptureHeader part;
        part.originFrame = frame - 1;
        const auto output = CaptureWriter::Create(snapshot, part, openError);
        ASSERT_NE(output, nullptr) << openError;
        output->BlockStart(static_cast<std::uint32_t>(BlockType::State));
        CallRecord(CallId::glFlush).AppendTo(*output);
        output->BlockEnd(static_cast<std::uint32_t>(BlockType::State));
        output->FrameEnd();
    }
    /// "2:1 glFlush 1" for the first call of frame 2 on thread 1.
    Lines List(CaptureSource& source) const
    {
        Lines lines;
        Diagnostics diagnostics(path, nullptr);
        std::uint32_t thread = 1;
        WalkRecords(source, diagnostics, [&](const RecordCursor& record) {
            if (ThreadRecord change; record.Is(RecordId::Thread) && record.Read(change))
                thread = change.thread;
            if (record.Header().id >= FirstBuiltInId)
                return;
            const std::optional<CallId> call = source.CallOf(record.Header());
            const Position& at = diagnostics.position;
            lines.push_back(std::to_string(at.frame + 1) + ":" + std::to_string(at.call) + " " +
                            (call ? NameOf(*call) : "unknown") + " " + std::to_string(thread));
        });
        return lines;
    }
    void ExpectTheRestOfTheCapture()
    {
        std::string error;
        const auto whole = CaptureSource::Open(path, error);
        ASSERT_NE(whole, nullptr) << error;
        const Lines all = List(*whole);
        for (std::uint32_t frame = 2; frame <= Frames + 1; ++frame) {
            WriteSnapshot(frame);
            const auto source = CaptureSource::OpenAt(snapshot, path, error);
            ASSERT_NE(source, nullptr) << error;
            EXPECT_EQ(source->FrameCount(), Frames);
            Lines expected = {std::to_string(frame - 1) + ":1 glFlush 1"};
            expected.insert(expected.end(), all.begin() + 3 * (frame - 1), all.end());
            EXPECT_EQ(List(*source), expected);
        }
    }

    static constexpr std::uint32_t Frames = 6;
    std::string snapshot = folder.File("snapshot");
};

TEST_F(SnapshotTest, ReadingGoesOnInTheCaptureWithItsFramesCallsAndThreads)
{
    WriteFrames(16);
    ExpectTheRestOfTheCapture();
}

TEST_F(SnapshotTest, FramesMayBeginAnywhereInTheChunksOfACapture)
{
    WriteFrames(ChunkBytes / 2);
    ExpectTheRestOfTheCapture();
}

TEST_F(SnapshotTest, TheCaptureMayHaveOtherCallsThanTheSnapshot)
{
    WriteFrames(16);
    const std::vector<std::uint8_t> bytes = FileBytes();
    std::vector<std::uint8_t> entries;
    for (std::uint32_t id = 0; id < callCount; ++id) {
        const auto call = static_cast<CallId>(id);
        const std::string name = call == CallId::glFlush    ? "glFinish"
                                 : call == CallId::glFinish ? "glFlush"
                                 : call == CallId::glClear  ? "glClearTwice"
                                                            : callTable[id].name;
        std::string entry = std::string(8, '\0') + name + '\0' + callTable[id].signature + '\0';
        entry.resize(RoundUp8(entry.size()));
        const RecordHeader head{static_cast<std::uint32_t>(entry.size()), id};
        std::memcpy(entry.data(), &head, sizeof head);
        entries.insert(entries.end(), entry.begin(), entry.end());
    }
    const std::vector<std::uint8_t> table = PlainChunk(ChunkKind::CallTable, entries);
    std::vector<std::uint8_t> changed(bytes.begin(), bytes.begin() + HeaderBytes);
    changed.insert(changed.end(), table.begin(), table.end());
    changed.insert(changed.end(), bytes.begin() + static_cast<std::ptrdiff_t>(RecordsOffset(bytes)), bytes.end());
    SetFileBytes(changed);
    ExpectTheRestOfTheCapture();
}

TEST_F(SnapshotTest, FilesThatDoNotBelongTogetherAreRefused)
{
    WriteFrames(16);
    std::string error;
    for (const std::uint32_t frame : {1U, Frames + 2}) {
        WriteSnapshot(frame);
        EXPECT_EQ(CaptureSource::OpenAt(snapshot, path, error), nullptr);
        EXPECT_THAT(error, HasSubstr("snapshot: is no snapshot of a capture of 6 frames"));
    }
    EXPECT_EQ(CaptureSource::OpenAt(path, path, error), nullptr);
}

} // namespace

} // namespace Data
