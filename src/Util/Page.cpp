#include "Util/Page.h"

namespace Util {

std::string FillPage(std::string_view page, const std::vector<std::pair<std::string_view, std::string_view>>& parts)
{
    std::string text;
    while (!page.empty()) {
        const std::size_t begin = page.find("{{");
        text += page.substr(0, begin);
        if (begin == std::string_view::npos)
            break;
        const std::size_t end = page.find("}}", begin);
        const std::string_view name = page.substr(begin + 2, end - begin - 2);
        for (const auto& [part, content] : parts)
            if (part == name)
                text += content;
        page.remove_prefix(end + 2);
    }
    return text;
}

std::string JsonForPage(std::string_view json)
{
    std::string text;
    for (const char c : json)
        text += c == '<' ? std::string("\\u003c") : std::string(1, c);
    return text;
}

std::string Base64(const std::vector<std::uint8_t>& bytes)
{
    constexpr char Digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const auto byte = [&](std::size_t k) { return i + k < bytes.size() ? std::uint32_t{bytes[i + k]} : 0u; };
        const std::uint32_t group = byte(0) << 16 | byte(1) << 8 | byte(2);
        for (std::size_t k = 0; k < 4; ++k)
            text += i + k <= bytes.size() ? Digits[group >> (18 - 6 * k) & 63] : '=';
    }
    return text;
}

} // namespace Util
