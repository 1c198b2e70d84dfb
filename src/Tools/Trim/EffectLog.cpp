#include "Tools/Trim/EffectLog.h"

#include <algorithm>

namespace Tools::Trim {

namespace {

/// Walks the records backwards with the set of slots whose value has no influence on what comes behind.
class Selector {
public:
    Selector(const EffectLog& log, const StateSlots& slots) : m_log(log), m_slots(slots), m_unusedSince(slots.Count(), 0)
    {
        m_selection.isKept.resize(log.Count());
        m_selection.isCreated.resize(slots.OwnerCount());
    }

    void MarkUnused(Slot slot) { m_unusedSince[slot] = m_epoch; }

    Selection Run()
    {
        for (std::size_t record = m_log.Count(); record-- > 0;)
            Visit(record);
        for (std::size_t record = 0; record < m_log.Count(); ++record) {
            if (m_log.VerdictOf(record) == Verdict::Delete)
                m_selection.isKept[record] = DeletesCreated(record);
        }
        return std::move(m_selection);
    }

private:
    [[nodiscard]] bool IsUsed(Slot slot) const { return m_unusedSince[slot] != m_epoch; }
    void MarkUsed(Slot slot) { m_unusedSince[slot] = 0; }

    [[nodiscard]] bool WritesUsed(std::size_t record) const
    {
        return std::ranges::any_of(m_log.Items(record), [this](EffectLog::Item item) {
            return (item.effect == Effect::Replaces || item.effect == Effect::Changes) && IsUsed(item.target);
        });
    }

    void Visit(std::size_t record)
    {
        const Verdict verdict = m_log.VerdictOf(record);
        if (verdict == Verdict::Drop)
            return;
        const bool isKept = verdict == Verdict::Keep || verdict == Verdict::KeepAll || WritesUsed(record);
        for (const EffectLog::Item item : m_log.Items(record)) {
            if (item.effect == Effect::Ends)
                std::ranges::for_each(m_slots.Of(item.target), [this](Slot slot) { MarkUnused(slot); });
        }
        if (!isKept)
            return;
        m_selection.isKept[record] = true;
        Apply(record);
        if (verdict == Verdict::KeepAll)
            ++m_epoch;
    }

    void Apply(std::size_t record)
    {
        for (const EffectLog::Item item : m_log.Items(record)) {
            if (item.effect == Effect::Replaces) {
                MarkUnused(item.target);
                if (m_slots.PieceOf(item.target) == Piece::Object)
                    m_selection.isCreated[m_slots.OwnerOf(item.target)] = true;
            }
        }
        for (const EffectLog::Item item : m_log.Items(record)) {
            if (item.effect == Effect::Reads)
                MarkUsed(item.target);
            else if (item.effect == Effect::ReadsAll)
                std::ranges::for_each(m_slots.Of(item.target), [this](Slot slot) { MarkUsed(slot); });
        }
    }

    [[nodiscard]] bool DeletesCreated(std::size_t record) const
    {
        return std::ranges::any_of(m_log.Items(record), [this](EffectLog::Item item) {
            return item.effect == Effect::Deletes && m_selection.isCreated[item.target];
        });
    }

    const EffectLog& m_log;
    const StateSlots& m_slots;
    /// By slot: it has been unused since this epoch began. A call that may read anything begins a new one.
    std::vector<std::uint32_t> m_unusedSince;
    std::uint32_t m_epoch = 1;
    Selection m_selection;
};

} // namespace

Selection SelectRecords(const EffectLog& log, const StateSlots& slots, std::span<const Slot> restored)
{
    Selector selector(log, slots);
    for (const Slot slot : restored)
        selector.MarkUnused(slot);
    return selector.Run();
}

} // namespace Tools::Trim
