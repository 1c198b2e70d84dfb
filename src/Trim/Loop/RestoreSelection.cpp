#include "Trim/Loop/RestoreSelection.h"

#include <algorithm>

namespace Trim {

namespace {

using Data::StateSlots;

/// A call that only makes sure that an object is there, such as the first one that binds it.
bool IsFirstUse(const StateSlots& slots, EffectLog::Item item)
{
    return item.effect == Effect::Changes && slots.StateOf(item.target) == State::Object;
}

/// Goes through the records of a loop forwards.
class NeedFinder {
public:
    NeedFinder(const StateSlots& slots, const LoopBegin& loop) : m_slots(slots), m_loop(loop)
    {
        m_fates.resize(slots.Count());
        m_isReadWhole.resize(slots.OwnerCount());
        m_needs.isWritten.resize(slots.Count());
    }

    void Visit(std::span<const EffectLog::Item> items)
    {
        for (const EffectLog::Item item : items)
            if (item.effect == Effect::Reads)
                Reads(item.target);
            else if (item.effect == Effect::ReadsAll)
                ReadsAll(item.target);
            else if (item.effect == Effect::Changes && !IsFirstUse(m_slots, item))
                Writes(item.target, true);
        for (const EffectLog::Item item : items)
            if (item.effect == Effect::Replaces)
                Writes(item.target, false);
            else if ((item.effect == Effect::Ends || item.effect == Effect::Deletes) && item.target != 0 &&
                     item.target < m_loop.owners && m_loop.isAlive[item.target])
                m_needs.deleted.insert(item.target);
    }

    LoopNeeds Take() { return std::move(m_needs); }

private:
    enum class Fate : std::uint8_t { Open, Read, Replaced };

    /// What queries found out is for the program alone.
    [[nodiscard]] bool Counts(Slot slot) const
    {
        return m_slots.OwnerOf(slot) < m_loop.owners && m_slots.StateOf(slot) != State::QueryResult;
    }
    void Reads(Slot slot)
    {
        if (m_fates[slot] == Fate::Open)
            m_fates[slot] = Fate::Read;
    }
    void ReadsAll(Owner owner)
    {
        // All slots that there will be: what is set later has its first value now.
        if (!m_isReadWhole[owner])
            std::ranges::for_each(m_slots.Of(owner), [this](Slot slot) { Reads(slot); });
        m_isReadWhole[owner] = true;
    }
    void Writes(Slot slot, bool keepsPart)
    {
        m_needs.isWritten[slot] = true;
        if (!Counts(slot))
            return;
        if (m_fates[slot] == Fate::Open)
            m_fates[slot] = keepsPart ? Fate::Read : Fate::Replaced;
        if (m_fates[slot] == Fate::Read)
            m_needs.slots.insert(slot);
    }

    const StateSlots& m_slots;
    const LoopBegin& m_loop;
    std::vector<Fate> m_fates;
    std::vector<bool> m_isReadWhole;
    LoopNeeds m_needs;
};

/// Goes through the records in front of a loop backwards, until nothing more is touched.
class RestoreSelector {
public:
    RestoreSelector(const EffectLog& log, const StateSlots& slots, const LoopBegin& loop, const LoopNeeds& needs,
                    const std::function<bool(Slot)>& hasContents, const std::function<bool(Owner)>& isContext,
                    const std::vector<bool>& isIgnored)
        : m_log(log), m_slots(slots), m_loop(loop), m_needs(needs), m_hasContents(hasContents), m_isContext(isContext),
          m_isIgnored(isIgnored), m_isTouched(slots.Count()), m_lastWrite(slots.Count())
    {
        m_selection.isKept.resize(loop.begin);
        FindLastWrites();
    }

    RestoreSelection Run()
    {
        for (const Slot slot : m_needs.slots)
            Touch(slot);
        for (const Owner owner : m_needs.deleted)
            Recreate(owner);
        do {
            m_hasNew = false;
            Walk();
            m_hasNew |= m_log.KeepDeletes(m_loop.begin, m_selection.isCreated, m_selection.isKept);
            FindUnset();
        } while (m_hasNew);
        return std::move(m_selection);
    }

private:
    /// Positions from 1; 0: never.
    void FindLastWrites()
    {
        for (std::size_t record = 0; record < m_loop.begin; ++record) {
            if (m_isIgnored[record])
                continue;
            for (const EffectLog::Item item : m_log.Items(record)) {
                if (item.effect == Effect::Ends)
                    for (const Slot slot : m_slots.Of(item.target))
                        m_lastWrite[slot] = record + 1;
                else if (item.effect == Effect::Replaces ||
                         (item.effect == Effect::Changes && !IsFirstUse(m_slots, item)))
                    m_lastWrite[item.target] = record + 1;
            }
        }
    }

    void Touch(Slot slot)
    {
        if (m_isTouched[slot])
            return;
        m_isTouched[slot] = true;
        m_selection.touched.insert(slot);
        m_hasNew = true;
        const Owner owner = m_slots.OwnerOf(slot);
        if (m_slots.StateOf(slot) == State::Object && IsThere(owner))
            Recreate(owner);
    }

