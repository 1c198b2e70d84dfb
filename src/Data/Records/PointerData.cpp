#include <cstring>

#include "Interfaces/Data.h"

namespace Data {

void PointerData::ResizeArray(std::uint32_t count)
{
    const std::uint64_t bytes = std::uint64_t{count} * m_elementBytes;
    if (!m_isMemory || bytes > MaxOwnedBytes)
        return;
    const std::uint64_t kept = std::uint64_t{static_cast<std::uint32_t>(m_count)} * m_elementBytes;
    if (bytes > kept) {
        const bool isOwned = m_payload == m_storage.data();
        if (m_storage.size() * sizeof m_storage[0] < bytes)
            m_storage.resize((bytes + 7) / sizeof m_storage[0]);
        auto* const memory = reinterpret_cast<std::uint8_t*>(m_storage.data());
        if (!isOwned && kept > 0)
            std::memcpy(memory, m_payload, kept);
        std::memset(memory + kept, 0, bytes - kept);
        m_payload = memory;
    }
    m_count = static_cast<std::int32_t>(count);
}

void PointerData::ResizeString(std::uint32_t length)
{
    ResizeArray(length);
}

void PointerData::SetOwned(std::uint32_t count, std::uint32_t elementBytes, std::uint64_t capturedPointer)
{
    // Never empty, so that the live function does not take it for a null pointer.
    if (m_storage.empty())
        m_storage.resize(8);
    SetContents(m_storage.data(), 0, elementBytes, capturedPointer);
    m_hasData = false;
    ResizeArray(count);
}

} // namespace Data
