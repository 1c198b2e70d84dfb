#include "Data/Capture/RepeatedWords.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

namespace Data {
namespace {

constexpr std::uint64_t WordBytes = 8;
/// Of a token: it gives a distance; the number of other words, and of repeated ones, unless more bytes follow.
constexpr unsigned GivesDistance = 0x80;
constexpr unsigned OthersShift = 4;
constexpr std::uint32_t MostOthers = 7;
constexpr std::uint32_t MostRepeated = 15;
/// More follows in the next byte.
constexpr std::uint32_t MostInByte = 255;
/// Another place is looked for at the first other word, and again once so many came.
constexpr std::uint32_t LostWords = 8;
/// A distance is kept for the tokens that follow when so many words repeat.
constexpr std::uint32_t LastingWords = 32;
/// Fewer words are not worth a distance, and fewer at the distance at hand no token.
constexpr std::uint32_t LeastDistant = 3;
constexpr std::uint32_t LeastRepeated = 2;

std::uint64_t WordAt(const std::uint8_t* chunk, std::uint64_t word)
{
    std::uint64_t value;
    std::memcpy(&value, chunk + word * WordBytes, sizeof value);
    return value;
}

std::uint32_t PlaceOf(std::uint64_t first, std::uint64_t second, std::size_t places)
{
    constexpr std::uint64_t Odd = 0x9E3779B97F4A7C15; // 2^64 over the golden ratio
    const std::uint64_t mixed = (first * Odd + std::rotl(second * Odd, 32)) * Odd;
    return static_cast<std::uint32_t>(mixed >> (64 - std::countr_zero(places)));
}

/// Words from `at` on, up to `end`, that are those from `earlier` on.
std::uint32_t Same(const std::uint8_t* at, const std::uint8_t* earlier, const std::uint8_t* end)
{
    const std::uint8_t* const begin = at;
    for (; end - at >= 32; at += 32, earlier += 32)
        if (((WordAt(at, 0) ^ WordAt(earlier, 0)) | (WordAt(at, 1) ^ WordAt(earlier, 1)) |
             (WordAt(at, 2) ^ WordAt(earlier, 2)) | (WordAt(at, 3) ^ WordAt(earlier, 3))) != 0)
            break;
    for (; at < end && WordAt(at, 0) == WordAt(earlier, 0); at += WordBytes)
        earlier += WordBytes;
    return static_cast<std::uint32_t>(static_cast<std::uint64_t>(at - begin) / WordBytes);
}

std::uint8_t* PutLength(std::uint8_t* to, std::uint32_t length)
{
    for (; length >= MostInByte; length -= MostInByte)
        *to++ = MostInByte;
    *to++ = static_cast<std::uint8_t>(length);
    return to;
}

/// A distance of 0 is the one at hand.
std::uint8_t* PutToken(std::uint8_t* to, std::uint32_t others, std::uint32_t repeated, std::uint32_t distance)
{
    const unsigned inToken = std::min(others, MostOthers) << OthersShift | std::min(repeated, MostRepeated);
    *to++ = static_cast<std::uint8_t>(inToken | (distance != 0 ? GivesDistance : 0));
    if (others >= MostOthers)
        to = PutLength(to, others - MostOthers);
    if (repeated >= MostRepeated)
        to = PutLength(to, repeated - MostRepeated);
    if (distance != 0) {
        std::memcpy(to, &distance, sizeof distance);
        to += sizeof distance;
    }
    return to;
}

/// Reads tokens; says that there is nothing where there is not enough.
class TokenReader {
public:
    explicit TokenReader(std::span<const std::uint8_t> tokens) : m_tokens(tokens) {}

    [[nodiscard]] bool IsAtEnd() const { return m_at == m_tokens.size(); }
    std::uint32_t Byte() { return IsAtEnd() ? 0 : m_tokens[m_at++]; }

    /// `most` in the token says that more follows.
    std::uint64_t Length(std::uint32_t inToken, std::uint32_t most)
    {
        std::uint64_t length = inToken;
        for (std::uint32_t more = inToken == most ? MostInByte : 0; more == MostInByte;)
            length += more = Byte();
        return length;
    }

