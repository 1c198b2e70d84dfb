#include "Compare/Suite/Markup.h"

#include <bit>
#include <cstdint>

namespace Compare {

namespace {

/// Bytes of the character that text begins with; 0 where it is none that XML has.
std::size_t CharacterBytes(std::string_view text)
{
    const auto byte = [&](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
    if (byte(0) < 0x80)
        return byte(0) >= 0x20 ? 1 : text[0] == '\t' || text[0] == '\n' || text[0] == '\r' ? 1 : 0;
    const auto bytes = static_cast<std::size_t>(std::countl_one(byte(0)));
    if (bytes < 2 || bytes > 4 || bytes > text.size())
        return 0;
    std::uint32_t code = byte(0) & (0x7Fu >> bytes);
    for (std::size_t i = 1; i < bytes; ++i) {
        if ((byte(i) & 0xC0) != 0x80)
            return 0;
        code = code << 6 | (byte(i) & 0x3F);
    }
    constexpr std::uint32_t Smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool isCharacter = code >= Smallest[bytes] && code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF) &&
                             code != 0xFFFE && code != 0xFFFF;
    return isCharacter ? bytes : 0;
}

} // namespace

std::string Escape(std::string_view text)
{
    std::string escaped;
    while (!text.empty()) {
        const std::size_t bytes = CharacterBytes(text);
        switch (bytes == 0 ? '\0' : text[0]) {
        case '\0':
            escaped += "\xEF\xBF\xBD";
            break;
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        case '\'':
            escaped += "&#39;";
            break;
        default:
            escaped += text.substr(0, bytes);
            break;
        }
        text.remove_prefix(bytes == 0 ? 1 : bytes);
    }
    return escaped;
}

} // namespace Compare
