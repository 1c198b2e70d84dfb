#pragma once

#include <map>
#include <string>

namespace Tools {

/// What there is to know of this machine that times depend on, by what it is: kernel, CPU model, number of CPUs,
/// governor. What the machine does not tell is left out.
[[nodiscard]] std::map<std::string, std::string> DescribeMachine();

/// How many threads wanted to run in the last minute, on average; below 0 where that is unknown.
[[nodiscard]] double LoadAverage();

} // namespace Tools
