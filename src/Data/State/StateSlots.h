// The state of a recorded program, cut into the pieces that calls write and read.
#pragma once

#include <array>
#include <cstdint>
#include <unordered_map>
#include <vector>

#include "Data/CallIds.h"
#include "Data/States.h"

namespace Data {

/// Whose state it is: a context, a surface or an object. An object that is deleted and made again under the same name
/// is another owner. 0 is nobody.
using Owner = std::uint32_t;

/// One piece of state of one owner, numbered from 0.
using Slot = std::uint32_t;

/// A value that a call sets. Numbers of all types are equal when they mean the same.
using Words = std::vector<double>;

/// Numbers the slots, so that sets of them are arrays, and holds their values.
class StateSlots {
public:
    static constexpr Slot None = ~Slot{0};
    static constexpr auto NoCall = static_cast<CallId>(callCount);

    [[nodiscard]] Owner NewOwner()
    {
        m_slots.emplace_back();
        return static_cast<Owner>(m_slots.size() - 1);
    }

    [[nodiscard]] Slot At(Owner owner, State state, std::uint32_t first = 0, std::uint32_t second = 0)
    {
        const Key key{owner, state, first, second};
        // Programs set the same again and again.
        Recent& recent = m_recent[Hash{}(key) % m_recent.size()];
        if (recent.key != key)
            recent = {key, Number(key)};
        return recent.slot;
    }
    /// The one whose second index is the next after that of `slot`. Those that calls set at once have numbers in a row.
    [[nodiscard]] Slot After(Slot slot)
    {
        Key key = m_keys[slot];
        ++key.second;
        return slot + 1 < m_keys.size() && m_keys[slot + 1] == key ? slot + 1
                                                                   : At(key.owner, key.state, key.first, key.second);
    }
    /// `none` for a slot that nothing wrote to or asked for.
    [[nodiscard]] Slot Find(Owner owner, State state, std::uint32_t first = 0, std::uint32_t second = 0) const
    {
        const Key key{owner, state, first, second};
        if (const Recent& recent = m_recent[Hash{}(key) % m_recent.size()]; recent.key == key)
            return recent.slot;
        const auto entry = m_numbers.find(key);
        return entry != m_numbers.end() ? entry->second : None;
    }

    struct Value {
        /// Empty while nothing was set.
        Words words;
        /// The object that the first word names, where the state has one.
        Owner bound = 0;
        /// The call that set the words.
        CallId setter = NoCall;
        /// Where that call is, as StateModel::SetPlace had it.
        std::uint64_t place = 0;
    };
    [[nodiscard]] Value& ValueOf(Slot slot) { return m_values[slot]; }
    [[nodiscard]] const Value& ValueOf(Slot slot) const { return m_values[slot]; }

    [[nodiscard]] const std::vector<Slot>& Of(Owner owner) const { return m_slots[owner]; }
    [[nodiscard]] Owner OwnerOf(Slot slot) const { return m_keys[slot].owner; }
    [[nodiscard]] State StateOf(Slot slot) const { return m_keys[slot].state; }
    /// The indexes of the state.
    [[nodiscard]] std::uint32_t FirstOf(Slot slot) const { return m_keys[slot].first; }
    [[nodiscard]] std::uint32_t SecondOf(Slot slot) const { return m_keys[slot].second; }
    [[nodiscard]] std::uint32_t Count() const { return static_cast<std::uint32_t>(m_values.size()); }
    [[nodiscard]] std::uint32_t OwnerCount() const { return static_cast<std::uint32_t>(m_slots.size()); }

private:
    struct Key {
        Owner owner;
        State state;
        std::uint32_t first;
        std::uint32_t second;
        bool operator==(const Key&) const = default;
    };
    struct Recent {
        Key key = {~Owner{0}, {}, 0, 0};
        Slot slot = None;
    };
    struct Hash {
        std::size_t operator()(const Key& key) const
        {
            const std::uint64_t place = std::uint64_t{key.owner} << 32 | static_cast<std::uint32_t>(key.state);
            const std::uint64_t index = std::uint64_t{key.first} << 32 | key.second;
            const std::uint64_t hash = place * 0x9E3779B97F4A7C15 ^ (index + place) * 0xC2B2AE3D27D4EB4F;
            return hash ^ hash >> 32;
        }
    };

    Slot Number(const Key& key)
    {
        const auto [entry, isNew] = m_numbers.try_emplace(key, Count());
        if (isNew) {
            m_slots[key.owner].push_back(entry->second);
            m_values.emplace_back();
            m_keys.push_back(key);
        }
        return entry->second;
    }

    std::unordered_map<Key, Slot, Hash> m_numbers;
    /// One of the slots whose hash is the index, modulo the size.
    std::array<Recent, 1024> m_recent;
    std::vector<Value> m_values;
    std::vector<Key> m_keys;
    /// By owner; nobody has none.
    std::vector<std::vector<Slot>> m_slots = std::vector<std::vector<Slot>>(1);
};

} // namespace Data
