#include "Data/Capture/ChunkPacker.h"

#include <algorithm>
#include <cstring>
#include <new>

#include <lz4.h>
#include <zstd.h>

#include "Data/Capture/ExclusiveOr.h"

namespace Data {
namespace {

/// Of zstd. Contents take a second for a gigabyte on level 1, and higher ones save little. Where calls are among them
/// a level below 0 takes two thirds of the time.
constexpr int ContentsLevel = 1;
constexpr int CallsLevel = -2;
/// Differences are long rows of zeros and of what comes again, which LZ4 passes over at several gigabytes a second and
/// zstd does not. What it leaves is for zstd.
constexpr int DifferencesAcceleration = 1;
/// What is left of calls is mostly new. Above 1 LZ4 looks at fewer places.
constexpr int WordsAcceleration = 4;

/// In the order of their places, apart, and each behind what it is the difference from: so all of them together are no
/// longer than the chunk.
bool AreSound(std::span<const Difference> differences, std::size_t chunkBytes)
{
    std::uint64_t end = 0;
    for (const Difference& one : differences) {
        const bool isAligned = one.at % 8 == 0 && one.from % 8 == 0 && one.bytes % 8 == 0 && one.bytes > 0;
        const std::uint64_t fromEnd = std::uint64_t{one.from} + one.bytes;
        if (!isAligned || one.at < end || fromEnd > one.at)
            return false;
        end = std::uint64_t{one.at} + one.bytes;
    }
    return end <= chunkBytes;
}

/// Most that a packed chunk takes in front of zstd.
std::size_t MostPackedBytes(std::size_t chunkBytes, std::size_t differences)
{
    return sizeof(PackedHeader) + differences * sizeof(Difference) +
           static_cast<std::size_t>(LZ4_compressBound(static_cast<int>(chunkBytes)));
}

} // namespace

void ChunkPacker::Free::operator()(ZSTD_CCtx_s* compressor) const
{
    ZSTD_freeCCtx(compressor);
}

ChunkPacker::ChunkPacker() : m_compressor(ZSTD_createCCtx())
{
    if (!m_compressor)
        throw std::bad_alloc();
}

ChunkPacker::~ChunkPacker() = default;

void ChunkPacker::Undo(std::span<const Difference> differences, std::uint8_t* chunk)
{
    for (const Difference& one : differences)
        ExclusiveOr(chunk + one.at, chunk + one.from, chunk + one.at, one.bytes);
}

ChunkPacker::Body ChunkPacker::Pack(const Chunk& chunk, Scratch& stored, std::size_t offset)
{
    const bool isPacked = !chunk.differences.empty();
    const bool isRepeated = chunk.kind == ChunkKind::Records && !chunk.isContents && !isPacked;
    const std::span<const std::uint8_t> packed = isPacked ? PackRecords(chunk.bytes, chunk.differences) : chunk.bytes;
    const std::size_t room = std::max(ZSTD_compressBound(packed.size()), chunk.bytes.size());
    std::uint8_t* const body = stored.Take(offset + room) + offset;
    if (isRepeated)
        if (const Body repeated = PackRepeated(chunk, body); repeated.bytes > 0)
            return repeated;
    const std::size_t bytes = ZSTD_compressCCtx(m_compressor.get(), body, room, packed.data(), packed.size(),
                                                chunk.isContents ? ContentsLevel : CallsLevel);
    if (!ZSTD_isError(bytes) && bytes < chunk.bytes.size())
        return {isPacked ? ChunkKind::PackedRecords : chunk.kind, bytes};
    Undo(chunk.differences, chunk.bytes.data());
    if (!chunk.bytes.empty())
        std::memcpy(body, chunk.bytes.data(), chunk.bytes.size());
    return {chunk.kind, chunk.bytes.size()};
}

/// Of no bytes where the body became no smaller.
ChunkPacker::Body ChunkPacker::PackRepeated(const Chunk& chunk, std::uint8_t* body)
{
    const RepeatedWords::ShortForm form = m_repeated.Shorten(chunk.bytes);
    const RepeatedHeader header = {static_cast<std::uint32_t>(form.bytes.size()), form.others};
    if (chunk.bytes.size() < sizeof header)
        return {chunk.kind, 0};
    std::memcpy(body, &header, sizeof header);
    const int bytes = LZ4_compress_fast(
        reinterpret_cast<const char*>(form.bytes.data()), reinterpret_cast<char*>(body + sizeof header),
        static_cast<int>(form.bytes.size()), static_cast<int>(chunk.bytes.size() - sizeof header), WordsAcceleration);
    return {ChunkKind::RepeatedRecords, bytes > 0 ? sizeof header + static_cast<std::size_t>(bytes) : 0};
}

std::span<const std::uint8_t> ChunkPacker::PackRecords(std::span<const std::uint8_t> chunk,
                                                       std::span<const Difference> differences)
{
    const PackedHeader header = {static_cast<std::uint32_t>(differences.size()), 0};
    const std::size_t room = MostPackedBytes(chunk.size(), differences.size());
    std::uint8_t* const packed = m_packed.Take(room);
    std::memcpy(packed, &header, sizeof header);
    std::memcpy(packed + sizeof header, differences.data(), differences.size_bytes());
    const std::size_t front = sizeof header + differences.size_bytes();
    const int bytes =
        LZ4_compress_fast(reinterpret_cast<const char*>(chunk.data()), reinterpret_cast<char*>(packed + front),
                          static_cast<int>(chunk.size()), static_cast<int>(room - front), DifferencesAcceleration);
    return {packed, front + static_cast<std::size_t>(bytes)};
}

void ChunkUnpacker::Free::operator()(ZSTD_DCtx_s* decompressor) const
{
    ZSTD_freeDCtx(decompressor);
}

ChunkUnpacker::ChunkUnpacker() : m_decompressor(ZSTD_createDCtx()) {}

ChunkUnpacker::~ChunkUnpacker() = default;

std::string ChunkUnpacker::Unpack(std::span<const std::uint8_t> stored, ChunkKind kind, std::span<std::uint8_t> chunk)
{
    if (kind == ChunkKind::RepeatedRecords)
        return UnpackRepeated(stored, chunk);
    const bool isPacked = kind == ChunkKind::PackedRecords;
    if (!isPacked && stored.size() == chunk.size()) {
        if (!chunk.empty())
            std::memcpy(chunk.data(), stored.data(), chunk.size());
        return {};
    }
    std::span<std::uint8_t> to = chunk;
    if (isPacked) {
        const std::uint64_t announced = ZSTD_getFrameContentSize(stored.data(), stored.size());
        if (announced > MostPackedBytes(chunk.size(), chunk.size() / 8))
            return "it is no packed chunk of " + std::to_string(chunk.size()) + " bytes";
        to = {m_packed.Take(announced), static_cast<std::size_t>(announced)};
    }
    const std::size_t bytes =
        ZSTD_decompressDCtx(m_decompressor.get(), to.data(), to.size(), stored.data(), stored.size());
    if (ZSTD_isError(bytes) || bytes != to.size())
        return "it cannot be decompressed to " + std::to_string(to.size()) + " bytes";
    return isPacked ? UnpackRecords(to, chunk) : std::string();
}

std::string ChunkUnpacker::UnpackRepeated(std::span<const std::uint8_t> stored, std::span<std::uint8_t> chunk)
{
    RepeatedHeader header = {};
    if (stored.size() >= sizeof header)
        std::memcpy(&header, stored.data(), sizeof header);
    if (header.bytes == 0 || header.bytes > RepeatedWords::MostBytes(chunk.size()))
        return "it has no repeated words of " + std::to_string(chunk.size()) + " bytes";
    std::uint8_t* const words = m_packed.Take(header.bytes);
    const std::span<const std::uint8_t> block = stored.subspan(sizeof header);
    const int bytes = LZ4_decompress_safe(reinterpret_cast<const char*>(block.data()), reinterpret_cast<char*>(words),
                                          static_cast<int>(block.size()), static_cast<int>(header.bytes));
    if (bytes < 0 || static_cast<std::uint32_t>(bytes) != header.bytes)
        return "it cannot be unpacked to " + std::to_string(header.bytes) + " bytes";
    if (!RepeatedWords::Restore({{words, header.bytes}, header.others}, chunk))
        return "its repeated words do not fill " + std::to_string(chunk.size()) + " bytes";
    return {};
}

std::string ChunkUnpacker::UnpackRecords(std::span<const std::uint8_t> packed, std::span<std::uint8_t> chunk)
{
    PackedHeader header = {};
    if (packed.size() < sizeof header)
        return "it is no packed chunk";
    std::memcpy(&header, packed.data(), sizeof header);
    const std::uint64_t front = sizeof header + std::uint64_t{header.differences} * sizeof(Difference);
    if (front > packed.size())
        return "it has no room for its " + std::to_string(header.differences) + " differences";
    std::vector<Difference> differences(header.differences);
    if (!differences.empty())
        std::memcpy(differences.data(), packed.data() + sizeof header, differences.size() * sizeof(Difference));
    if (!AreSound(differences, chunk.size()))
        return "its differences do not lie one after the other";
    const std::span<const std::uint8_t> block = packed.subspan(front);
    const int bytes =
        LZ4_decompress_safe(reinterpret_cast<const char*>(block.data()), reinterpret_cast<char*>(chunk.data()),
                            static_cast<int>(block.size()), static_cast<int>(chunk.size()));
    if (bytes < 0 || static_cast<std::size_t>(bytes) != chunk.size())
        return "it cannot be unpacked to " + std::to_string(chunk.size()) + " bytes";
    ChunkPacker::Undo(differences, chunk.data());
    return {};
}

} // namespace Data
