// The difference of contents, and contents again from it.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>

namespace Data {

/// `to` is filled with the exclusive or of `one` and `other`; it may be one of them. `bytes` is a multiple of 8.
inline void ExclusiveOr(const std::uint8_t* one, const std::uint8_t* other, std::uint8_t* to, std::uint32_t bytes)
{
    // Blocks of local memory, so that compilers see that they are apart from each other.
    const auto step = [&](std::uint32_t at, auto words) {
        auto others = words;
        std::memcpy(words.data(), one + at, sizeof words);
        std::memcpy(others.data(), other + at, sizeof others);
        for (std::size_t i = 0; i < words.size(); ++i)
            words[i] ^= others[i];
        std::memcpy(to + at, words.data(), sizeof words);
    };
    constexpr std::uint32_t BlockBytes = 64;
    std::uint32_t at = 0;
    for (; at + BlockBytes <= bytes; at += BlockBytes)
        step(at, std::array<std::uint64_t, BlockBytes / 8>{});
    for (; at < bytes; at += 8)
        step(at, std::array<std::uint64_t, 1>{});
}

} // namespace Data
