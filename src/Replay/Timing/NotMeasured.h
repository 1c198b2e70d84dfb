#pragma once

namespace Replay {

/// Why there is no time.
enum class NotMeasured {
    /// There is one.
    No,
    /// The clock of the GPU was changed or stopped meanwhile.
    Disjoint,
    /// The program has a timer query of its own active, and the driver allows no second one.
    OwnQuery,
    /// The context ended, or could not be asked any more.
    ContextLost,
    /// The context has no clock for it.
    NoClock,
};

} // namespace Replay
