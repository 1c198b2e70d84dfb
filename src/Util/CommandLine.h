// The command lines of the programs: a table of options, parsed and explained the same way everywhere.
#pragma once

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Interfaces/Util.h"
#include "Util/ExitStatus.h"
#include "Util/FrameRange.h"

namespace Util {

/// One option of a program. Texts are borrowed; tables are constants.
struct Option {
    /// As help prints it and as CmdLineArgs keeps it, hyphens included: "-width" or "--json".
    std::string_view name;
    /// What stands for the value in the help text, such as "N" or "FILE"; empty: the option takes no value. One that
    /// may be left out is written "[=N]": it has to come after "=", and the option is a switch, too.
    std::string_view valueName;
    /// One or two sentences; wrapped when printed.
    std::string_view help;
    /// Heading of the help text's section. Options of one group need not be neighbours.
    std::string_view group;
};

/// What becomes of arguments after the first one that belongs to no option.
enum class AfterFirstPositional {
    ParseOptions,
    /// They are positional too, as for a program that runs another one: its options are not ours.
    TakeAll,
};

/// Parses and explains command lines by a table of options. The table must outlive the object.
///
/// An option may be written with one hyphen or two, whatever the table has, and its value may follow as the next
/// argument or after "=". Option names are case-sensitive. "--" ends the options; "-" alone is positional. When a
/// valued option is given twice, the last one counts.
class CommandLine {
public:
    explicit CommandLine(std::span<const Option> options) : m_options(options) {}

    struct Result {
        ParseArgs::CmdLineArgs args;
        /// Names and values of all valued options as they were given, for options that may be given several times.
        std::vector<std::pair<std::string, std::string>> given;
        /// Names the option and says what is wrong with it; empty when all went well.
        std::string error;

        /// All values of an option, in order. `name` is as the table has it.
        [[nodiscard]] std::vector<std::string> AllValues(std::string_view name) const;
    };

    /// `arguments` do not include the program's name. Stops at the first error. The argument after a valued option is
    /// its value, even when empty or with a leading hyphen, unless it is itself an option of the table: then the value
    /// is missing ("=" allows such a value).
    [[nodiscard]] Result Parse(std::span<const char* const> arguments,
                               AfterFirstPositional after = AfterFirstPositional::ParseOptions) const;
    /// As above, for the arguments of main.
    [[nodiscard]] Result Parse(int argc, const char* const* argv,
                               AfterFirstPositional after = AfterFirstPositional::ParseOptions) const;

    /// `usage`, then the options group by group in the order of the table, and how they may be written. Ends with a
    /// line feed.
    [[nodiscard]] std::string Help(std::string_view usage) const;

private:
    const Option* Find(std::string_view argument) const;
    [[nodiscard]] std::string UnknownOption(std::string_view argument) const;

    std::span<const Option> m_options;
};

/// What programs answer by themselves: help, version, and what is wrong with the command line, for which `fault` is
/// asked where parsing found nothing. `program` is its name. Nothing where it is to do its work.
[[nodiscard]] std::optional<ExitStatus> AnswerCommandLine(std::string_view program, std::string_view usage,
                                                          const CommandLine& commandLine,
                                                          const CommandLine::Result& parsed,
                                                          const std::function<std::string()>& fault);

/// What is wrong with the arguments of a program that reads one capture and nothing else; empty for nothing.
[[nodiscard]] std::string CaptureFault(const ParseArgs::CmdLineArgs& args);

/// The value of an option as ParseFrameRange has it; `range` stays where it is not given. What is wrong goes to `error`
/// unless there is something.
void ReadFrameRange(const ParseArgs::CmdLineArgs& args, const std::string& option, FrameRange& range,
                    std::string& error);

} // namespace Util
