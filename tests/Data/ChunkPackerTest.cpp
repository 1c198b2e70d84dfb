#include <algorithm>
#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <zstd.h>

#include "Data/Records/RecordWalk.h"
#include "support/TestCapture.h"

namespace Data {

namespace {

using ::testing::HasSubstr;

/// Two buffers, written anew for each frame: of each element one component in three changes.
class SimilarContentsTest : public CaptureTest {
protected:
    static constexpr std::uint32_t Frames = 20;
    static constexpr std::uint32_t Elements = 30'000;

    /// A record of each of the buffers for a frame.
    static std::vector<std::vector<std::uint8_t>> Records(std::uint32_t frame, std::mt19937& random)
    {
        std::vector<std::vector<std::uint8_t>> records;
        for (std::uint32_t buffer = 0; buffer < 2; ++buffer) {
            std::vector<std::uint32_t> words(3 * Elements);
            for (std::uint32_t i = 0; i < Elements; ++i) {
                words[3 * i] = (i * 2654435761u) ^ buffer;
                words[3 * i + 1] = i * 40503u + buffer;
                words[3 * i + 2] = frame * 977 + i / 100;
            }
            // Bytes that zstd cannot do without.
            words[random() % words.size()] = random();
            std::vector<std::uint8_t> contents(words.size() * 4);
            std::memcpy(contents.data(), words.data(), contents.size());
            CallRecord call(CallId::glBufferData, 0x8892, contents.size(), contents, 0x88E4);
            const RecordHeader header{static_cast<std::uint32_t>(call.bytes.size()), call.id};
            std::memcpy(call.bytes.data(), &header, sizeof header);
            records.push_back(std::move(call.bytes));
        }
        return records;
    }

    /// All records but those of threads are these. Answers the number of chunks.
    std::size_t ExpectToRead(const std::vector<std::vector<std::uint8_t>>& written)
    {
        const auto source = CaptureSource::Open(path, openError);
        EXPECT_NE(source, nullptr) << openError;
        Diagnostics diagnostics(path, nullptr);
        std::size_t read = 0;
        EXPECT_TRUE(WalkRecords(*source, diagnostics, [&](const RecordCursor& record) {
            if (record.Is(RecordId::Thread) || record.Is(RecordId::FrameEnd))
                return;
            const std::vector<std::uint8_t>& expected = written.at(read++);
            const bool isSame = record.Bytes().size() == expected.size() &&
                                std::memcmp(record.Bytes().data(), expected.data(), expected.size()) == 0;
            EXPECT_TRUE(isSame) << read;
        }));
        EXPECT_EQ(read, written.size());
        return source->Chunks().size();
    }
};

TEST_F(SimilarContentsTest, AreStoredAsDifferencesAndReadAsTheyWere)
{
    const std::string plainPath = folder.File("plain.glcap");
    const auto plain = CaptureWriter::Create(plainPath, header, openError);
    ASSERT_NE(plain, nullptr) << openError;
    std::mt19937 random(1);
    std::vector<std::vector<std::uint8_t>> written;
    for (std::uint32_t frame = 0; frame < Frames; ++frame) {
        for (std::vector<std::uint8_t>& record : Records(frame, random)) {
            writer->Copy(record.data());
            plain->CopyAll(record.data(), record.size());
            written.push_back(std::move(record));
        }
        writer->FrameEnd();
        plain->FrameEnd();
    }
    Finish();
    ASSERT_TRUE(plain->Finish(openError)) << openError;
    EXPECT_LT(FileBytes().size(), std::filesystem::file_size(plainPath) / 4);
    EXPECT_GT(ExpectToRead(written), 2u);
}

/// Vertices go along to the chunk of their draw, wherever the one at work is full.
TEST_F(SimilarContentsTest, VerticesAreReadAsTheyWereAtTheEndsOfChunks)
{
    std::mt19937 random(3);
    CallRecord draw(CallId::glDrawArrays, 4, 0, 3);
    const RecordHeader drawHeader{static_cast<std::uint32_t>(draw.bytes.size()), draw.id};
    std::memcpy(draw.bytes.data(), &drawHeader, sizeof drawHeader);
    std::vector<std::vector<std::uint8_t>> written;
    for (std::uint32_t frame = 0; frame < Frames; ++frame) {
        for (std::vector<std::uint8_t>& record : Records(frame, random)) {
            const auto id = static_cast<std::uint32_t>(RecordId::VertexAttribData);
            std::memcpy(record.data() + offsetof(RecordHeader, id), &id, sizeof id);
            written.push_back(std::move(record));
        }
        written.push_back(draw.bytes);
    }
    for (const std::vector<std::uint8_t>& record : written)
        writer->Copy(record.data());
    Finish();
    EXPECT_GT(ExpectToRead(written), 2u);
}

/// A body of PackedRecords as a hostile file could have it.
struct PackedBody {
    std::uint32_t announced = 0;
    std::vector<Difference> differences;
    std::vector<std::uint8_t> block;

