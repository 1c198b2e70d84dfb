// Faults of the program in memory that the library protects.
#pragma once

namespace Recorder {

/// Has faults in watched memory resolved from now on; what the program does about other faults stays in force, whether
/// it said so before or says so later. Once for the process.
void HandleFaults() noexcept;

} // namespace Recorder
