// Memory to work in.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace Data {

/// Memory that is kept from one use to the next. Nothing clears it, so that pages which nobody writes to take none.
class Scratch {
public:
    /// At least so many bytes; what was there before is lost where they are more than ever. May throw std::bad_alloc.
    std::uint8_t* Take(std::size_t bytes)
    {
        if (bytes > m_bytes) {
            m_bytes = 0;
            m_memory.reset();
            m_memory = std::make_unique_for_overwrite<std::uint8_t[]>(bytes);
            m_bytes = bytes;
        }
        return m_memory.get();
    }

private:
    std::unique_ptr<std::uint8_t[]> m_memory;
    std::size_t m_bytes = 0;
};

} // namespace Data
