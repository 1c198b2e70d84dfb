#include "Host/Options/ScreenshotChoice.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <optional>
#include <string_view>

#include "Interfaces/Util.h"

namespace Host {

namespace {

/// The engine's numbers are signed.
constexpr std::uint32_t LastNumber = std::numeric_limits<std::int32_t>::max();

const std::string Grammar = "needs frames (N, A-B, A- to the end, N* for every Nth, \"\" for all; several with commas "
                            "between them) or draws of one frame (F:A-B, F:A-, or F: for all)";

std::optional<std::uint32_t> Number(std::string_view text)
{
    std::uint32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    const bool isWhole = error == std::errc() && end == text.data() + text.size();
    return isWhole && value <= LastNumber ? std::optional(value) : std::nullopt;
}

/// Reads A-B or A-. Answers what is wrong; `noun` is what is counted.
std::string ReadRange(std::string_view text, const std::string& noun, Util::FrameRange& range)
{
    const std::size_t dash = text.find('-');
    const auto last = Number(text.substr(dash + 1));
    if (dash == 0 && last)
        return "needs the first " + noun + " too: write 1-" + std::to_string(*last) + " for the first ones";
    const auto first = Number(text.substr(0, dash));
    const bool isOpen = dash + 1 == text.size();
    if (!first || (!last && !isOpen))
        return Grammar;
    if (*first == 0)
        return "counts " + noun + "s from 1";
    range = {*first, isOpen ? LastNumber : *last};
    return range.last < range.first ? "needs B not below A in " + noun + "s A-B" : "";
}

std::string ReadFrames(const std::string& text, FrameSet& frames)
{
    if (text.find('-') != std::string::npos) {
        Util::FrameRange range;
        std::string fault = ReadRange(text, "frame", range);
        frames.Add(range);
        return fault;
    }
    const bool isInterval = text.ends_with('*');
    const auto number = Number(std::string_view(text).substr(0, text.size() - (isInterval ? 1 : 0)));
    if (!number)
        return Grammar;
    if (*number == 0)
        return isInterval ? "needs N above 0 in N*" : "counts frames from 1";
    isInterval ? frames.AddEvery(*number) : frames.Add({*number, *number});
    return "";
}

/// F:A-B, F:A- and F:.
std::string ReadDraws(const std::string& value, ScreenshotChoice& choice)
{
    const std::size_t colon = value.find(':');
    const std::string frameText = value.substr(0, colon);
    const std::string drawText = value.substr(colon + 1);
    const auto frame = Number(frameText);
    const auto draw = Number(drawText);
    if (value.find(',') != std::string::npos)
        return "takes draws of one frame and nothing else, not a list with draws in it";
    if (!frame && frameText.find('-') != std::string::npos)
        return "takes draws of one frame: write F:A-B with a single frame F";
    if (!frame || *frame == 0)
        return frame ? "counts frames from 1" : Grammar;
    if (draw) {
        return "needs the first and the last draw: write " + frameText + ":" + drawText + "-" + drawText +
               " for draw " + drawText + ", or " + frameText + ": for all draws of frame " + frameText;
    }
    Util::FrameRange draws = {0, 0};
    if (!drawText.empty()) {
        if (drawText.find('-') == std::string::npos)
            return Grammar;
        if (std::string fault = ReadRange(drawText, "draw", draws); !fault.empty())
            return fault;
        choice.engineValue = frameText + ":" + std::to_string(draws.first) + "-" + std::to_string(draws.last);
    }
    choice.drawFrame = *frame;
    choice.firstDraw = draws.first;
    return "";
}

} // namespace

std::uint32_t FrameSet::FirstAfter(std::uint32_t frame) const
{
    std::uint64_t found = std::uint64_t{LastNumber} + 1;
    for (const Util::FrameRange& range : m_ranges)
        if (frame < range.last)
            found = std::min<std::uint64_t>(found, std::max(range.first, frame + 1));
    for (const std::uint32_t interval : m_intervals)
        found = std::min(found, (std::uint64_t{frame} / interval + 1) * interval);
    return found <= LastNumber ? static_cast<std::uint32_t>(found) : 0;
}

ScreenshotChoice ParseScreenshots(const std::string& value)
{
    ScreenshotChoice choice;
    choice.value = choice.engineValue = value;
    if (value.empty()) {
        choice.frames.AddEvery(1);
    } else if (value.find(':') != std::string::npos) {
        choice.fault = ReadDraws(value, choice);
    } else {
        const std::vector<std::string> items = Util::String::Tokenize(value, ",");
        choice.isList = items.size() > 1;
        choice.fault = items.empty() ? Grammar : "";
        for (const std::string& item : items)
            if (choice.fault.empty())
                choice.fault = ReadFrames(item, choice.frames);
        if (value.ends_with('-'))
            choice.engineValue = value + std::to_string(LastNumber);
    }
    return choice;
}

} // namespace Host
