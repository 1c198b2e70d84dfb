// The results of a measurement for people and programs.
#pragma once

#include <string>

#include "Tools/Bench/BenchOptions.h"
#include "Tools/Bench/Comparison.h"

namespace Tools {

/// "B is 3.1 % slower, 2.4 to 3.8, most of it in pass 4 of frame 12", or that no difference was found; of A alone, its
/// time. Without a full stop.
[[nodiscard]] std::string Verdict(const Comparison& comparison);

/// A table, and the verdict as its last line.
[[nodiscard]] std::string BenchText(const BenchOptions& options, const Measurement& measurement,
                                    const Comparison& comparison);

/// All of it, with the times of each pass.
[[nodiscard]] std::string BenchJson(const BenchOptions& options, const Measurement& measurement,
                                    const Comparison& comparison);

} // namespace Tools
