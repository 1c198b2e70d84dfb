// Which calls bring the state back that frames change, and what has to be brought back at all.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "Trim/Track/EffectLog.h"
#include "Trim/Track/TrackedObjects.h"

namespace Trim {

/// The records of a loop are those of a log from `begin` on. What is there when it begins:
struct LoopBegin {
    std::size_t begin = 0;
    /// Those from here on are made in the loop.
    Owner owners = 0;
    /// By slot: the object that is bound there.
    std::vector<Owner> bound;
    /// By owner: it exists and was not deleted.
    std::vector<bool> isAlive;
};

/// What the loop reads before it sets it, and changes: without this, another pass would see what the one before left.
struct LoopNeeds {
    std::set<Slot> slots;
    /// Objects from before the loop that it deletes.
    std::set<Owner> deleted;
    /// By slot: the loop writes it, be it needed or not.
    std::vector<bool> isWritten;
};
[[nodiscard]] LoopNeeds FindNeeds(const EffectLog& log, const Data::StateSlots& slots, const LoopBegin& loop,
                                  const std::vector<bool>& isIgnored);

struct RestoreSelection {
    /// By record in front of the loop: it is replayed again.
    std::vector<bool> isKept;
    /// By owner: a record that is kept makes it.
    std::vector<bool> isCreated;
    /// What is brought back.
    std::set<Slot> touched;
    /// Objects that are made anew.
    std::set<Owner> recreated;
    /// Slots of the context that no call set before the loop.
    std::set<Slot> unset;
};

/// Finds the records that bring the needed slots to what they were when the loop began, given all else as it is at the
/// loop's end: what these records depend on and what they change in passing is brought back too. `hasContents`: slots
/// whose contents are written in another way after the records. `isIgnored`: records that change nothing when they are
/// replayed once more.
[[nodiscard]] RestoreSelection SelectRestore(const EffectLog& log, const Data::StateSlots& slots, const LoopBegin& loop,
                                             const LoopNeeds& needs, const std::function<bool(Slot)>& hasContents,
                                             const std::function<bool(Owner)>& isContext,
                                             const std::vector<bool>& isIgnored);

} // namespace Trim
