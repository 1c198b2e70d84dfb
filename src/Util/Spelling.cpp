#include "Util/Spelling.h"

#include <algorithm>
#include <vector>

#include "Interfaces/Util.h"

namespace Util {

namespace {

/// Fewest changes that make one text of the other: a letter left out, added or exchanged, or two neighbours swapped.
std::size_t Distance(std::string_view from, std::string_view to)
{
    std::vector<std::size_t> beforeLast(to.size() + 1);
    std::vector<std::size_t> last(to.size() + 1);
    std::vector<std::size_t> row(to.size() + 1);
    for (std::size_t j = 0; j <= to.size(); ++j)
        last[j] = j;
    for (std::size_t i = 1; i <= from.size(); ++i) {
        row[0] = i;
        for (std::size_t j = 1; j <= to.size(); ++j) {
            const std::size_t exchanged = last[j - 1] + (from[i - 1] == to[j - 1] ? 0 : 1);
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, exchanged});
            if (i > 1 && j > 1 && from[i - 1] == to[j - 2] && from[i - 2] == to[j - 1])
                row[j] = std::min(row[j], beforeLast[j - 2] + 1);
        }
        std::swap(beforeLast, last);
        std::swap(last, row);
    }
    return last[to.size()];
}

} // namespace

std::string_view ClosestName(std::string_view text, std::span<const std::string_view> names)
{
    constexpr std::size_t LettersOfABeginning = 3;
    const std::string wanted = String::ToLower(std::string(text));
    const std::size_t most = std::clamp<std::size_t>(text.size() / 3, 1, 3);
    std::string_view closest;
    std::size_t fewest = 0;
    for (const std::string_view name : names) {
        const std::string candidate = String::ToLower(std::string(name));
        const std::size_t distance = Distance(wanted, candidate);
        const bool isBeginning = wanted.size() >= LettersOfABeginning && candidate.starts_with(wanted);
        if ((distance <= most || isBeginning) && (closest.empty() || distance < fewest)) {
            closest = name;
            fewest = distance;
        }
    }
    return closest;
}

std::string Suggestion(std::string_view text, std::span<const std::string_view> names)
{
    const std::string_view closest = ClosestName(text, names);
    return closest.empty() ? "" : "; did you mean " + std::string(closest) + "?";
}

std::string Counted(std::uint64_t count, const char* noun)
{
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

std::string Quoted(const std::string& word)
{
    constexpr std::string_view Plain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-+=.,:/@%";
    if (!word.empty() && word.find_first_not_of(Plain) == std::string::npos)
        return word;
    std::string quoted = "'";
    for (const char c : word)
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

} // namespace Util
