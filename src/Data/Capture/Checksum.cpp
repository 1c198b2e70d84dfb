#include "Data/Capture/Checksum.h"

// Compiled in, so that the recorder brings no library of its own for it into the recorded program.
#define XXH_INLINE_ALL
#include <xxhash.h>

#include "Data/Capture/Format.h"

namespace Data {

std::uint64_t ChunkChecksum(const std::uint8_t* chunk, std::size_t storedBytes)
{
    constexpr std::size_t Skipped = offsetof(ChunkHeader, checksum) + sizeof(ChunkHeader::checksum);
    return Checksum(chunk + Skipped, sizeof(ChunkHeader) - Skipped + storedBytes);
}

std::uint64_t Checksum(const void* data, std::size_t bytes)
{
    return XXH3_64bits(data, bytes);
}

} // namespace Data
