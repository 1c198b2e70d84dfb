#include "Data/Capture/SimilarContents.h"

#include <cstring>
#include <utility>

#include "Data/Capture/ExclusiveOr.h"

namespace Data {
namespace {

/// Arguments, which are at the beginning of a record, are left as they are: they are read before a chunk is packed.
constexpr std::uint32_t ArgumentBytes = 256;
/// Words that are compared in two contents, and how many of them are equal in similar ones.
constexpr std::uint32_t ComparedWords = 64;
constexpr std::uint32_t SimilarWords = ComparedWords / 2;
/// Memory that is kept from one chunk to the next.
constexpr std::size_t MaxKeptBytes = 8u << 20;

std::uint32_t WordAt(const std::uint8_t* at)
{
    std::uint32_t word = 0;
    std::memcpy(&word, at, sizeof word);
    return word;
}

/// How many of ComparedWords are equal. Their distances vary, so that elements of no size have only one component
/// compared.
std::uint32_t EqualWords(const std::uint8_t* one, const std::uint8_t* other, std::uint32_t bytes)
{
    constexpr std::uint32_t Variations = 7;
    const std::uint32_t step = bytes / ComparedWords / 4 * 4;
    std::uint32_t equal = 0;
    for (std::uint32_t i = 0; i < ComparedWords; ++i) {
        const std::uint32_t at = i * step + i % Variations * 4;
        equal += WordAt(one + at) == WordAt(other + at) ? 1 : 0;
    }
    return equal;
}
static_assert((SimilarContents::LeastBytes - ArgumentBytes) / ComparedWords >= 32, "words vary within their step");

} // namespace

std::vector<Difference> SimilarContents::EndChunk()
{
    std::size_t kept = 0;
    for (Earlier& earlier : m_earlier) {
        earlier.contents.clear();
        kept += earlier.contents.capacity();
        if (kept > MaxKeptBytes)
            earlier.contents = {};
    }
    m_count = 0;
    m_bytes = 0;
    return std::exchange(m_differences, {});
}

void SimilarContents::Copy(const std::uint8_t* record, std::uint8_t* at, const std::uint8_t* chunk)
{
    RecordHeader header;
    std::memcpy(&header, record, sizeof header);
    const std::uint32_t bytes = header.bytes - ArgumentBytes;
    const std::uint8_t* const contents = record + ArgumentBytes;
    std::uint8_t* const to = at + ArgumentBytes;
    const auto place = static_cast<std::uint32_t>(to - chunk);
    const Earlier* const earlier = Find(header, contents, chunk);
    Earlier& own = m_earlier[m_count % m_earlier.size()];
    if (earlier) {
        // What takes memory comes first: after that nothing fails.
        m_differences.reserve(ChunkBytes / LeastBytes);
        own.contents.assign(contents, contents + bytes);
        ExclusiveOr(contents, earlier->Contents(chunk), to, bytes);
        m_differences.push_back({place, earlier->at, bytes});
    } else {
        own.contents.clear();
        std::memcpy(to, contents, bytes);
    }
    std::memcpy(at, record, ArgumentBytes);
    own.record = header;
    own.at = place;
    m_bytes += header.bytes;
    ++m_count;
}

const SimilarContents::Earlier* SimilarContents::Find(const RecordHeader& header, const std::uint8_t* contents,
                                                      const std::uint8_t* chunk) const
{
    const Earlier* best = nullptr;
    std::uint32_t mostEqual = SimilarWords - 1;
    // The oldest one is left out, as this one takes its place.
    for (std::size_t back = 1; back < m_earlier.size() && back <= m_count; ++back) {
        const Earlier& earlier = m_earlier[(m_count - back) % m_earlier.size()];
        if (earlier.record.id != header.id || earlier.record.bytes != header.bytes)
            continue;
        const std::uint32_t equal = EqualWords(contents, earlier.Contents(chunk), header.bytes - ArgumentBytes);
        if (equal > mostEqual) {
            mostEqual = equal;
            best = &earlier;
        }
    }
    return best;
}

} // namespace Data
