#include "Sides/Side.h"

#include <algorithm>
#include <cctype>
#include <utility>

#include "Util/Spelling.h"

namespace Sides {

namespace {

constexpr Util::Option SideOptions[] = {
    {"--a-driver", "DIR",
     "side A: take libEGL.so.1 and libGLESv2.so.2, or libEGL.so and libGLESv2.so, from this folder", "Sides"},
    {"--a-env", "NAME=VALUE", "side A: a variable of the environment; may be given several times", "Sides"},
    {"--a-options", "WORDS", "side A: options for playback, such as \"--a-options=-config 8\"", "Sides"},
    {"--b-driver", "DIR", "the same of side B", "Sides"},
    {"--b-env", "NAME=VALUE", "the same of side B", "Sides"},
    {"--b-options", "WORDS", "the same of side B", "Sides"},
};

} // namespace

std::string Side::Description() const
{
    std::vector<std::string> words = environment;
    for (const std::string& option : PlaybackOptions())
        words.push_back(option);
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : " ") + Util::Quoted(word);
    return text.empty() ? "as it is" : text;
}

std::vector<std::string> Side::PlaybackOptions() const
{
    std::vector<std::string> all;
    if (!driverDirectory.empty())
        all = {"-driver", driverDirectory};
    all.insert(all.end(), options.begin(), options.end());
    return all;
}

std::vector<Util::Option> WithSideOptions(std::span<const Util::Option> own)
{
    std::vector<Util::Option> all(own.begin(), own.end());
    all.insert(all.end(), std::begin(SideOptions), std::end(SideOptions));
    return all;
}

Side ParseSide(char letter, const Util::CommandLine::Result& parsed, std::string& error)
{
    Side side;
    side.name = static_cast<char>(std::toupper(static_cast<unsigned char>(letter)));
    const std::string prefix = std::string("--") + letter;
    const auto fail = [&](const std::string& what) {
        if (error.empty())
            error = "option " + prefix + what;
    };
    for (const std::string& folder : parsed.AllValues(prefix + "-driver"))
        side.driverDirectory = folder;
    if (side.driverDirectory.empty() && !parsed.AllValues(prefix + "-driver").empty())
        fail("-driver needs a folder, found \"\"");
    for (const std::string& variable : parsed.AllValues(prefix + "-env")) {
        if (const std::size_t equals = variable.find('='); equals == 0 || equals == std::string::npos)
            fail("-env needs NAME=VALUE, found \"" + variable + "\"");
        side.environment.push_back(variable);
    }
    for (const std::string& text : parsed.AllValues(prefix + "-options"))
        if (!SplitWords(text, side.options))
            fail("-options has a quote without an end: " + text);
    return side;
}

bool IsSideGiven(char letter, const Util::CommandLine::Result& parsed)
{
    const std::string prefix = std::string("--") + letter + "-";
    return std::ranges::any_of(parsed.given, [&](const auto& option) { return option.first.starts_with(prefix); });
}

bool SplitWords(std::string_view text, std::vector<std::string>& words)
{
    std::string word;
    // An empty pair of quotes is a word too.
    bool isInWord = false;
    char quote = '\0';
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        const bool isEscape = c == '\\' && quote != '\'' && i + 1 < text.size();
        if (isEscape && (quote == '\0' || text[i + 1] == '"' || text[i + 1] == '\\')) {
            word += text[++i];
            isInWord = true;
        } else if (quote != '\0') {
            if (c == quote)
                quote = '\0';
            else
                word += c;
        } else if (c == '"' || c == '\'') {
            quote = c;
            isInWord = true;
        } else if (std::isspace(static_cast<unsigned char>(c)) == 0) {
            word += c;
            isInWord = true;
        } else if (isInWord) {
            words.push_back(std::exchange(word, {}));
            isInWord = false;
        }
    }
    if (isInWord)
        words.push_back(word);
    return quote == '\0';
}

} // namespace Sides