    std::uint32_t Distance()
    {
        std::uint32_t distance = 0;
        if (m_tokens.size() - m_at < sizeof distance)
            return 0;
        std::memcpy(&distance, &m_tokens[m_at], sizeof distance);
        m_at += sizeof distance;
        return distance;
    }

private:
    std::span<const std::uint8_t> m_tokens;
    std::size_t m_at = 0;
};

/// The words may overlap those that they repeat.
void Repeat(std::uint8_t* at, std::uint64_t distance, std::uint64_t bytes)
{
    if (distance >= bytes) {
        std::memcpy(at, at - distance, bytes);
        return;
    }
    for (std::uint64_t i = 0; i < bytes; i += WordBytes)
        std::memcpy(at + i, at + i - distance, WordBytes);
}

} // namespace

RepeatedWords::ShortForm RepeatedWords::Shorten(std::span<const std::uint8_t> chunk)
{
    std::uint8_t* const form = m_form.Take(MostBytes(chunk.size()));
    std::uint8_t* const tokens = m_tokens.Take(chunk.size() + WordBytes);
    m_places.fill(0);
    const std::uint8_t* const begin = chunk.data();
    const std::uint8_t* const end = begin + chunk.size();
    std::uint8_t* other = form;
    std::uint8_t* token = tokens;
    std::uint32_t distance = 0;
    std::uint32_t others = 0;
    for (const std::uint8_t* at = begin; at < end;) {
        if (distance != 0) {
            const std::uint32_t same = Same(at, at - distance * WordBytes, end);
            if (same >= LeastRepeated) {
                token = PutToken(token, std::exchange(others, 0), same, 0);
                at += same * WordBytes;
                if (at == end)
                    break;
            }
        }
        const std::uint64_t word = WordAt(at, 0);
        if (end - at >= 16 && (others == 0 || others >= LostWords)) {
            const auto number = static_cast<std::uint32_t>(static_cast<std::uint64_t>(at - begin) / WordBytes);
            std::uint32_t& place = m_places[PlaceOf(word, WordAt(at, 1), m_places.size())];
            const std::uint32_t given = place == 0 ? 0 : number + 1 - place;
            place = number + 1;
            const std::uint8_t* const earlier = at - given * WordBytes;
            if (given != 0 && given != distance && WordAt(earlier, 0) == word) {
                const std::uint32_t same = Same(at, earlier, end);
                if (same >= LeastDistant) {
                    token = PutToken(token, std::exchange(others, 0), same, given);
                    at += same * WordBytes;
                    distance = same >= LastingWords ? given : distance;
                    continue;
                }
            }
        }
        std::memcpy(other, &word, WordBytes);
        other += WordBytes;
        at += WordBytes;
        ++others;
    }
    token = PutToken(token, others, 0, 0);
    const auto count = static_cast<std::uint32_t>(static_cast<std::uint64_t>(other - form) / WordBytes);
    std::memcpy(other, tokens, static_cast<std::size_t>(token - tokens));
    other += token - tokens;
    return {{form, other}, count};
}

bool RepeatedWords::Restore(const ShortForm& form, std::span<std::uint8_t> chunk)
{
    std::uint64_t othersLeft = form.others * WordBytes;
    if (othersLeft > form.bytes.size() || chunk.size() % WordBytes != 0)
        return false;
    TokenReader tokens(form.bytes.subspan(othersLeft));
    const std::uint8_t* other = form.bytes.data();
    std::uint8_t* at = chunk.data();
    std::uint8_t* const end = at + chunk.size();
    std::uint64_t distance = 0;
    while (!tokens.IsAtEnd()) {
        const std::uint32_t token = tokens.Byte();
        const std::uint64_t others = tokens.Length(token >> OthersShift & MostOthers, MostOthers) * WordBytes;
        const std::uint64_t repeated = tokens.Length(token & MostRepeated, MostRepeated) * WordBytes;
        const std::uint64_t given = (token & GivesDistance) != 0 ? tokens.Distance() * WordBytes : distance;
        const auto room = static_cast<std::uint64_t>(end - at);
        if (others > othersLeft || others > room || repeated > room - others)
            return false;
        if (others != 0)
            std::memcpy(at, other, others);
        at += others;
        other += others;
        othersLeft -= others;
        if (repeated != 0) {
            if (given == 0 || given > static_cast<std::uint64_t>(at - chunk.data()))
                return false;
            Repeat(at, given, repeated);
            at += repeated;
            distance = repeated >= LastingWords * WordBytes ? given : distance;
        }
    }
    return at == end && othersLeft == 0;
}

} // namespace Data
