// How the bytes of chunks are stored: docs/capture-format.md.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "Data/Capture/Format.h"
#include "Data/Capture/RepeatedWords.h"
#include "Data/Capture/Scratch.h"

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

    struct Chunk {
        std::span<std::uint8_t> bytes;
        /// CallTable, Records, Index or Summary.
        ChunkKind kind;
        /// Of records: contents of buffers, textures and the like are more of it than calls.
        bool isContents;
        std::vector<Difference> differences;
    };
    struct Body {
        /// That of the chunk, or one that stands for Records.
        ChunkKind kind;
        std::size_t bytes;
    };
    /// Puts the body of a chunk at `offset` in `stored`. Where it became no smaller, it is the
    /// chunk, and the differences are undone.
    Body Pack(const Chunk& chunk, Scratch& stored, std::size_t offset);

private:
    [[nodiscard]] Body PackRepeated(const Chunk& chunk, std::uint8_t* body);
    [[nodiscard]] std::span<const std::uint8_t> PackRecords(std::span<const std::uint8_t> chunk,
                                                            std::span<const Difference> differences);

    struct Free {
        void operator()(ZSTD_CCtx_s* compressor) const;
    };
    std::unique_ptr<ZSTD_CCtx_s, Free> m_compressor;
    Scratch m_packed;
    RepeatedWords m_repeated;
};

/// Unpacks chunks. Nothing in them is believed. Not thread-safe.
class ChunkUnpacker {
public:
    ChunkUnpacker();
    ~ChunkUnpacker();
    ChunkUnpacker(const ChunkUnpacker&) = delete;
    ChunkUnpacker& operator=(const ChunkUnpacker&) = delete;

    /// Fills `chunk`, all of it, from a stored body. Empty when that went well, else what is wrong with the body.
    std::string Unpack(std::span<const std::uint8_t> stored, ChunkKind kind, std::span<std::uint8_t> chunk);

    /// The same of a body of PackedRecords once zstd is taken off.
    static std::string UnpackRecords(std::span<const std::uint8_t> packed, std::span<std::uint8_t> chunk);

private:
    std::string UnpackRepeated(std::span<const std::uint8_t> stored, std::span<std::uint8_t> chunk);

    struct Free {
        void operator()(ZSTD_DCtx_s* decompressor) const;
    };
    std::unique_ptr<ZSTD_DCtx_s, Free> m_decompressor;
    Scratch m_packed;
};

} // namespace Data