    [[nodiscard]] std::vector<std::uint8_t> Bytes() const
    {
        const PackedHeader header = {announced, 0};
        std::vector<std::uint8_t> body(sizeof header + differences.size() * sizeof(Difference));
        std::memcpy(body.data(), &header, sizeof header);
        std::memcpy(body.data() + sizeof header, differences.data(), differences.size() * sizeof(Difference));
        body.insert(body.end(), block.begin(), block.end());
        std::vector<std::uint8_t> stored(ZSTD_compressBound(body.size()));
        stored.resize(ZSTD_compress(stored.data(), stored.size(), body.data(), body.size(), 1));
        return stored;
    }
};

TEST(ChunkUnpackerTest, RefusesWhatDoesNotFit)
{
    // An LZ4 block of 64 literals.
    PackedBody sound = {1, {{32, 0, 16}}, {0xF0, 49}};
    for (std::uint8_t i = 0; i < 64; ++i)
        sound.block.push_back(i);
    std::vector<std::uint8_t> chunk(64);
    ChunkUnpacker unpacker;
    EXPECT_EQ(unpacker.Unpack(sound.Bytes(), ChunkKind::PackedRecords, chunk), "");
    EXPECT_EQ(chunk[31], 31);
    EXPECT_EQ(chunk[33], 33 ^ 1);
    EXPECT_EQ(chunk[48], 48);

    const auto trouble = [&](const PackedBody& body) {
        return unpacker.Unpack(body.Bytes(), ChunkKind::PackedRecords, chunk);
    };
    for (const Difference& unsound : {Difference{32, 24, 16},
                                      {32, 40, 8},
                                      {56, 0, 16},
                                      {36, 0, 8},
                                      {32, 4, 8},
                                      {32, 0, 12},
                                      {32, 0, 0},
                                      {0xFFFFFFF8, 0, 8},
                                      {32, 0xFFFFFFF8, 16}}) {
        PackedBody body = sound;
        body.differences = {unsound};
        EXPECT_THAT(trouble(body), HasSubstr("do not lie one after the other")) << unsound.at << ' ' << unsound.from;
    }
    PackedBody body = sound;
    body.announced = 2;
    body.differences = {{32, 0, 16}, {40, 0, 16}};
    EXPECT_THAT(trouble(body), HasSubstr("do not lie one after the other"));
    body.announced = 0x20000000;
    EXPECT_THAT(trouble(body), HasSubstr("no room for its 536870912 differences"));
    body = sound;
    body.block.pop_back();
    EXPECT_THAT(trouble(body), HasSubstr("cannot be unpacked to 64 bytes"));
    body.block.resize(5000);
    EXPECT_THAT(trouble(body), HasSubstr("no packed chunk of 64 bytes"));
    EXPECT_THAT(unpacker.Unpack(std::vector<std::uint8_t>(40), ChunkKind::PackedRecords, chunk),
                HasSubstr("no packed chunk"));
}

/// Frames of small records, most of them those of the frame before: one comes in between now and then, and some change.
std::vector<std::uint64_t> Frames(std::mt19937& random, std::size_t frames)
{
    std::vector<std::uint64_t> words;
    for (std::size_t frame = 0; frame < frames; ++frame) {
        if (random() % 4 == 0)
            words.insert(words.end(), 1 + random() % 300, random() % 3);
        for (std::uint64_t record = 0; record < 40; ++record) {
            words.push_back(record << 32 | 48);
            for (std::uint64_t field = 0; field < 5; ++field)
                words.push_back(record % 8 == 0 ? random() : field * record);
        }
    }
    return words;
}

TEST(RepeatedWordsTest, AreRestored)
{
    std::mt19937 random(4);
    RepeatedWords repeated;
    for (std::size_t frames : {0, 1, 2, 50, 400, 3}) {
        for (std::size_t cut : {0, 1, 2, 7}) {
            std::vector<std::uint64_t> words = Frames(random, frames);
            words.resize(words.size() - std::min(cut, words.size()));
            const std::span<const std::uint8_t> chunk(reinterpret_cast<const std::uint8_t*>(words.data()),
                                                      words.size() * 8);
            const RepeatedWords::ShortForm form = repeated.Shorten(chunk);
            EXPECT_LE(form.bytes.size(), RepeatedWords::MostBytes(chunk.size()));
            EXPECT_TRUE(frames < 50 || form.bytes.size() < chunk.size() / 4) << form.bytes.size();
            std::vector<std::uint8_t> restored(chunk.size(), 0xA5);
            EXPECT_TRUE(RepeatedWords::Restore(form, restored));
            EXPECT_TRUE(std::ranges::equal(restored, chunk)) << frames << ' ' << cut;
        }
    }
}

/// Other words and tokens in short forms as a hostile file could have them: of two words, and a chunk of five.
TEST(RepeatedWordsTest, RefusesWhatDoesNotFillTheChunk)
{
    const auto restores = [](const std::vector<std::uint8_t>& tokens, std::uint32_t others = 2) {
        // Of this very size, so that sanitizers see its end.
        std::vector<std::uint8_t> bytes(16 + tokens.size(), 7);
        std::ranges::copy(tokens, bytes.begin() + 16);
        std::vector<std::uint8_t> chunk(40);
        return RepeatedWords::Restore({bytes, others}, chunk);
    };
    EXPECT_TRUE(restores({0xA3, 2, 0, 0, 0}));
    EXPECT_TRUE(restores({0x20, 0x83, 1, 0, 0, 0}));
    EXPECT_FALSE(restores({}));
    EXPECT_FALSE(restores({0xA2, 2, 0, 0, 0})) << "four words";
    EXPECT_FALSE(restores({0xA4, 2, 0, 0, 0})) << "six words";
    EXPECT_FALSE(restores({0xA3, 3, 0, 0, 0})) << "from in front of the chunk";
    EXPECT_FALSE(restores({0xA3, 0xFF, 0xFF, 0xFF, 0xFF}));
    EXPECT_FALSE(restores({0xA3, 0, 0, 0, 0}));
    EXPECT_FALSE(restores({0x23})) << "no distance at hand";
    EXPECT_FALSE(restores({0xA3, 2, 0, 0})) << "half a distance";
    EXPECT_FALSE(restores({0x93, 1, 0, 0, 0, 0x01})) << "a word is left";
    EXPECT_FALSE(restores({0xB2, 2, 0, 0, 0})) << "three other words of two";
    EXPECT_FALSE(restores({0x70, 255, 255, 255}));
    EXPECT_FALSE(restores({0xAF, 2, 0, 0, 0}));
    EXPECT_FALSE(restores({0xA3, 2, 0, 0, 0}, 3)) << "tokens among the words";
    EXPECT_FALSE(restores({}, 0xFFFFFFFF));
}

/// Random contents become no smaller, and where only half of their words are equal, packing makes them larger.
TEST(ChunkPackerTest, UndoesDifferencesThatDoNotHelp)
{
    std::mt19937 random(2);
    std::vector<std::uint8_t> chunk(1 << 16);
    for (std::uint8_t& byte : chunk)
        byte = static_cast<std::uint8_t>(random());
    const std::vector<std::uint8_t> before = chunk;
    const std::vector<Difference> differences = {{0x8000, 0, 0x4000}};
    ChunkPacker::Undo(differences, chunk.data());
    ChunkPacker packer;
    Scratch stored;
    const ChunkPacker::Body body = packer.Pack({chunk, ChunkKind::Records, true, differences}, stored, 40);
    EXPECT_EQ(body.kind, ChunkKind::Records);
    EXPECT_EQ(body.bytes, chunk.size());
    EXPECT_TRUE(std::equal(before.begin(), before.end(), stored.Take(0) + 40));
}

} // namespace

} // namespace Data
