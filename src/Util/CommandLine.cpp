#include "Util/CommandLine.h"

#include <algorithm>
#include <cstdio>

#include "Util/OutputFile.h"
#include "Util/Spelling.h"

namespace Util {

namespace {

constexpr std::size_t LineWidth = 100;
constexpr std::size_t HelpColumn = 32;

std::string_view WithoutHyphens(std::string_view name)
{
    name.remove_prefix(name.starts_with("--") ? 2 : name.starts_with("-") ? 1 : 0);
    return name;
}

bool IsValueOptional(const Option& option)
{
    return option.valueName.starts_with("[=");
}

bool LooksLikeOption(std::string_view argument)
{
    return argument.size() > 1 && argument.front() == '-';
}

/// Appends `text` word by word from HelpColumn on; the current line of `out` is `column` characters long.
void AppendWrapped(std::string& out, std::string_view text, std::size_t column)
{
    if (column + 2 > HelpColumn) {
        out += '\n';
        column = 0;
    }
    out.append(HelpColumn - column, ' ');
    column = HelpColumn;
    for (const std::string& word : String::Tokenize(std::string(text), " ")) {
        if (column > HelpColumn && column + 1 + word.size() > LineWidth) {
            out += '\n';
            out.append(HelpColumn, ' ');
            column = HelpColumn;
        } else if (column > HelpColumn) {
            out += ' ';
            ++column;
        }
        out += word;
        column += word.size();
    }
    out += '\n';
}

/// The line that a program prints when its command line is wrong, without a line feed.
std::string UsageError(std::string_view program, std::string_view error)
{
    const std::string name(program);
    return name + ": " + std::string(error) + (error.ends_with('?') ? " " : "; ") + name + " --help explains";
}

} // namespace

namespace ParseArgs {

bool CmdLineArgs::HasSwitch(const std::string& name) const
{
    return std::find(switches.begin(), switches.end(), name) != switches.end();
}

const std::string* CmdLineArgs::FindValue(const std::string& name) const
{
    const auto found = values.find(name);
    return found == values.end() ? nullptr : &found->second;
}

} // namespace ParseArgs

const Option* CommandLine::Find(std::string_view argument) const
{
    if (!LooksLikeOption(argument))
        return nullptr;
    const auto found = std::find_if(m_options.begin(), m_options.end(), [&](const Option& option) {
        return WithoutHyphens(option.name) == WithoutHyphens(argument);
    });
    return found == m_options.end() ? nullptr : &*found;
}

std::string CommandLine::UnknownOption(std::string_view argument) const
{
    std::vector<std::string_view> names;
    for (const Option& option : m_options)
        names.push_back(WithoutHyphens(option.name));
    const Option* const meant = Find("-" + std::string(ClosestName(WithoutHyphens(argument), names)));
    return "unknown option " + std::string(argument) +
           (meant ? "; did you mean " + std::string(meant->name) + "?" : std::string());
}

std::vector<std::string> CommandLine::Result::AllValues(std::string_view name) const
{
    std::vector<std::string> all;
    for (const auto& [option, value] : given)
        if (option == name)
            all.push_back(value);
    return all;
}

CommandLine::Result CommandLine::Parse(std::span<const char* const> arguments, AfterFirstPositional after) const
{
    Result result;
    const auto fail = [&](std::string error) {
        result.error = std::move(error);
        return result;
    };

    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string_view argument = arguments[i];
        const bool endsOptions = argument == "--";
        if (endsOptions || (!LooksLikeOption(argument) && after == AfterFirstPositional::TakeAll)) {
            const auto rest = arguments.subspan(endsOptions ? i + 1 : i);
            result.args.positional.insert(result.args.positional.end(), rest.begin(), rest.end());
            break;
        }
        if (!LooksLikeOption(argument)) {
            result.args.positional.emplace_back(argument);
            continue;
        }

        const std::size_t equals = argument.find('=');
        const bool hasInlineValue = equals != std::string_view::npos;
        const std::string_view name = argument.substr(0, equals);
        const Option* option = Find(name);
        if (!option)
            return fail(UnknownOption(name));

        const std::string key(option->name);
        if (option->valueName.empty() || IsValueOptional(*option)) {
            if (hasInlineValue && IsValueOptional(*option))
                result.args.values[key] = argument.substr(equals + 1);
            else if (hasInlineValue)
                return fail("option " + key + " takes no value, found \"" + std::string(argument.substr(equals + 1)) +
                            "\"");
            result.args.switches.push_back(key);
        } else {
            if (!hasInlineValue && (i + 1 == arguments.size() || Find(arguments[i + 1])))
                return fail("option " + key + " needs a value (" + std::string(option->valueName) + ")");
            const std::string value(hasInlineValue ? argument.substr(equals + 1) : arguments[++i]);
            result.args.values[key] = value;
            result.given.emplace_back(key, value);
        }
    }
    return result;
}

CommandLine::Result CommandLine::Parse(int argc, const char* const* argv, AfterFirstPositional after) const
{
    const std::span<const char* const> all(argv, static_cast<std::size_t>(std::max(argc, 0)));
    return Parse(all.subspan(std::min<std::size_t>(1, all.size())), after);
}

std::string CommandLine::Help(std::string_view usage) const
{
    std::vector<std::string_view> groups;
    for (const Option& option : m_options)
        if (std::find(groups.begin(), groups.end(), option.group) == groups.end())
            groups.push_back(option.group);

    std::string out(usage);
    out += '\n';
    for (const std::string_view group : groups) {
        out += '\n';
        if (!group.empty())
            out += std::string(group) + ":\n";
        for (const Option& option : m_options) {
            if (option.group != group)
                continue;
            std::string head = "  " + std::string(option.name);
            if (!option.valueName.empty())
                head += (IsValueOptional(option) ? "" : " ") + std::string(option.valueName);
            out += head;
            AppendWrapped(out, option.help, head.size());
        }
    }
    return out + "\nAn option may be written with one hyphen or two, and its value after a space or \"=\".\n";
}

std::optional<ExitStatus> AnswerCommandLine(std::string_view program, std::string_view usage,
                                            const CommandLine& commandLine, const CommandLine::Result& parsed,
                                            const std::function<std::string()>& fault)
{
    const auto has = [&](const char* option) {
        return parsed.args.HasSwitch(option) || parsed.args.HasSwitch(std::string("-") + option);
    };
    if (has("-help") || has("-version")) {
        Print(has("-help") ? commandLine.Help(usage) : std::string(program) + " " PLAYBACK_VERSION "\n");
        return ExitStatus::Done;
    }
    const std::string error = parsed.error.empty() ? fault() : parsed.error;
    if (error.empty())
        return std::nullopt;
    std::fprintf(stderr, "%s\n", UsageError(program, error).c_str());
    return ExitStatus::Usage;
}

std::string CaptureFault(const ParseArgs::CmdLineArgs& args)
{
    if (args.positional.size() != 1)
        return args.positional.empty() ? "no capture file given"
                                       : "one capture file expected, found a second one: " + args.positional[1];
    return args.positional[0] == "-" ? "a capture is read from a file, not from standard input" : "";
}

void ReadFrameRange(const ParseArgs::CmdLineArgs& args, const std::string& option, FrameRange& range,
                    std::string& error)
{
    const std::string* const text = args.FindValue(option);
    const std::optional<FrameRange> frames = text ? ParseFrameRange(*text) : range;
    if (frames)
        range = *frames;
    else if (error.empty())
        error = option + " needs A-B with A from 1 and B not below A, or A- or A, found \"" + *text + "\"";
}

} // namespace Util
