#include "Data/Records/Actions.h"

#include <array>
#include <charconv>

namespace Data {

namespace {

struct Action {
    ActionKind kind;
    /// A draw of its own; other actions count from the draw in front of them.
    bool isCounted;
};

constexpr std::array<Action, callCount> Actions = {{
#include "Data/ActionTable.inc"
}};

const Action& Describe(CallId call)
{
    return Actions[static_cast<std::size_t>(call)];
}

} // namespace

ActionKind ActionOf(CallId call)
{
    return Describe(call).kind;
}

const char* NameOf(ActionKind kind)
{
    constexpr const char* Names[] = {"call", "draw", "clear", "blit", "dispatch", "copy", "mipmap"};
    return Names[static_cast<std::size_t>(kind)];
}

std::string ActionNumber::Text() const
{
    return std::to_string(draw) + (after != 0 ? "." + std::to_string(after) : "");
}

std::optional<ActionNumber> ActionNumber::Parse(std::string_view text)
{
    ActionNumber number;
    const char* const end = text.data() + text.size();
    auto parsed = std::from_chars(text.data(), end, number.draw);
    if (parsed.ec == std::errc() && parsed.ptr != end && *parsed.ptr == '.')
        parsed = std::from_chars(parsed.ptr + 1, end, number.after);
    return parsed.ec == std::errc() && parsed.ptr == end ? std::optional(number) : std::nullopt;
}

std::optional<ActionNumber> ActionCounter::Count(CallId call)
{
    const auto [kind, isCounted] = Describe(call);
    if (kind == ActionKind::None)
        return std::nullopt;
    m_number = isCounted ? ActionNumber{m_number.draw + 1, 0} : ActionNumber{m_number.draw, m_number.after + 1};
    return m_number;
}

} // namespace Data
