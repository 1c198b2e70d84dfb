// The state of a recorded program, cut into the pieces that calls write and read.
#pragma once

#include <cstdint>
#include <unordered_map>
#include <vector>

namespace Trim {

/// Whose state it is: a context, a surface or an object. An object that is deleted and made again under the same name
/// is another owner. 0 is nobody.
using Owner = std::uint32_t;

/// One piece of state of one owner, numbered from 0.
using Slot = std::uint32_t;

/// What a slot holds, and what its two details say.
enum class Piece : std::uint32_t {
    Object,            ///< that the object exists
    Label,             ///< its debug label
    Setting,           ///< what a plain set call sets: call, and the argument that selects among its settings
    ActiveUnit,        ///< number of the active texture unit, from 0
    TextureBinding,    ///< of a context: unit, target
    SamplerBinding,    ///< unit
    ImageBinding,      ///< unit
    BufferBinding,     ///< of a context or, for indices, a vertex array: target
    IndexedBinding,    ///< target, index
    Program,           ///< in use
    Pipeline,          ///< bound
    VertexArray,       ///< bound
    TransformFeedback, ///< bound
    DrawFramebuffer,   ///< bound
    ReadFramebuffer,   ///< bound
    Renderbuffer,      ///< bound
    Build,             ///< sources, attached shaders, compiling and linking, locations
    Uniform,           ///< location, call and count
    Storage,           ///< that an image or a buffer has memory: face, level
    Pixels,            ///< what an image holds: face, level and aspect
    Mipmaps,           ///< levels that were generated
    Parameter,         ///< of a texture or sampler: its name
    Data,              ///< what a buffer holds
    Mapping,           ///< that a buffer is mapped
    AttribFormat,      ///< of a vertex array: attribute
    AttribBinding,     ///< attribute
    AttribEnabled,     ///< attribute
    VertexBuffer,      ///< binding
    Divisor,           ///< binding
    Attachment,        ///< of a framebuffer: attachment point
    QueryResult,
};

/// Numbers the slots, so that sets of them are arrays, and holds a value for those that are followed: the owner that is
/// bound there, or a number. All values are 0 at first.
class StateSlots {
public:
    [[nodiscard]] Owner NewOwner()
    {
        m_slots.emplace_back();
        return static_cast<Owner>(m_slots.size() - 1);
    }

    [[nodiscard]] Slot At(Owner owner, Piece piece, std::uint32_t first = 0, std::uint32_t second = 0)
    {
        const auto [entry, isNew] = m_numbers.try_emplace({owner, piece, first, second}, Count());
        if (isNew) {
            m_slots[owner].push_back(entry->second);
            m_values.push_back(0);
            m_keys.push_back({owner, piece, first});
        }
        return entry->second;
    }

    [[nodiscard]] std::uint32_t& Value(Slot slot) { return m_values[slot]; }
    [[nodiscard]] std::uint32_t Value(Slot slot) const { return m_values[slot]; }
    [[nodiscard]] const std::vector<Slot>& Of(Owner owner) const { return m_slots[owner]; }
    [[nodiscard]] Owner OwnerOf(Slot slot) const { return m_keys[slot].owner; }
    [[nodiscard]] Piece PieceOf(Slot slot) const { return m_keys[slot].piece; }
    /// The first detail.
    [[nodiscard]] std::uint32_t FirstOf(Slot slot) const { return m_keys[slot].first; }
    [[nodiscard]] std::uint32_t Count() const { return static_cast<std::uint32_t>(m_values.size()); }
    [[nodiscard]] std::uint32_t OwnerCount() const { return static_cast<std::uint32_t>(m_slots.size()); }

private:
    struct Key {
        Owner owner;
        Piece piece;
        std::uint32_t first;
        std::uint32_t second = 0;
        bool operator==(const Key&) const = default;
    };
    struct Hash {
        std::size_t operator()(const Key& key) const
        {
            std::uint64_t hash = key.owner;
            for (const std::uint32_t part : {static_cast<std::uint32_t>(key.piece), key.first, key.second})
                hash = (hash ^ part) * 0x9E3779B97F4A7C15 + (hash >> 29);
            return hash;
        }
    };

    std::unordered_map<Key, Slot, Hash> m_numbers;
    std::vector<std::uint32_t> m_values;
    std::vector<Key> m_keys;
    /// By owner; nobody has none.
    std::vector<std::vector<Slot>> m_slots = std::vector<std::vector<Slot>>(1);
};

} // namespace Trim
