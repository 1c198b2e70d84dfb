#pragma once

#include <optional>
#include <string>

#include "Util/ExitStatus.h"

namespace Util {

/// Why a program ends early.
struct Failure {
    ExitStatus status;
    std::string message;
};

/// Of a step that may fail.
using Outcome = std::optional<Failure>;

} // namespace Util
