#pragma once

namespace Data {
class ContextState;
} // namespace Data

namespace Replay {

class ContextListener;

/// Follows what each context of the driver has bound, in the driver's own names and locations, from the calls that
/// really reach it. A capture can hold anything: names given twice, calls that fail here, locations that differ. What
/// it says and what the driver has then are two things, and whether a pointer is an address or an offset must be asked
/// of the driver's side.
///
/// Comes between the function tables and the driver while it exists; there is one at a time. Made when the driver is
/// open and before any context is.
class DriverState {
public:
    DriverState();
    ~DriverState();
    DriverState(const DriverState&) = delete;
    DriverState& operator=(const DriverState&) = delete;

    /// Where the state of the current context is found: null without a context.
    [[nodiscard]] static Data::ContextState* const* Current();
    /// Tells `listener` of each switch between contexts and of the end of each; null for nobody. Not owned.
    static void SetListener(ContextListener* listener);
};

} // namespace Replay
