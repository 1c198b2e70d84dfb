#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Host/Results/GpuTimes.h"
#include "Interfaces/Util.h"

namespace Host {

/// The whole text as a number; nothing for other text.
std::optional<int> WholeNumber(std::string_view text);
/// A number above 0 and not beyond all use; nothing for other text.
std::optional<double> PositiveNumber(const std::string& text);

/// The value of -timegpu; nothing for another one.
std::optional<GpuSpans> ParseGpuSpans(std::string_view value);

/// What is wrong with an option's value, as the end of a sentence; empty when it is fine. The engine takes what it
/// cannot read for something else, with a note or without; nobody wants a replay of that. `placeholder` is that of the
/// table.
std::string ValueFault(std::string_view name, std::string_view placeholder, const std::string& value);

/// What is wrong with the options together, as a sentence without a full stop; empty when all is fine.
std::string CombinationFault(const Util::ParseArgs::CmdLineArgs& args);

/// Replaces patterns in the lists of functions by the functions' names, since the engine knows only these.
void ExpandFunctionPatterns(Util::ParseArgs::CmdLineArgs& args);

} // namespace Host
