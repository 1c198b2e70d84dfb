#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Data/Capture/SummaryReader.h"
#include "TouchingAdapters.h"
#include "support/TestCapture.h"

namespace Data {

namespace {

using ::testing::Contains;
using ::testing::HasSubstr;

/// A small capture of several chunks, damaged in every place.
class DamageTest : public CaptureTest {
protected:
    static constexpr std::uint32_t WholeFrames = 6;

    DamageTest()
    {
        for (std::uint32_t frame = 0; frame < WholeFrames; ++frame) {
            Call(CallId::glClear, 16384);
            Call(CallId::glUniform4fv, 0, 1, std::vector<float>{1, 2, 3, 4});
            Call(CallId::glShaderSource, 1, 1, std::vector<std::string>{"void main(){}"}, 0);
            writer->FrameEnd();
            if (frame % 2 == 1)
                writer->Flush();
        }
        Finish();
        whole = FileBytes();
        const auto source = CaptureSource::Open(path, openError);
        ChunkHeader last;
        std::memcpy(&last, whole.data() + source->Chunks().back().fileOffset, sizeof last);
        summaryOffset = source->Chunks().back().fileOffset + sizeof last + last.storedBytes;
        std::memcpy(&indexOffset, whole.data() + whole.size() - sizeof(Trailer), sizeof indexOffset);
    }

    /// Whatever is wrong is said, in a refusal or while replaying.
    void Play(const std::string& what)
    {
        reports.clear();
        frames = 0;
        const std::unique_ptr<CaptureFile> capture = Open();
        if (!capture) {
            EXPECT_THAT(openError, HasSubstr(path)) << what;
            return;
        }
        CallDecoder& decoder = capture->GetFrameProcessor()->Calls();
        TouchingGLAdapter gl(decoder);
        capture->SetAdapter(&gl);
        ReplayAll(*capture);
        frames = capture->GetCurrentFrame();
        EXPECT_THAT(reports, Contains(HasSubstr(std::to_string(frames) + " frames were read"))) << what;
    }

    std::optional<SummaryCounts> Summary(std::string& trouble) const
    {
        std::string error;
        const auto source = CaptureSource::Open(path, error);
        trouble.clear();
        return source && source->IsComplete() ? ReadSummary(*source, trouble) : std::nullopt;
    }

