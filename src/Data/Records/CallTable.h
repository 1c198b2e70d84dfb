// The calls that this program knows. Made from the API description; small enough for the recorder.
#pragma once

#include <span>

#include "Data/CallIds.h"

namespace Data {

/// A call as the call table of a capture names it. `signature` has one letter for the return value and one for each
/// parameter, and with the layout rules gives the place of each in a record; docs/capture-format.md lists the letters.
struct CallDescription {
    const char* name;
    const char* signature;
};

/// Indexed by CallId.
extern const std::span<const CallDescription, callCount> callTable;

} // namespace Data