    /// The object gets another name in the driver, so that it has to be set up and bound again where it was.
    void Recreate(Owner owner)
    {
        if (!m_selection.recreated.insert(owner).second)
            return;
        std::ranges::for_each(m_slots.Of(owner), [this](Slot slot) { Touch(slot); });
        for (Slot slot = 0; slot < m_loop.bound.size(); ++slot)
            if (m_loop.bound[slot] == owner)
                Touch(slot);
        m_hasNew = true;
    }

    [[nodiscard]] bool IsThere(Owner owner) const { return owner < m_loop.owners && m_loop.isAlive[owner]; }

    void Walk()
    {
        m_isUsed.assign(m_slots.Count(), false);
        m_selection.isCreated.assign(m_slots.OwnerCount(), false);
        for (const Slot slot : m_selection.touched)
            m_isUsed[slot] = !m_hasContents(slot);
        for (std::size_t record = m_loop.begin; record-- > 0;)
            Visit(record);
    }

    void Visit(std::size_t record)
    {
        const Verdict verdict = m_log.VerdictOf(record);
        if (verdict == Verdict::Drop)
            return;
        const std::span<const EffectLog::Item> items = m_log.Items(record);
        const bool isKept = std::ranges::any_of(items, [this](EffectLog::Item item) { return WritesUsed(item); }) ||
                            (verdict == Verdict::Delete && m_selection.isKept[record]);
        for (const EffectLog::Item item : items)
            if (item.effect == Effect::Ends)
                std::ranges::for_each(m_slots.Of(item.target), [this](Slot slot) { m_isUsed[slot] = false; });
        m_selection.isKept[record] = isKept;
        if (!isKept)
            return;
        for (const EffectLog::Item item : items)
            Writes(item, record);
        for (const EffectLog::Item item : items)
            if (item.effect == Effect::Reads)
                Reads(item.target, record);
            else if (item.effect == Effect::ReadsAll)
                for (const Slot slot : m_slots.Of(item.target))
                    Reads(slot, record);
    }

    [[nodiscard]] bool WritesUsed(EffectLog::Item item) const
    {
        return (item.effect == Effect::Replaces || item.effect == Effect::Changes) && m_isUsed[item.target];
    }

    void Writes(EffectLog::Item item, std::size_t record)
    {
        if (item.effect == Effect::Replaces) {
            m_isUsed[item.target] = false;
            if (m_slots.StateOf(item.target) == State::Object)
                m_selection.isCreated[m_slots.OwnerOf(item.target)] = true;
            Touch(item.target);
        } else if (item.effect == Effect::Changes && !IsFirstUse(m_slots, item) && !m_isIgnored[record]) {
            Touch(item.target);
        }
    }

    /// The record needs the value that the slot had then.
    void Reads(Slot slot, std::size_t record)
    {
        if (!m_isTouched[slot] && m_lastWrite[slot] <= record + 1 && !m_needs.isWritten[slot])
            return;
        Touch(slot);
        m_isUsed[slot] = true;
    }

    /// What no record set has its first value, which an object gets when it is made anew.
    void FindUnset()
    {
        m_selection.unset.clear();
        for (Slot slot = 0; slot < m_isUsed.size(); ++slot) {
            const Owner owner = m_slots.OwnerOf(slot);
            if (!m_isUsed[slot] || !IsThere(owner) || m_selection.recreated.contains(owner))
                continue;
            if (m_isContext(owner))
                m_selection.unset.insert(slot);
            else
                Recreate(owner);
        }
    }

    const EffectLog& m_log;
    const StateSlots& m_slots;
    const LoopBegin& m_loop;
    const LoopNeeds& m_needs;
    const std::function<bool(Slot)>& m_hasContents;
    const std::function<bool(Owner)>& m_isContext;
    const std::vector<bool>& m_isIgnored;
    std::vector<bool> m_isTouched;
    std::vector<std::size_t> m_lastWrite;
    std::vector<bool> m_isUsed;
    bool m_hasNew = false;
    RestoreSelection m_selection;
};

} // namespace

LoopNeeds FindNeeds(const EffectLog& log, const StateSlots& slots, const LoopBegin& loop,
                    const std::vector<bool>& isIgnored)
{
    NeedFinder finder(slots, loop);
    for (std::size_t record = loop.begin; record < log.Count(); ++record)
        if (!isIgnored[record])
            finder.Visit(log.Items(record));
    return finder.Take();
}

RestoreSelection SelectRestore(const EffectLog& log, const StateSlots& slots, const LoopBegin& loop,
                               const LoopNeeds& needs, const std::function<bool(Slot)>& hasContents,
                               const std::function<bool(Owner)>& isContext, const std::vector<bool>& isIgnored)
{
    return RestoreSelector(log, slots, loop, needs, hasContents, isContext, isIgnored).Run();
}

} // namespace Trim
