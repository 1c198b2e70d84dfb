// How the bytes of chunks are stored: docs/capture-format.md.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "Data/Capture/Format.h"

struct ZSTD_CCtx_s;
struct ZSTD_DCtx_s;

namespace Data {

/// Packs chunks. Not thread-safe. May throw std::bad_alloc.
class ChunkPacker {
public:
    /// Puts contents back in the place of differences, in their order.
    static void Undo(std::span<const Difference> differences, std::uint8_t* chunk);

    ChunkPacker();
    ~ChunkPacker();
    ChunkPacker(const ChunkPacker&) = delete;
    ChunkPacker& operator=(const ChunkPacker&) = delete;

    /// Puts the body of a chunk at `offset` in `stored`, which grows as needed, and answers its bytes. `level` is
    /// zstd's. With differences it is one of PackedRecords, unless it became no smaller: the differences are then
    /// undone, and none is left.
    std::size_t Pack(std::span<std::uint8_t> chunk, std::vector<Difference>& differences, int level,
                     std::vector<std::uint8_t>& stored, std::size_t offset);

private:
    [[nodiscard]] std::span<const std::uint8_t> PackRecords(std::span<const std::uint8_t> chunk,
                                                            std::span<const Difference> differences);

    struct Free {
        void operator()(ZSTD_CCtx_s* compressor) const;
    };
    std::unique_ptr<ZSTD_CCtx_s, Free> m_compressor;
    std::vector<std::uint8_t> m_packed;
};

/// Unpacks chunks. Nothing in them is believed. Not thread-safe.
class ChunkUnpacker {
public:
    ChunkUnpacker();
    ~ChunkUnpacker();
    ChunkUnpacker(const ChunkUnpacker&) = delete;
    ChunkUnpacker& operator=(const ChunkUnpacker&) = delete;

    /// Fills `chunk`, all of it, from a stored body. Empty when that went well, else what is wrong with the body.
    std::string Unpack(std::span<const std::uint8_t> stored, bool isPacked, std::span<std::uint8_t> chunk);

    /// The same of a packed body once zstd is taken off.
    static std::string UnpackRecords(std::span<const std::uint8_t> packed, std::span<std::uint8_t> chunk);

private:
    struct Free {
        void operator()(ZSTD_DCtx_s* decompressor) const;
    };
    std::unique_ptr<ZSTD_DCtx_s, Free> m_decompressor;
    std::vector<std::uint8_t> m_packed;
};

} // namespace Data
