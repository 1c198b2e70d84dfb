#pragma once

#include "Data/Records/CallArguments.h"

namespace Data {

/// Hears of the calls of a replay, on its thread.
class CallWatcher {
public:
    virtual ~CallWatcher() = default;

    /// In front of each call, with the arguments as they were captured.
    virtual void BeforeCall(const CallArguments& call) = 0;
    /// After it. Its record is gone: the replay may have written to it.
    virtual void AfterCall() = 0;
    /// Instead of these two: a thread filter leaves the call out.
    virtual void CallLeftOut(CallId call) = 0;
};

} // namespace Data
