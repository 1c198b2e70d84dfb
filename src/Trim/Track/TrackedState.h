#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <vector>

#include "Data/State/StateModel.h"
#include "Trim/Track/EffectLog.h"
#include "Trim/Track/TrackedObjects.h"

namespace Trim {

using Data::CallArguments;
using Data::ObjectKind;

/// What the trackers have in common: the state and the objects of the recorded program, and the log of what each record
/// does to them.
class TrackedState {
public:
    TrackedState() = default;
    TrackedState(const TrackedState&) = delete;
    TrackedState& operator=(const TrackedState&) = delete;

    [[nodiscard]] EffectLog& Log() { return m_log; }
    [[nodiscard]] const EffectLog& Log() const { return m_log; }
    [[nodiscard]] Data::StateModel& Model() { return m_model; }
    [[nodiscard]] const Data::StateModel& Model() const { return m_model; }
    [[nodiscard]] Data::StateSlots& Slots() { return m_model.Slots(); }
    [[nodiscard]] std::uint32_t Thread() const { return m_model.AllContexts().Thread(); }

    // Effects of the record at work. Those that write make it IfUsed.
    void Replaces(Slot slot);
    void Changes(Slot slot);
    void Reads(Slot slot) { m_log.Add(Effect::Reads, slot); }
    void ReadsAll(Owner owner);
    /// The object and what it refers to.
    void ReadsObject(Owner owner, int depth = 2);
    void Exists(Owner owner) { Reads(SlotOf(owner, State::Object)); }

    // Objects.
    [[nodiscard]] ObjectInfo& Object(Owner owner)
    {
        if (owner >= m_objects.size())
            m_objects.resize(owner + 1);
        return m_objects[owner];
    }
    [[nodiscard]] Slot SlotOf(Owner owner, State state, std::uint32_t first = 0, std::uint32_t second = 0)
    {
        return m_model.Slots().At(owner, state, first, second);
    }
    [[nodiscard]] Owner Find(ObjectKind kind, std::uint32_t name) { return m_model.Find(kind, name); }
    void Refer(Owner from, Owner to);
    /// What the draws between the begin and the end of a query add to it.
    [[nodiscard]] Slot SampleSlot(Owner query) { return SlotOf(query, State::QueryResult, 0, 1); }
    /// Those of all queries.
    [[nodiscard]] std::vector<Slot> SampleSlots() const;

    // The current context.
    [[nodiscard]] Data::StateContext& Context() { return m_model.Context(); }
    /// By the owner that a context is.
    [[nodiscard]] const std::map<Owner, ContextInfo>& Infos() const { return m_contexts; }
    [[nodiscard]] ContextInfo& Info() { return m_contexts[Context().owner]; }
    [[nodiscard]] Slot ContextSlot(State state, std::uint32_t first = 0, std::uint32_t second = 0)
    {
        return m_model.ContextSlot(state, first, second);
    }
    [[nodiscard]] Slot FramebufferSlot(bool isForDrawing) { return ContextSlot(State::Framebuffer, 0, isForDrawing); }
    [[nodiscard]] Owner BoundFramebuffer(bool isForDrawing)
    {
        return m_model.Bound(State::Framebuffer, 0, isForDrawing);
    }
    /// A word of a setting of the context.
    [[nodiscard]] double Setting(State state, std::uint32_t first = 0, std::uint32_t second = 0, std::size_t word = 0)
    {
        return m_model.Word(Context().owner, state, first, second, word);
    }
    [[nodiscard]] Slot BufferSlot(std::uint32_t target);
    // Read the binding of a target too.
    [[nodiscard]] Owner BoundBuffer(std::uint32_t target);
    [[nodiscard]] Owner BoundTexture(std::uint32_t target);

private:
    EffectLog m_log;
    Data::StateModel m_model;
    /// By owner. References stay valid.
    std::deque<ObjectInfo> m_objects;
    /// By the owner that a context is.
    std::map<Owner, ContextInfo> m_contexts;
};

} // namespace Trim
