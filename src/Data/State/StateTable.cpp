#include "Data/State/StateTable.h"

#include <algorithm>

namespace Data {

namespace {

#include "Data/StateTable.inc"

} // namespace

const StateDescription& Describe(State state)
{
    return states[static_cast<std::size_t>(state)];
}

ObjectKind LabeledKind(std::uint32_t identifier)
{
    for (std::size_t kind = 0; identifier != 0 && kind < objectKinds; ++kind)
        if (std::ranges::find(objectDescriptions[kind].labels, identifier) != objectDescriptions[kind].labels.end())
            return static_cast<ObjectKind>(kind);
    return noObject;
}

const CallEffects& EffectsOf(CallId call)
{
    return calls[static_cast<std::size_t>(call)];
}

std::span<const StateChange> ChangesOf(CallId call)
{
    return std::span(changes).subspan(EffectsOf(call).firstChange, EffectsOf(call).changeCount);
}

std::span<const Operand> WordsOf(const StateChange& change)
{
    return std::span(words).subspan(change.firstWord, change.wordCount);
}

} // namespace Data
