// The checksum of chunks.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Data {

/// XXH3-64 over a chunk: the header after its checksum field, then `storedBytes` bytes of body. `chunk` points at the
/// header, directly after which the body lies.
std::uint64_t ChunkChecksum(const std::uint8_t* chunk, std::size_t storedBytes);

/// XXH3-64 over any memory.
std::uint64_t Checksum(const void* data, std::size_t bytes);

} // namespace Data
