#include "Interfaces/Util.h"

#include <algorithm>
#include <climits>
#include <cstdlib>

namespace Util::String {

int ToInt(const std::string& text)
{
    // strtol saturates at the range of long, which holds that of int.
    return static_cast<int>(std::clamp<long>(std::strtol(text.c_str(), nullptr, 10), INT_MIN, INT_MAX));
}

std::string FromInt(int value)
{
    return std::to_string(value);
}

std::string ToLower(std::string text)
{
    for (char& c : text)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return text;
}

std::vector<std::string> Tokenize(const std::string& text, const std::string& separators)
{
    std::vector<std::string> tokens;
    std::size_t begin = text.find_first_not_of(separators);
    while (begin != std::string::npos) {
        const std::size_t end = text.find_first_of(separators, begin);
        tokens.push_back(text.substr(begin, end - begin));
        begin = text.find_first_not_of(separators, end);
    }
    return tokens;
}

} // namespace Util::String
