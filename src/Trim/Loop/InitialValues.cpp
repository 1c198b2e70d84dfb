#include "Trim/Loop/InitialValues.h"

#include <algorithm>
#include <cstring>

#include <GLES3/gl32.h>

#include "Data/Records/CallParameters.h"

namespace Trim {

namespace {

using Data::CallId;
using Data::Operand;
using Data::Source;
using Data::StateChange;
using Data::StateSlots;

/// Makes a call that has one change of its description set a slot to given words.
class Inversion {
public:
    Inversion(CallId call, const StateSlots& slots, Slot slot) : m_call(call), m_slots(slots), m_slot(slot)
    {
        m_arguments.resize(Data::ParametersOf(call).size());
    }

    /// False where the change cannot do that.
    bool Solve(const StateChange& change, const Data::Words& words, const std::function<bool(Slot)>& mayChange)
    {
        if (change.kind != Data::ChangeKind::Set || change.owner.source != Source::Context ||
            change.wordCount != words.size() || !SolveIndex(change.first, m_slots.FirstOf(m_slot)))
            return false;
        if (IsSet(change.second.source) ? !MayChangeOthers(mayChange)
                                        : !SolveIndex(change.second, m_slots.SecondOf(m_slot)))
            return false;
        const std::span<const Operand> operands = Data::WordsOf(change);
        for (std::size_t i = 0; i < words.size(); ++i)
            if (!SolveIndex(operands[i], words[i]))
                return false;
        return MeetsConditions(change, mayChange) &&
               std::ranges::all_of(m_arguments, [](const auto& argument) { return argument.has_value(); });
    }

    /// Nothing where an argument is no whole number: those of the first values all are, but for floating-point
    /// parameters, which hold them exactly.
    [[nodiscard]] OutputCall Make() const
    {
        OutputCall made = MakeCall(m_call, {});
        for (std::size_t i = 0; i < m_arguments.size(); ++i) {
            const Data::ParameterDescription& parameter = Data::ParametersOf(m_call)[i];
            if (parameter.code == 'f') {
                const auto value = static_cast<float>(*m_arguments[i]);
                std::memcpy(made.record.data() + parameter.at, &value, sizeof value);
            } else {
                const auto value = static_cast<std::int64_t>(*m_arguments[i]);
                std::memcpy(made.record.data() + parameter.at, &value, parameter.bytes);
            }
        }
        return made;
    }

private:
    /// A set of indexes rather than one.
    static bool IsSet(Source source)
    {
        return source == Source::DrawBuffers || source == Source::Viewports || source == Source::Faces;
    }

    bool SolveIndex(const Operand& operand, double value)
    {
        if (operand.source == Source::Number)
            return operand.number == value;
        if (operand.source == Source::FramebuffersOf)
            return Set(operand.parameter, value != 0 ? GL_DRAW_FRAMEBUFFER : GL_READ_FRAMEBUFFER);
        return operand.source == Source::Parameter && Set(operand.parameter, value);
    }

    bool Set(std::size_t parameter, double value)
    {
        if (Data::ParametersOf(m_call)[parameter].form != Data::ParameterForm::Scalar)
            return false;
        std::optional<double>& argument = m_arguments[parameter];
        if (argument && *argument != value)
            return false;
        argument = value;
        return true;
    }

    [[nodiscard]] bool MayChangeOthers(const std::function<bool(Slot)>& mayChange) const
    {
        return std::ranges::all_of(
            m_slots.Of(m_slots.OwnerOf(m_slot)),
            [&](Slot other) {
                return m_slots.StateOf(other) != m_slots.StateOf(m_slot) ||
                       m_slots.FirstOf(other) != m_slots.FirstOf(m_slot) || mayChange(other);
            });
    }

    /// That of the change, and the other changes of the call: none of them may happen to slots that are to stay.
    bool MeetsConditions(const StateChange& wanted, const std::function<bool(Slot)>& mayChange)
    {
        for (const StateChange& change : Data::ChangesOf(m_call)) {
            const bool isMet = IsMet(change);
            if (&change == &wanted ? !isMet : isMet && !MayHappen(change, mayChange))
                return false;
        }
        return true;
    }

    [[nodiscard]] bool IsMet(const StateChange& change) const
    {
        if (change.condition.parameter == 0)
            return true;
        const std::optional<double>& argument = m_arguments[change.condition.parameter - 1];
        if (change.condition.test == StateChange::Has)
            return argument && (static_cast<std::uint32_t>(*argument) & change.condition.value) != 0;
        const bool isEqual = argument && *argument == change.condition.value;
        return change.condition.test == StateChange::Is ? isEqual : !isEqual;
    }

    [[nodiscard]] bool MayHappen(const StateChange& change, const std::function<bool(Slot)>& mayChange) const
    {
        if (change.owner.source != Source::Context || change.first.source != Source::Parameter ||
            change.second.source != Source::Number)
            return false;
        const std::optional<double>& first = m_arguments[change.first.parameter];
        if (!first)
            return false;
        const Slot slot = m_slots.Find(m_slots.OwnerOf(m_slot), change.state, static_cast<std::uint32_t>(*first), 0);
        return slot != StateSlots::None && mayChange(slot);
    }

    CallId m_call;
    const StateSlots& m_slots;
    Slot m_slot;
    std::vector<std::optional<double>> m_arguments;
};

} // namespace

std::vector<OutputCall> CallsForInitialValue(const Data::StateModel& model, Slot slot,
                                             const std::function<bool(Slot)>& mayChange)
{
    const StateSlots& slots = model.Slots();
    const State state = slots.StateOf(slot);
    const std::uint32_t first = slots.FirstOf(slot);
    if (state == State::Texture) {
        const OutputCall bind = MakeCall(CallId::glBindTexture, {slots.SecondOf(slot), 0});
        const Slot unit = slots.Find(slots.OwnerOf(slot), State::ActiveTexture);
        if (unit == StateSlots::None || slots.ValueOf(unit).words.empty())
            return {bind};
        if (!mayChange(unit))
            return {};
        return {MakeCall(CallId::glActiveTexture, {GL_TEXTURE0 + first}), bind,
                MakeCall(CallId::glActiveTexture, {GL_TEXTURE0})};
    }
    if (state == State::Renderbuffer)
        return {MakeCall(CallId::glBindRenderbuffer, {GL_RENDERBUFFER, 0})};
    if (state == State::PixelStore) {
        const bool isAlignment = first == GL_PACK_ALIGNMENT || first == GL_UNPACK_ALIGNMENT;
        return {MakeCall(CallId::glPixelStorei, {first, isAlignment ? 4 : 0})};
    }
    const Data::StateDescription& description = Data::Describe(state);
    Data::Words words(description.initial.begin(), description.initial.begin() + description.initialWords);
    // The one capability that is on at the start.
    if (state == State::Capability && first == GL_DITHER)
        words = {1};
    if (words.empty())
        return {};
    for (std::size_t id = 0; id < Data::callCount; ++id) {
        const auto call = static_cast<CallId>(id);
        for (const StateChange& change : Data::ChangesOf(call)) {
            if (change.state != state)
                continue;
            if (Inversion inversion(call, slots, slot); inversion.Solve(change, words, mayChange))
                return {inversion.Make()};
        }
    }
    return {};
}

} // namespace Trim
