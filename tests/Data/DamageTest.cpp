#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "TouchingAdapters.h"
#include "support/TestCapture.h"

namespace Data {

namespace {

using ::testing::Contains;
using ::testing::HasSubstr;

/// A small capture of several chunks, damaged in every place.
class DamageTest : public CaptureTest {
protected:
    static constexpr std::uint32_t wholeFrames = 6;

    DamageTest()
    {
        for (std::uint32_t frame = 0; frame < wholeFrames; ++frame) {
            Call(CallId::glClear, 16384);
            Call(CallId::glUniform4fv, 0, 1, std::vector<float>{1, 2, 3, 4});
            Call(CallId::glShaderSource, 1, 1, std::vector<std::string>{"void main(){}"}, 0);
            writer->FrameEnd();
            if (frame % 2 == 1)
                writer->Flush();
        }
        Finish();
        whole = FileBytes();
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

    std::vector<std::uint8_t> whole;
    std::uint32_t frames = 0;
};

TEST_F(DamageTest, AnyTruncationIsReportedAndLosesOnlyTheTail)
{
    std::uint32_t longer = wholeFrames;
    for (std::size_t bytes = whole.size(); bytes-- > 0;) {
        std::filesystem::resize_file(path, bytes);
        Play("cut after " + std::to_string(bytes) + " bytes");
        EXPECT_LE(frames, longer) << "a shorter part has not more frames";
        if (bytes == whole.size() - 1) {
            EXPECT_EQ(frames, wholeFrames) << "without its index the capture still has all of them";
        }
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
        Play("byte " + std::to_string(at) + " flipped");
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
    EXPECT_THAT(refusal(later), HasSubstr("format version 99, this program reads up to 1"));
    std::filesystem::remove(path);
    EXPECT_EQ(Open(), nullptr);
    EXPECT_THAT(openError, HasSubstr("No such file"));
    path = folder.Path();
    EXPECT_EQ(Open(), nullptr);
    EXPECT_THAT(openError, HasSubstr("is not a file"));
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
