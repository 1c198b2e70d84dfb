// What each record of a capture does to the state, and which of the records are needed for the state at the end.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "Data/State/StateSlots.h"

namespace Trim {

enum class Effect : std::uint32_t {
    Replaces, ///< what the slot held before has no influence any more
    Changes,  ///< what the slot held before still counts
    Reads,    ///< what the record does depends on the slot
    ReadsAll, ///< the same for all slots of an owner
    Ends,     ///< nothing of the owner has influence any more
    Deletes,  ///< one for each name that a deleting call lists: its owner, or nobody
};

enum class Verdict : std::uint8_t {
    Drop,     ///< no influence on anything that stays
    IfUsed,   ///< kept when a slot that it replaces or changes is used later
    Delete,   ///< kept when one of the objects is created in what is kept
    Keep,     ///< kept in any case
    KeepLast, ///< makes something current: not needed when the thread does so again before anything else is kept
    KeepAll   ///< as Keep, and may read anything: a call that is not understood
};

/// The effects of the records, in their order.
class EffectLog {
public:
    struct Item {
        Item(Effect itsEffect, std::uint32_t itsTarget) : effect(itsEffect), target(itsTarget) {}
        Effect effect : 3;
        std::uint32_t target : 29; ///< a Slot or an Owner
    };

    /// Begins the next record; what follows is about it.
    void Begin() { m_records.push_back({m_items.size(), Verdict::Drop}); }
    void Add(Effect effect, std::uint32_t target) { m_items.emplace_back(effect, target); }
    /// What it writes decides, unless there is a verdict.
    void Use()
    {
        if (m_records.back().verdict == Verdict::Drop)
            m_records.back().verdict = Verdict::IfUsed;
    }
    void SetVerdict(Verdict verdict) { m_records.back().verdict = verdict; }
    /// The last record did nothing after all.
    void Clear()
    {
        m_items.erase(m_items.begin() + static_cast<std::ptrdiff_t>(m_records.back().firstItem), m_items.end());
        m_records.back().verdict = Verdict::Drop;
    }
    /// For a record further back.
    void SetVerdict(std::size_t record, Verdict verdict) { m_records[record].verdict = verdict; }

    [[nodiscard]] std::size_t Count() const { return m_records.size(); }
    [[nodiscard]] Verdict VerdictOf(std::size_t record) const { return m_records[record].verdict; }
    [[nodiscard]] std::span<const Item> Items(std::size_t record) const
    {
        const std::size_t end = record + 1 < m_records.size() ? m_records[record + 1].firstItem : m_items.size();
        return std::span(m_items).subspan(m_records[record].firstItem, end - m_records[record].firstItem);
    }

    /// Of the first `count` records, keeps those that delete something which a kept one makes, by owner; true when
    /// there are more of them than before.
    [[nodiscard]] bool KeepDeletes(std::size_t count, const std::vector<bool>& isCreated,
                                   std::vector<bool>& isKept) const;

private:
    struct Record {
        std::size_t firstItem;
        Verdict verdict;
    };
    std::vector<Record> m_records;
    std::vector<Item> m_items;
};

struct Selection {
    std::vector<bool> isKept;
    /// By owner: a kept record creates it.
    std::vector<bool> isCreated;
};

/// Which records bring all slots to the values that they have after the last record. `restored` are the slots whose
/// contents are written after the records in another way.
Selection SelectRecords(const EffectLog& log, const Data::StateSlots& slots, std::span<const Data::Slot> restored);
/// Which records the last one depends on; it is kept itself. `restored` are written in front of it in another way.
Selection SelectForLast(const EffectLog& log, const Data::StateSlots& slots, std::span<const Data::Slot> restored);
/// The slots that have a part in what the last record does, those that it changes included; by slot.
std::vector<bool> SlotsOfLast(const EffectLog& log, const Data::StateSlots& slots);

/// Replaces by 0, which deleting calls ignore, the names in a deleting call's record whose objects no kept record
/// makes. `effects` are the record's.
void DropNames(Data::CallId call, std::span<const EffectLog::Item> effects, const std::vector<bool>& isCreated,
               std::vector<std::uint8_t>& record);

} // namespace Trim
