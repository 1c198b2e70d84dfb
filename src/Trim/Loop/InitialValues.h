#pragma once

#include <functional>
#include <optional>
#include <vector>

#include "Trim/RecordOutput.h"
#include "Trim/Track/StateTracker.h"

namespace Trim {

/// Calls that set a state of the current context to its initial value, as the API description has it. `mayChange` says
/// of another slot of the context that the calls may change it in passing. Empty where there is no such call, or where
/// the value is not known.
[[nodiscard]] std::vector<OutputCall> CallsForInitialValue(const Data::StateModel& model, Slot slot,
                                                           const std::function<bool(Slot)>& mayChange);

} // namespace Trim
