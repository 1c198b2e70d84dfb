#include "Core/DriverCapabilities.h"

#include <algorithm>

namespace Core {

namespace {

/// Calls `function` with each non-empty piece of `text`.
template <class Function> void ForEachPiece(std::string_view text, char separator, Function function)
{
    while (!text.empty()) {
        const std::size_t end = text.find(separator);
        const std::string_view piece = text.substr(0, end);
        if (!piece.empty())
            function(piece);
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
    }
}

} // namespace

void DriverCapabilities::Add(ContextVersion version, std::string_view extensions)
{
    m_version = std::max(m_version, version);
    ForEachPiece(extensions, ' ', [this](std::string_view extension) { m_extensions.emplace(extension); });
}

void DriverCapabilities::Clear()
{
    m_version = 0;
    m_extensions.clear();
}

bool DriverCapabilities::Has(std::string_view where) const
{
    if (const ContextVersion version = LeadingVersion(where))
        return version <= m_version && IsFixedFunction(version) == IsFixedFunction(m_version);
    bool has = false;
    ForEachPiece(where, '|', [&](std::string_view extension) { has |= m_extensions.contains(extension); });
    return has;
}

} // namespace Core
