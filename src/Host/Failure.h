#pragma once

#include <optional>
#include <string>

#include "Host/ExitStatus.h"

namespace Host {

/// Why the program ends early.
struct Failure {
    ExitStatus status;
    std::string message;
};

/// Of a step that may fail.
using Outcome = std::optional<Failure>;

} // namespace Host
