// What a draw, a clear or another action has drawn to, by its hash.
#pragma once

#include <optional>

#include "Recorder/Calls/CallRecord.h"
#include "Recorder/Capture.h"
#include "Recorder/Context.h"

namespace Recorder {

/// The hash of the framebuffer that is bound for drawing, where hashes of actions are wanted. Taken when the driver has
/// returned from the action, without the capture's lock.
class ActionHash {
public:
    explicit ActionHash(Context& context) noexcept
    {
        if (AreActionsHashed()) [[unlikely]]
            Take(context);
    }

    /// Appends it to the action's record, which was appended under the same lock; not where that has no room.
    void Put(const Capturing& capturing, const CallRecord& action) const noexcept
    {
        if (m_hash && capturing && action)
            capturing->PutReferenceHash(*m_hash);
    }

private:
    void Take(Context& context) noexcept;

    std::optional<Data::ReferenceHashRecord> m_hash;
};

} // namespace Recorder
