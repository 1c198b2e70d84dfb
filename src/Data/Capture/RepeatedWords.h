// Shortens chunks of calls, whose words were there a frame earlier for the most part: docs/capture-format.md.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "Data/Capture/Scratch.h"

namespace Data {

/// Tells words that were there before from others: in a pass that compares with what lay at one distance before, as the
/// calls of the frame before do, and looks for another place only where that fails.
///
/// Not thread-safe. May throw std::bad_alloc.
class RepeatedWords {
public:
    /// A chunk of whole words of 8 bytes in short form. Valid until the next call.
    struct ShortForm {
        /// Other words, in their order, and then tokens.
        std::span<const std::uint8_t> bytes;
        /// Number of the other words.
        std::uint32_t others;
    };
    ShortForm Shorten(std::span<const std::uint8_t> chunk);

    /// Fills `chunk` from its short form, of which nothing is believed. False when that does not describe the chunk.
    [[nodiscard]] static bool Restore(const ShortForm& form, std::span<std::uint8_t> chunk);

    /// Most bytes that a chunk has in short form.
    static std::uint64_t MostBytes(std::uint64_t chunkBytes) { return chunkBytes * 2 + 16; }

private:
    /// Where pairs of words were seen last, by their hash: number of the first one and 1.
    std::array<std::uint32_t, 1u << 13> m_places;
    Scratch m_form;
    Scratch m_tokens;
};

} // namespace Data
