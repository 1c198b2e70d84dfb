// Result codes of the engine's own operations, where a bool would say too little.
#pragma once

namespace Playback {

/// Returned as a plain number, so that a host in another language can read it.
enum Result : unsigned int {
    ResultSuccess = 0,
    /// The driver lacks a function that the operation needs.
    ResultUnavailable = 1,
    /// The driver refused the call.
    ResultFailed = 3,
    ResultInvalidArgument = 6,
    /// The request is well formed but not served by this class.
    ResultUnsupported = 8,
    /// Nothing to operate on.
    ResultMissing = 9,
    ResultAlreadyExists = 10,
};

} // namespace Playback
