#include <csignal>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include "Data/Records/RecordWalk.h"
#include "support/TestCapture.h"

namespace Data {

namespace {

using ::testing::HasSubstr;

class CaptureWriterTest : public CaptureTest {
protected:
    std::uint8_t* BeginVertices(std::uint32_t bytes)
    {
        VertexAttribDataRecord fields{};
        fields.size = 4;
        fields.type = 0x1401;
        fields.stride = 4;
        fields.count = bytes / 4;
        return writer->BeginVertexAttribData(fields, bytes);
    }
    std::unique_ptr<CaptureSource> OpenSource()
    {
        auto source = CaptureSource::Open(path, openError);
        EXPECT_NE(source, nullptr) << openError;
        return source;
    }
};

/// The reader forgets vertices at the end of a chunk, so the draw must be in the same one, wherever the chunk is full.
TEST_F(CaptureWriterTest, VertexDataStaysInTheChunkOfItsDraw)
{
    constexpr std::uint32_t Sizes[] = {700'000, 300'000, 100'000, 1'700'004};
    for (int round = 0; round < 40; ++round) {
        for (int attrib = 0; attrib < 2; ++attrib) {
            ASSERT_NE(BeginVertices(Sizes[(round + attrib) % 4]), nullptr);
            writer->End();
        }
        Call(CallId::glDrawArrays, 4, 0, 3);
    }
    Finish();
    const auto source = OpenSource();
    Diagnostics diagnostics(path, nullptr);
    std::vector<std::uint64_t> vertices;
    int draws = 0;
    EXPECT_TRUE(WalkRecords(*source, diagnostics, [&](const RecordCursor& record) {
        if (record.Is(RecordId::VertexAttribData)) {
            vertices.push_back(diagnostics.position.chunkOffset);
        } else if (record.Header().id < callCount) {
            EXPECT_EQ(vertices, std::vector<std::uint64_t>(2, diagnostics.position.chunkOffset));
            vertices.clear();
            ++draws;
        }
    }));
    EXPECT_EQ(draws, 40);
    EXPECT_GT(source->Chunks().size(), 10u);
}

TEST_F(CaptureWriterTest, AFullDiskStopsRecordingAndIsReported)
{
    std::string error;
    EXPECT_EQ(CaptureWriter::Create(folder.File("none/x.glcap"), header, error), nullptr);
    EXPECT_THAT(error, HasSubstr("/none/x.glcap: cannot create the file: No such file"));
    EXPECT_EQ(CaptureWriter::Create("/dev/full", header, error), nullptr);
    EXPECT_THAT(error, HasSubstr("/dev/full: cannot write: No space left"));

    // A disk that has room for what was written so far.
    rlimit unlimited;
    getrlimit(RLIMIT_FSIZE, &unlimited);
    const rlimit full{std::filesystem::file_size(path), unlimited.rlim_max};
    std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &full);
    bool hasRoom = true;
    for (int wait = 0; wait < 500 && hasRoom; ++wait, usleep(10'000)) {
        hasRoom = BeginVertices(1 << 20) != nullptr;
        if (hasRoom)
            writer->End();
    }
    EXPECT_FALSE(hasRoom);
    EXPECT_FALSE(writer->Finish(error));
    setrlimit(RLIMIT_FSIZE, &unlimited);
    EXPECT_THAT(error, HasSubstr(path + ": cannot write: File too large"));
}

/// The descriptor is not ours to write to any more when the program has closed it and opened a file of its own.
TEST_F(CaptureWriterTest, AFileOfTheProgramIsNeverWrittenTo)
{
    Call(CallId::glClear, 1);
    const std::string own = folder.File("own.txt");
    std::ofstream(own) << "mine";
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        if (std::filesystem::read_symlink(entry, gone) == path) {
            const int descriptor = std::stoi(entry.path().filename());
            const int other = open(own.c_str(), O_RDWR);
            ASSERT_EQ(dup2(other, descriptor), descriptor);
            close(other);
        }
    }
    std::string error;
    EXPECT_FALSE(writer->Finish(error));
    EXPECT_THAT(error, HasSubstr("the program closed the capture's descriptor"));
    EXPECT_EQ(std::filesystem::file_size(own), 4u);
}

} // namespace

} // namespace Data
