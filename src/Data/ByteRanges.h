// A set of bytes, as ranges.
#pragma once

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <map>

namespace Data {

/// Which bytes of something are known. Ranges are half open and not empty; neighbours are merged.
class ByteRanges {
public:
    void Clear() { m_ranges.clear(); }

    void Add(std::int64_t begin, std::int64_t end)
    {
        if (begin >= end)
            return;
        // The first range that could touch the new one is the last that begins in front of it.
        auto at = m_ranges.upper_bound(begin);
        if (at != m_ranges.begin() && std::prev(at)->second >= begin)
            --at;
        while (at != m_ranges.end() && at->first <= end) {
            begin = std::min(begin, at->first);
            end = std::max(end, at->second);
            at = m_ranges.erase(at);
        }
        m_ranges.emplace_hint(at, begin, end);
    }

    [[nodiscard]] bool Contains(std::int64_t begin, std::int64_t end) const
    {
        const auto next = m_ranges.upper_bound(begin);
        return next != m_ranges.begin() && std::prev(next)->second >= end;
    }

private:
    /// Begin and end of each range.
    std::map<std::int64_t, std::int64_t> m_ranges;
};

} // namespace Data
