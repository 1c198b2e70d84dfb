// The part of StateModel that is about values: where a call sets which words.
#include <algorithm>
#include <bit>

#include "Data/GLEnums.h"
#include "Data/State/Sizes.h"
#include "Data/State/StateModel.h"

namespace Data {

namespace {

constexpr std::uint32_t Dither = 0x0BD0;
constexpr std::uint32_t Front = 0x0404;
constexpr std::uint32_t Back = 0x0405;
constexpr std::uint32_t Texture0 = 0x84C0;
constexpr std::uint32_t CubeMap = 0x8513;
constexpr std::uint32_t PositiveX = 0x8515;
constexpr std::uint32_t NegativeZ = 0x851A;
constexpr std::uint32_t ReadFramebuffer = 0x8CA8;
constexpr std::uint32_t DrawFramebuffer = 0x8CA9;

std::uint32_t Name(double word)
{
    return static_cast<std::uint32_t>(static_cast<std::int64_t>(word));
}

bool IsCubeFace(std::uint32_t target)
{
    return target >= PositiveX && target <= NegativeZ;
}

bool IsSame(const Words& a, const Words& b)
{
    // By bits, so that a NaN is the same as itself.
    return std::ranges::equal(a, b, {}, std::bit_cast<std::uint64_t, double>, std::bit_cast<std::uint64_t, double>);
}

} // namespace

bool StateModel::IsMet(const StateChange& change, const CallArguments& call)
{
    const StateChange::Condition& condition = change.condition;
    if (condition.parameter == 0)
        return true;
    const std::uint32_t value = call.Unsigned(condition.parameter - 1u);
    if (condition.test == StateChange::Has)
        return (value & condition.value) != 0;
    return (value == condition.value) == (condition.test == StateChange::Is);
}

// What decides where a change goes.

Slot StateModel::Selected(State state, std::uint32_t first, std::uint32_t second)
{
    m_selectors.push_back(ContextSlot(state, first, second));
    return m_selectors.back();
}

Owner StateModel::BoundOrDefault(State state, ObjectKind kind)
{
    const Owner bound = Bound(state);
    return bound != 0 ? bound : Default(kind);
}

Owner StateModel::ActiveProgram()
{
    if (const Owner program = m_slots.ValueOf(Selected(State::Program)).bound)
        return program;
    const Owner pipeline = m_slots.ValueOf(Selected(State::Pipeline)).bound;
    if (pipeline == 0)
        return 0;
    m_selectors.push_back(m_slots.At(pipeline, State::ActiveProgram));
    return m_slots.ValueOf(m_selectors.back()).bound;
}

Owner StateModel::BoundFramebuffer(bool isForDrawing)
{
    const Owner bound = m_slots.ValueOf(Selected(State::Framebuffer, 0, isForDrawing)).bound;
    return bound != 0 ? bound : Default(ObjectKind::Framebuffer);
}

std::uint32_t StateModel::TextureTarget(std::uint32_t target)
{
    return IsCubeFace(target) ? CubeMap : target;
}

Owner StateModel::BoundTexture(std::uint32_t target)
{
    target = TextureTarget(target);
    const Owner bound = Bound(State::Texture, Unit(), target);
    return bound != 0 ? bound : Default(ObjectKind::Texture, target);
}

std::uint32_t StateModel::UnitOf(const StateContext& context) const
{
    return Name(Word(context.owner, State::ActiveTexture)) - Texture0;
}

Owner StateModel::OwnerOf(const Operand& operand, const CallArguments& call)
{
    const auto named = [&](ObjectKind kind) {
        const std::uint32_t name = kind == noObject ? 0 : call.Unsigned(operand.parameter);
        return name != 0 || kind != ObjectKind::Framebuffer ? Find(kind, name) : Default(kind);
    };
    switch (operand.source) {
    case Source::Context:
        return Context().owner;
    case Source::Object:
        return named(static_cast<ObjectKind>(operand.other));
    case Source::Labeled:
        return named(LabeledKind(call.Unsigned(operand.other)));
    case Source::Program:
        return ActiveProgram();
    case Source::VertexArray:
        Selected(State::VertexArray);
        return BoundVertexArray();
    case Source::TransformFeedback:
        Selected(State::TransformFeedback);
        return BoundTransformFeedback();
    case Source::TextureOf: {
        Selected(State::ActiveTexture);
        Selected(State::Texture, Unit(), TextureTarget(call.Unsigned(operand.parameter)));
        return BoundTexture(call.Unsigned(operand.parameter));
    }
    case Source::FramebufferOf:
        return BoundFramebuffer(call.Unsigned(operand.parameter) != ReadFramebuffer);
    case Source::ReadFramebuffer:
    case Source::DrawFramebuffer:
        return BoundFramebuffer(operand.source == Source::DrawFramebuffer);
    default:
        return 0;
    }
}

std::uint32_t StateModel::IndexOf(const Operand& operand, const CallArguments& call, StatePlace& place)
{
    const auto both = [&](std::uint32_t chosen, std::uint32_t first, std::uint32_t second) {
        place.count = chosen == first || chosen == second ? 1 : 2;
        return chosen == second ? 1u : 0u;
    };
    switch (operand.source) {
    case Source::Parameter:
        return call.Unsigned(operand.parameter);
    case Source::Unit:
        Selected(State::ActiveTexture);
        return Unit();
    case Source::ClientUnit:
        Selected(State::ClientActiveTexture);
        return Name(Word(Context().owner, State::ClientActiveTexture)) - Texture0;
    case Source::DrawBuffers:
        place.count = DrawBuffers;
        return 0;
    case Source::Viewports:
        place.count = Viewports;
        return 0;
    case Source::ViewportsFrom:
        place.count = std::min(call.Unsigned(operand.other), Viewports);
        return call.Unsigned(operand.parameter);
    case Source::Faces:
        place.count = 2;
        return 0;
    case Source::FacesOf:
        return both(call.Unsigned(operand.parameter), Front, Back);
    case Source::FramebuffersOf:
        return both(call.Unsigned(operand.parameter), ReadFramebuffer, DrawFramebuffer);
    case Source::Locations: {
        const bool isArray = operand.other < call.Count();
        place.count = isArray ? static_cast<std::uint32_t>(std::max(call.Signed(operand.other), 0)) : 1;
        return call.Unsigned(operand.parameter);
    }
    default:
        return static_cast<std::uint32_t>(operand.number);
    }
}

StatePlace StateModel::PlaceOf(const StateChange& change, const CallArguments& call)
{
    StatePlace place;
    place.owner = OwnerOf(change.owner, call);
    // Nothing can be attached to the default framebuffer.
    if (change.state == State::Attachment && place.owner == Context().owner)
        place.owner = 0;
    place.first = IndexOf(change.first, call, place);
    place.second = IndexOf(change.second, call, place);
    return place;
}

// Values.

void StateModel::ReadWords(const StateChange& change, const CallArguments& call)
{
    m_words.clear();
    for (const Operand& word : WordsOf(change)) {
        switch (word.source) {
        case Source::Parameter:
            m_words.push_back(call.Number(word.parameter));
            break;
        case Source::Elements:
            call.AddNumbers(word.parameter, m_words);
            while (word.other != 0 && m_words.size() < 4)
                m_words.push_back(m_words.size() == 3 ? 1 : 0);
            break;
        case Source::ArrayBuffer:
            m_words.push_back(m_objects[m_slots.ValueOf(Selected(State::Buffer, Enum::ArrayBuffer)).bound].name);
            break;
        case Source::CubeFace:
            m_words.push_back(IsCubeFace(call.Unsigned(word.parameter)) ? call.Number(word.parameter) : 0);
            break;
        case Source::VertexStride: {
            const double stride = call.Number(word.parameter);
            m_words.push_back(stride != 0 ? stride
                                          : static_cast<double>(VertexElementBytes(call.Signed(word.other),
                                                                                   call.Unsigned(word.other + 1u))));
            break;
        }
        default:
            m_words.push_back(word.number);
            break;
        }
    }
    // What takes an object of any kind is as at the start without one.
    const StateDescription& state = Describe(change.state);
    if (change.names != state.names && m_words.front() == 0)
        m_words.assign(state.initial.begin(), state.initial.begin() + state.initialWords);
}

StateModel::Outcome StateModel::Apply(const StateChange& change, const CallArguments& call)
{
    if (!IsMet(change, call))
        return Outcome::SetsNothing;
    const StatePlace place = PlaceOf(change, call);
    if (change.kind == ChangeKind::Reset) {
        for (const Slot slot : m_slots.Of(place.owner))
            m_slots.ValueOf(slot) = {};
        return Outcome::SetsNothing;
    }
    const StateDescription& state = Describe(change.state);
    if (change.state == State::Label && place.owner != 0)
        m_labels[place.owner] = call.Text(WordsOf(change).front().parameter);
    if (state.isContents || place.owner == 0)
        return Outcome::SetsNothing;
    ReadWords(change, call);
    if (change.state == State::Uniform) {
        // Location -1 stands for a uniform that the compiler left out: nothing is set.
        if (static_cast<std::int32_t>(place.second) < 0 || place.count == 0 || m_words.size() < place.count)
            return Outcome::SetsNothing;
        return SetElements(change.state, place, call.Call()) ? Outcome::Changed : Outcome::Same;
    }
    if (change.second.source == Source::ViewportsFrom) {
        const bool isWhole = place.count != 0 && m_words.size() >= place.count;
        return !isWhole                                        ? Outcome::SetsNothing
               : SetElements(change.state, place, call.Call()) ? Outcome::Changed
                                                               : Outcome::Same;
    }
    const Owner bound =
        change.names != noObject && !m_words.empty() ? Find(change.names, Name(m_words.front())) : Owner{0};
    bool isChanged = false;
    Slot slot = StateSlots::None;
    for (std::uint32_t i = 0; i < place.count; ++i) {
        slot = i == 0 ? m_slots.At(place.owner, change.state, place.first, place.second) : m_slots.After(slot);
        isChanged |= Set(slot, m_words, call.Call());
        if (m_slots.ValueOf(slot).bound == bound)
            continue;
        m_slots.ValueOf(slot).bound = bound;
        if (place.owner == Context().owner)
            Context().bindings.insert(slot);
    }
    return isChanged ? Outcome::Changed : Outcome::Same;
}

bool StateModel::SetElements(State state, const StatePlace& place, CallId setter)
{
    if (place.count == 1)
        return Set(m_slots.At(place.owner, state, 0, place.second), m_words, setter);
    // The elements of an array have consecutive locations. Behind those of several is whether they are transposed.
    const std::size_t each = m_words.size() / place.count;
    const auto end = m_words.begin() + static_cast<std::ptrdiff_t>(each * place.count);
    bool isChanged = false;
    for (std::uint32_t i = 0; i < place.count; ++i) {
        const auto begin = m_words.begin() + static_cast<std::ptrdiff_t>(i * each);
        m_element.assign(begin, begin + static_cast<std::ptrdiff_t>(each));
        m_element.insert(m_element.end(), end, m_words.end());
        isChanged |= Set(m_slots.At(place.owner, state, 0, place.second + i), m_element, setter);
    }
    return isChanged;
}

bool StateModel::Set(Slot slot, const Words& words, CallId setter)
{
    StateSlots::Value& known = m_slots.ValueOf(slot);
    known.setter = setter;
    known.place = m_place;
    Words& value = known.words;
    if (IsSame(value, words))
        return false;
    const bool isChanged = !value.empty() || !IsSame(WordsAt(slot), words);
    value = words;
    return isChanged;
}

Words StateModel::WordsAt(Slot slot) const
{
    if (const Words& words = m_slots.ValueOf(slot).words; !words.empty())
        return words;
    const State state = m_slots.StateOf(slot);
    // The one capability that is on at the start.
    if (state == State::Capability && m_slots.FirstOf(slot) == Dither)
        return {1};
    const StateDescription& description = Describe(state);
    return {description.initial.begin(), description.initial.begin() + description.initialWords};
}

std::string StateModel::CodesAt(Slot slot) const
{
    const StateSlots::Value& value = m_slots.ValueOf(slot);
    std::string described = Describe(m_slots.StateOf(slot)).codes;
    if (value.setter == StateSlots::NoCall)
        return described;
    const std::span<const StateChange> changes = ChangesOf(value.setter);
    const auto change = std::ranges::find(changes, m_slots.StateOf(slot), &StateChange::state);
    std::string codes;
    for (const Operand& word : WordsOf(*change)) {
        const bool isArray = word.source == Source::Elements;
        const std::size_t others = change->wordCount - 1u;
        if (isArray || word.source == Source::Parameter) {
            const ParameterDescription& parameter = ParametersOf(value.setter)[word.parameter];
            // Of a pointer the address is set.
            const char code = isArray || parameter.form == ParameterForm::Scalar ? parameter.code : 'i';
            codes.append(isArray && value.words.size() > others ? value.words.size() - others : 1, code);
        } else {
            codes += codes.size() < described.size() ? described[codes.size()] : 'i';
        }
    }
    return codes;
}

const std::string& StateModel::LabelOf(Owner owner) const
{
    static const std::string none;
    const auto label = m_labels.find(owner);
    return label != m_labels.end() ? label->second : none;
}

double StateModel::Word(Owner owner, State state, std::uint32_t first, std::uint32_t second, std::size_t word) const
{
    const Slot slot = m_slots.Find(owner, state, first, second);
    const Words& set = slot != StateSlots::None ? m_slots.ValueOf(slot).words : Words{};
    if (word < set.size())
        return set[word];
    if (!set.empty() || (state == State::Capability && first == Dither))
        return set.empty();
    return word < Describe(state).initialWords ? Describe(state).initial[word] : 0;
}

Owner StateModel::BoundAt(Owner owner, State state, std::uint32_t first, std::uint32_t second) const
{
    const Slot slot = m_slots.Find(owner, state, first, second);
    return slot != StateSlots::None ? m_slots.ValueOf(slot).bound : 0;
}

} // namespace Data