    std::vector<std::uint8_t> whole;
    std::size_t summaryOffset = 0;
    std::size_t indexOffset = 0;
    std::uint32_t frames = 0;
};

TEST_F(DamageTest, AnyTruncationIsReportedAndLosesOnlyTheTail)
{
    std::uint32_t longer = WholeFrames;
    for (std::size_t bytes = whole.size(); bytes-- > 0;) {
        std::filesystem::resize_file(path, bytes);
        Play("cut after " + std::to_string(bytes) + " bytes");
        EXPECT_LE(frames, longer) << "a shorter part has not more frames";
        EXPECT_TRUE(frames == WholeFrames || bytes < whole.size() - 1) << "without its index it still has all of them";
        longer = frames;
        if (HasFailure())
            return;
    }
}

TEST_F(DamageTest, AnyFlippedByteIsReported)
{
    // In place: the file is changed without being written anew.
    std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
    const auto put = [&](std::size_t at, std::uint8_t value) {
        file.seekp(static_cast<std::streamoff>(at));
        file.put(static_cast<char>(value));
        file.flush();
    };
    for (std::size_t at = 0; at < whole.size(); ++at) {
        put(at, static_cast<std::uint8_t>(whole[at] ^ 1u << at % 8));
        // Replay has no use for the summary. A kind of chunk that is not known is passed over.
        const bool isKind =
            at >= summaryOffset + offsetof(ChunkHeader, kind) && at < summaryOffset + offsetof(ChunkHeader, checksum);
        std::string trouble;
        if (at < summaryOffset || at >= indexOffset)
            Play("byte " + std::to_string(at) + " flipped");
        else
            EXPECT_TRUE(!Summary(trouble) && (isKind || !trouble.empty())) << "byte " << at << " of the summary";
        put(at, whole[at]);
        if (HasFailure())
            return;
    }
}

TEST_F(DamageTest, WhatIsNoCaptureIsRefusedWithItsReason)
{
    const auto refusal = [&](const std::vector<std::uint8_t>& bytes) {
        SetFileBytes(bytes);
        EXPECT_EQ(Open(), nullptr);
        return openError;
    };
    EXPECT_THAT(refusal({}), HasSubstr("the file is empty"));
    EXPECT_THAT(refusal(std::vector<std::uint8_t>(100000, 0x5A)), HasSubstr("not a capture"));
    EXPECT_THAT(refusal({whole.begin(), whole.begin() + 100}), HasSubstr("the header is cut"));
    std::vector<std::uint8_t> later = whole;
    later[8] = 99;
    EXPECT_THAT(refusal(later), HasSubstr("format version 99, this program reads up to 2"));
    std::filesystem::remove(path);
    EXPECT_EQ(Open(), nullptr);
    EXPECT_THAT(openError, HasSubstr("No such file"));
    path = folder.Path();
    EXPECT_EQ(Open(), nullptr);
    EXPECT_THAT(openError, HasSubstr("is not a file"));
}

/// The summary's checksum holds, but what it says is not true.
TEST_F(DamageTest, ASummaryThatContradictsTheFileIsRefused)
{
    std::string trouble;
    const std::optional<SummaryCounts> counts = Summary(trouble);
    ASSERT_TRUE(counts) << trouble;
    const auto source = CaptureSource::Open(path, openError);
    const auto decode = [&](const std::vector<std::uint8_t>& body) {
        Chunk chunk;
        chunk.memory = std::make_unique<std::uint64_t[]>(body.size() / 8 + 1);
        chunk.bytes = static_cast<std::uint32_t>(body.size());
        std::ranges::copy(body, chunk.Data());
        return DecodeSummary(chunk, *source, trouble);
    };
    const auto refusal = [&](const std::vector<std::uint8_t>& body) {
        EXPECT_FALSE(decode(body));
        return trouble;
    };
    const auto changed = [&](const auto& change) {
        SummaryCounts other = *counts;
        change(other);
        return refusal(EncodeSummary(other));
    };
    EXPECT_THAT(changed([](SummaryCounts& other) { ++other.frames; }), HasSubstr("expected 6 frames, found 7"));
    EXPECT_THAT(changed([](SummaryCounts& other) { ++other.calls; }), HasSubstr("expected 18 calls, found 19"));
    EXPECT_THAT(changed([](SummaryCounts& other) { ++other.callsById[0]; }), HasSubstr("expected 18 calls, found 19"));
    EXPECT_THAT(changed([](SummaryCounts& other) { other.callsByThread.clear(); }), HasSubstr("18 calls, found 0"));
    EXPECT_THAT(changed([](SummaryCounts& other) { other.byFrame[2].draws = 99; }), HasSubstr("draws in a frame"));
    EXPECT_THAT(changed([](SummaryCounts& other) { other.byFrame.pop_back(); }), HasSubstr("7 counts of frames"));
    EXPECT_THAT(changed([](SummaryCounts& other) { other.bindings.pop_back(); }), HasSubstr("3 chunks of records"));
    EXPECT_THAT(changed([](SummaryCounts& other) { other.callsById.resize(callCount + 1, 1); }), HasSubstr("record 2"));
    EXPECT_THAT(changed([](SummaryCounts& other) { other.surfaces[1].kind = SurfaceKind{4}; }), HasSubstr("record 5"));

    // Whatever else it says, reading it ends, and what is read can be used.
    const std::vector<std::uint8_t> body = EncodeSummary(*counts);
    EXPECT_THAT(refusal({}), HasSubstr("expected 6 frames, found 0"));
    for (std::size_t at = 0; at < body.size() * 8; ++at) {
        std::vector<std::uint8_t> flipped = body;
        flipped[at / 8] ^= static_cast<std::uint8_t>(1u << at % 8);
        if (const auto read = decode(flipped)) {
            EXPECT_EQ(read->calls, counts->calls);
            EXPECT_EQ(read->callsById.size(), callCount);
            EXPECT_EQ(read->byFrame.size(), WholeFrames + 1);
            EXPECT_EQ(read->bindings.size(), 3u);
        }
    }
}

/// The chunk's checksum holds, but its records do not.
TEST_F(DamageTest, RecordsThatCannotBeEndReplay)
{
    for (const std::uint32_t size : {0u, 4u, 12u, 4096u, 0xfffffff8u}) {
        std::vector<std::uint8_t> body(32);
        const ThreadRecord thread{{sizeof thread, static_cast<std::uint32_t>(RecordId::Thread)}, 1, 0};
        std::memcpy(body.data(), &thread, sizeof thread);
        const RecordHeader bad{size, 0};
        std::memcpy(body.data() + sizeof thread, &bad, sizeof bad);
        SetFileBytes(WithRecords(whole, body));
        Play("a record of " + std::to_string(size) + " bytes");
        EXPECT_THAT(reports, Contains(HasSubstr("found a size of " + std::to_string(size))));
    }
}

} // namespace

} // namespace Data
