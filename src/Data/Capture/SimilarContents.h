// Finds contents that come again in a chunk, changed a little.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "Data/Capture/Format.h"

namespace Data {

/// Puts the difference in the place of contents that are much like earlier ones in the chunk, as those of a buffer that
/// is written anew for each frame: most of it is zeros. ChunkPacker stores such chunks.
///
/// Not thread-safe. May throw std::bad_alloc, and nothing is lost then.
class SimilarContents {
public:
    /// Records from this size on are looked at.
    static constexpr std::uint32_t LeastBytes = 4096;

    /// Forgets what was in the chunk in front. Answers the differences in that, in the order of their places.
    std::vector<Difference> EndChunk();
    /// Copies a record of at least LeastBytes to `at`, a place in the chunk that begins at `chunk`.
    void Copy(const std::uint8_t* record, std::uint8_t* at, const std::uint8_t* chunk);
    /// Bytes of records that were copied to the chunk.
    [[nodiscard]] std::uint64_t Bytes() const { return m_bytes; }

private:
    struct Earlier {
        RecordHeader record = {};
        /// Of its contents in the chunk.
        std::uint32_t at = 0;
        /// Its contents, where the chunk has their difference; empty where it has themselves.
        std::vector<std::uint8_t> contents;

        [[nodiscard]] const std::uint8_t* Contents(const std::uint8_t* chunk) const
        {
            return contents.empty() ? chunk + at : contents.data();
        }
    };

    [[nodiscard]] const Earlier* Find(const RecordHeader& header, const std::uint8_t* contents,
                                      const std::uint8_t* chunk) const;

    /// The latest ones of the chunk: the next takes the place of the oldest.
    std::array<Earlier, 8> m_earlier;
    /// How many there were in this chunk.
    std::size_t m_count = 0;
    std::vector<Difference> m_differences;
    std::uint64_t m_bytes = 0;
};

} // namespace Data
