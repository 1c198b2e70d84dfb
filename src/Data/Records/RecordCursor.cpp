#include "Data/Records/RecordCursor.h"

#include <cinttypes>
#include <cstdio>

namespace Data {

std::string RecordCursor::Damage() const
{
    char text[160];
    std::snprintf(text, sizeof text,
                  "offset 0x%" PRIx64 "+0x%zx: the chunk is damaged: expected a record in the %zu bytes that are left, "
                  "found a size of %u",
                  m_fileOffset, static_cast<std::size_t>(m_next - m_begin), static_cast<std::size_t>(m_end - m_next),
                  Header().bytes);
    return text;
}

} // namespace Data
