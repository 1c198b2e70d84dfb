#include "Core/DriverCapabilities.h"

#include <algorithm>

namespace Core {

namespace {

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

/// Version at the start of `text`, digit, point, digit; 0 when there is none.
ContextVersion LeadingVersion(std::string_view text)
{
    const bool isVersion = text.size() >= 3 && IsDigit(text[0]) && text[1] == '.' && IsDigit(text[2]);
    return isVersion ? (text[0] - '0') * 10 + (text[2] - '0') : 0;
}

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

ContextVersion ParseContextVersion(std::string_view text)
{
    for (const std::string_view prefix : {"OpenGL ES ", "OpenGL ES-CM ", "OpenGL ES-CL "}) {
        if (text.starts_with(prefix)) {
            if (const ContextVersion version = LeadingVersion(text.substr(prefix.size())))
                return version;
        }
    }
    return 20;
}

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
        return version <= m_version;
    bool has = false;
    ForEachPiece(where, '|', [&](std::string_view extension) { has |= m_extensions.contains(extension); });
    return has;
}

} // namespace Core
