#include "Data/Capture/ChunkPacker.h"

#include <algorithm>
#include <cstring>
#include <new>

#include <lz4.h>
#include <zstd.h>

#include "Data/Capture/ExclusiveOr.h"

namespace Data {
namespace {

/// Differences are long rows of zeros and of what comes again, which LZ4 passes over at several gigabytes a second and
/// zstd does not. What it leaves is for zstd. Above 1 it looks at fewer places, which costs nothing in such rows.
constexpr int Acceleration = 4;

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

/// Memory that is kept is not cleared again for each chunk.
void Grow(std::vector<std::uint8_t>& memory, std::size_t bytes)
{
    if (memory.size() < bytes)
        memory.resize(bytes);
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

std::size_t ChunkPacker::Pack(std::span<std::uint8_t> chunk, std::vector<Difference>& differences, int level,
                              std::vector<std::uint8_t>& stored, std::size_t offset)
{
    const std::span<const std::uint8_t> packed = differences.empty() ? chunk : PackRecords(chunk, differences);
    Grow(stored, offset + std::max(ZSTD_compressBound(packed.size()), chunk.size()));
    std::uint8_t* const body = stored.data() + offset;
    const std::size_t bytes =
        ZSTD_compressCCtx(m_compressor.get(), body, stored.size() - offset, packed.data(), packed.size(), level);
    if (!ZSTD_isError(bytes) && bytes < chunk.size())
        return bytes;
    Undo(differences, chunk.data());
    differences.clear();
    if (!chunk.empty())
        std::memcpy(body, chunk.data(), chunk.size());
    return chunk.size();
}

std::span<const std::uint8_t> ChunkPacker::PackRecords(std::span<const std::uint8_t> chunk,
                                                       std::span<const Difference> differences)
{
    const PackedHeader header = {static_cast<std::uint32_t>(differences.size()), 0};
    Grow(m_packed, MostPackedBytes(chunk.size(), differences.size()));
    std::memcpy(m_packed.data(), &header, sizeof header);
    std::memcpy(m_packed.data() + sizeof header, differences.data(), differences.size_bytes());
    const std::size_t front = sizeof header + differences.size_bytes();
    const int bytes =
        LZ4_compress_fast(reinterpret_cast<const char*>(chunk.data()), reinterpret_cast<char*>(m_packed.data() + front),
                          static_cast<int>(chunk.size()), static_cast<int>(m_packed.size() - front), Acceleration);
    return {m_packed.data(), front + static_cast<std::size_t>(bytes)};
}

void ChunkUnpacker::Free::operator()(ZSTD_DCtx_s* decompressor) const
{
    ZSTD_freeDCtx(decompressor);
}

ChunkUnpacker::ChunkUnpacker() : m_decompressor(ZSTD_createDCtx()) {}

ChunkUnpacker::~ChunkUnpacker() = default;

std::string ChunkUnpacker::Unpack(std::span<const std::uint8_t> stored, bool isPacked, std::span<std::uint8_t> chunk)
{
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
        Grow(m_packed, announced);
        to = {m_packed.data(), static_cast<std::size_t>(announced)};
    }
    const std::size_t bytes =
        ZSTD_decompressDCtx(m_decompressor.get(), to.data(), to.size(), stored.data(), stored.size());
    if (ZSTD_isError(bytes) || bytes != to.size())
        return "it cannot be decompressed to " + std::to_string(to.size()) + " bytes";
    return isPacked ? UnpackRecords(to, chunk) : std::string();
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
