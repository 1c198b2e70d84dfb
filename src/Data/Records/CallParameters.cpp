#include "Data/Records/CallParameters.h"

namespace Data {

namespace {

/// Where the parameters of a call stand in the one array of all of them.
struct CallParameters {
    std::uint16_t first;
    std::uint8_t count;
    /// The first entry is the returned value and comes in addition to `count`.
    bool returns;
};

#include "Data/CallParameters.inc"

} // namespace

std::span<const ParameterDescription> ParametersOf(CallId call)
{
    const CallParameters& at = callParameters[static_cast<std::uint32_t>(call)];
    return {parameters + at.first + (at.returns ? 1 : 0), at.count};
}

const ParameterDescription* ReturnOf(CallId call)
{
    const CallParameters& at = callParameters[static_cast<std::uint32_t>(call)];
    return at.returns ? parameters + at.first : nullptr;
}

} // namespace Data
