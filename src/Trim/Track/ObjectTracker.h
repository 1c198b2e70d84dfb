#pragma once

#include <cstdint>

#include "Trim/Track/TrackedState.h"

namespace Trim {

/// When objects come into being and when they end: a deleted one that something still uses stays.
class ObjectTracker {
public:
    explicit ObjectTracker(TrackedState& tracked) : m_tracked(tracked) {}

    /// What the description says that a call makes and deletes; false where it says nothing.
    bool Track(const CallArguments& call);
    void Create(ObjectKind kind, std::uint32_t name, std::uint32_t display = 0);
    void Delete(ObjectKind kind, std::uint32_t name, std::uint32_t display = 0);
    /// Ends a deleted program that no context and no pipeline uses.
    void EndUnusedProgram(Owner program);
    /// `shader` is no longer attached to `program`, and ends if it was deleted and nothing else has it.
    void LetGoOfShader(Owner shader, Owner program);

private:
    void ReadsContainers(ObjectKind kind);
    void Unbind(Owner owner);
    /// Nothing but the current context refers to the object.
    [[nodiscard]] bool IsOnlyUsedHere(Owner owner);

    TrackedState& m_tracked;
};

} // namespace Trim
