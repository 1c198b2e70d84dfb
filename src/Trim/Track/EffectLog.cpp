#include "Trim/Track/EffectLog.h"

#include <algorithm>
#include <cstring>

#include "Data/Records/CallArguments.h"

namespace Trim {

namespace {

using Data::Slot;
using Data::State;
using Data::StateSlots;

/// Walks the records backwards with the set of slots whose value has no influence on what comes after.
class Selector {
public:
    Selector(const EffectLog& log, const StateSlots& slots) : m_log(log), m_slots(slots)
    {
        m_selection.isKept.resize(log.Count());
    }

    /// `isForLast`: only what the last record depends on is used after all of them.
    Selection Run(std::span<const Slot> restored, bool isForLast)
    {
        // Which deleting calls are kept shows after the walk, but what they depend on counts in it: so it is repeated
        // until it knows all of them beforehand.
        do {
            m_unusedSince.assign(m_slots.Count(), isForLast ? m_epoch : 0);
            m_selection.isCreated.assign(m_slots.OwnerCount(), false);
            std::size_t record = m_log.Count();
            if (isForLast && record > 0)
                VisitLast(--record);
            for (const Slot slot : restored)
                MarkUnused(slot);
            while (record-- > 0)
                Visit(record);
        } while (m_log.KeepDeletes(m_log.Count(), m_selection.isCreated, m_selection.isKept));
        return std::move(m_selection);
    }

private:
    void MarkUnused(Slot slot) { m_unusedSince[slot] = m_epoch; }
    [[nodiscard]] bool IsUsed(Slot slot) const { return m_unusedSince[slot] != m_epoch; }
    void MarkUsed(Slot slot) { m_unusedSince[slot] = 0; }

    [[nodiscard]] bool WritesUsed(std::size_t record) const
    {
        return std::ranges::any_of(
            m_log.Items(record),
            [this](EffectLog::Item item) {
                return (item.effect == Effect::Replaces || item.effect == Effect::Changes) && IsUsed(item.target);
            });
    }

    void Visit(std::size_t record)
    {
        const Verdict verdict = m_log.VerdictOf(record);
        if (verdict == Verdict::Drop)
            return;
        const bool isKept = verdict >= Verdict::Keep || WritesUsed(record) ||
                            (verdict == Verdict::Delete && m_selection.isKept[record]);
        for (const EffectLog::Item item : m_log.Items(record))
            if (item.effect == Effect::Ends)
                std::ranges::for_each(m_slots.Of(item.target), [this](Slot slot) { MarkUnused(slot); });
        if (!isKept)
            return;
        m_selection.isKept[record] = true;
        Apply(record);
        if (verdict == Verdict::KeepAll)
            ++m_epoch;
    }

    void VisitLast(std::size_t record)
    {
        m_selection.isKept[record] = true;
        Apply(record);
        for (const EffectLog::Item item : m_log.Items(record))
            if (item.effect == Effect::Changes)
                MarkUsed(item.target);
        if (m_log.VerdictOf(record) == Verdict::KeepAll)
            ++m_epoch;
    }

    void Apply(std::size_t record)
    {
        for (const EffectLog::Item item : m_log.Items(record)) {
            if (item.effect == Effect::Replaces) {
                MarkUnused(item.target);
                if (m_slots.StateOf(item.target) == State::Object)
                    m_selection.isCreated[m_slots.OwnerOf(item.target)] = true;
            }
        }
        for (const EffectLog::Item item : m_log.Items(record))
            if (item.effect == Effect::Reads)
                MarkUsed(item.target);
            else if (item.effect == Effect::ReadsAll)
                std::ranges::for_each(m_slots.Of(item.target), [this](Slot slot) { MarkUsed(slot); });
    }

    const EffectLog& m_log;
    const StateSlots& m_slots;
    /// By slot: it has been unused since this epoch began. A call that may read anything begins a new one.
    std::vector<std::uint32_t> m_unusedSince;
    std::uint32_t m_epoch = 1;
    Selection m_selection;
};

} // namespace

bool EffectLog::KeepDeletes(std::size_t count, const std::vector<bool>& isCreated, std::vector<bool>& isKept) const
{
    const auto isOfCreated = [&](Item item) { return item.effect == Effect::Deletes && isCreated[item.target]; };
    bool hasNew = false;
    for (std::size_t record = 0; record < count; ++record) {
        if (VerdictOf(record) == Verdict::Delete && !isKept[record] &&
            std::ranges::any_of(Items(record), isOfCreated)) {
            isKept[record] = true;
            hasNew = true;
        }
    }
    return hasNew;
}

void DropNames(Data::CallId call, std::span<const EffectLog::Item> effects, const std::vector<bool>& isCreated,
               std::vector<std::uint8_t>& record)
{
    std::size_t name = 0;
    for (const EffectLog::Item item : effects) {
        if (item.effect != Effect::Deletes)
            continue;
        if (!isCreated[item.target]) {
            const Data::CallArguments arguments(call, Data::RecordView(record.data()));
            const auto names = static_cast<std::size_t>(arguments.Contents(1).data() - record.data());
            std::memset(record.data() + names + name * sizeof(std::uint32_t), 0, sizeof(std::uint32_t));
        }
        ++name;
    }
}

Selection SelectRecords(const EffectLog& log, const StateSlots& slots, std::span<const Slot> restored)
{
    return Selector(log, slots).Run(restored, false);
}

Selection SelectForLast(const EffectLog& log, const StateSlots& slots, std::span<const Slot> restored)
{
    return Selector(log, slots).Run(restored, true);
}

std::vector<bool> SlotsOfLast(const EffectLog& log, const StateSlots& slots)
{
    if (log.Count() == 0)
        return std::vector<bool>(slots.Count());
    const std::size_t last = log.Count() - 1;
    std::vector<bool> used(slots.Count(), log.VerdictOf(last) == Verdict::KeepAll);
    for (const EffectLog::Item item : log.Items(last)) {
        if (item.effect == Effect::Reads || item.effect == Effect::Changes)
            used[item.target] = true;
        else if (item.effect == Effect::ReadsAll)
            for (const Slot slot : slots.Of(item.target))
                used[slot] = true;
    }
    return used;
}

} // namespace Trim
