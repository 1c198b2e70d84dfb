// The two sides of a comparison, as command lines name them.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Util/CommandLine.h"

namespace Sides {

/// What one side replays with.
struct Side {
    /// For messages: "A" or "B".
    std::string name;
    /// Folder of the driver's libraries; empty for the system's.
    std::string driverDirectory;
    /// NAME=VALUE each, over what this program has itself.
    std::vector<std::string> environment;
    /// For `playback`, beside those that the comparing program gives it.
    std::vector<std::string> options;

    /// Nothing was said of it.
    [[nodiscard]] bool IsPlain() const { return driverDirectory.empty() && environment.empty() && options.empty(); }
    /// What was said of it, as a shell would take it; "as it is" for a plain one.
    [[nodiscard]] std::string Description() const;
    /// Options of `playback` that choose driver and settings.
    [[nodiscard]] std::vector<std::string> PlaybackOptions() const;
};

/// `own` followed by the options that name sides: --a-driver DIR, --a-env NAME=VALUE, --a-options WORDS, and the same
/// of b. Both but the driver may be given several times.
[[nodiscard]] std::vector<Util::Option> WithSideOptions(std::span<const Util::Option> own);

/// The side whose options begin with `letter`, 'a' or 'b'. `error` names the option whose value is none; it is left
/// alone where all is well.
[[nodiscard]] Side ParseSide(char letter, const Util::CommandLine::Result& parsed, std::string& error);

/// Any of the options of that side was given, be it without a word in it.
[[nodiscard]] bool IsSideGiven(char letter, const Util::CommandLine::Result& parsed);

/// Splits text as a shell does, by white space outside of quotes and with backslashes, and expands nothing. False when
/// a quote has no end.
[[nodiscard]] bool SplitWords(std::string_view text, std::vector<std::string>& words);

} // namespace Sides
