#include "Tools/Info/StateText.h"

#include <algorithm>
#include <charconv>
#include <functional>

#include "Data/State/StateModel.h"
#include "Tools/Info/EnumNames.h"
#include "Tools/Info/Notation.h"

namespace Tools {

namespace {

using Data::Counted;
using Data::Owner;
using Data::Slot;
using Data::State;
using Data::StateDescription;
using Json = nlohmann::ordered_json;

/// Of objects that have a text for people.
constexpr const char* LabelName = "label";
constexpr std::uint32_t ReadFramebuffer = 0x8CA8;
constexpr std::uint32_t DrawFramebuffer = 0x8CA9;
constexpr std::uint32_t Front = 0x0404;
constexpr std::uint32_t Back = 0x0405;

std::string IndexText(Counted counted, std::uint32_t index)
{
    switch (counted) {
    case Counted::None:
        return "";
    case Counted::Enum:
        return "[" + EnumText(index) + "]";
    case Counted::TextureUnit:
        // Values after that of GL_TEXTURE31 have other names too.
        return "[GL_TEXTURE" + std::to_string(index) + "]";
    case Counted::Face:
        return "[" + EnumText(index == 0 ? Front : Back) + "]";
    case Counted::Framebuffer:
        return "[" + EnumText(index == 0 ? ReadFramebuffer : DrawFramebuffer) + "]";
    case Counted::Number:
    case Counted::DrawBuffer:
    case Counted::Viewport:
        break;
    }
    return "[" + std::to_string(index) + "]";
}

/// How many indexes calls set at once that do not select one; 1 for others.
std::size_t SetAtOnce(Counted counted)
{
    return counted == Counted::DrawBuffer                                ? Data::DrawBuffers
           : counted == Counted::Viewport                                ? Data::Viewports
           : counted == Counted::Face || counted == Counted::Framebuffer ? 2
                                                                         : 1;
}

/// From a number that a model has.
Moment MomentOf(std::uint64_t place)
{
    return {static_cast<std::uint32_t>(place >> 32), static_cast<std::uint32_t>(place)};
}

/// A value of an enum, whose small values have many names.
std::string ValueText(const StateDescription& state, std::uint32_t value)
{
    const std::string_view name = state.name;
    const bool isFactor = name.ends_with("blend_func") || name == "stencil_op";
    const char* const small = EnumName(isFactor ? "glBlendFunc" : "glDrawBuffers", value);
    return small ? small : EnumText(value);
}

Json WordJson(const StateDescription& state, char code, double word)
{
    switch (code) {
    case 'e':
        return ValueText(state, static_cast<std::uint32_t>(word));
    case 'b':
        return word != 0;
    case 'f': {
        // As short as a float can be written.
        char text[32];
        const auto end = std::to_chars(std::begin(text), std::end(text), static_cast<float>(word));
        double value = 0;
        std::from_chars(std::begin(text), end.ptr, value);
        return value;
    }
    default:
        return static_cast<std::int64_t>(word);
    }
}

/// The values of one state, where it has any.
class StateValues {
public:
    /// `add` takes each value with its name.
    using Taker = std::function<void(const std::string& name, Json value)>;
    StateValues(State state, Taker add) : m_description(Data::Describe(state)), m_add(std::move(add)) {}

    /// `second` is the text of that index. `codes` are the types of the words.
    void Add(std::uint32_t first, const std::string& second, const Data::Words& words, std::string_view codes)
    {
        if (words.empty() || m_description.isContents)
            return;
        const std::size_t names =
            static_cast<std::size_t>(std::ranges::find(m_description.asked, nullptr) - m_description.asked.begin());
        const std::string index = IndexText(m_description.indexes[0], first) + second;
        if (names > 1) {
            for (std::size_t i = 0; i < std::min(names, words.size()); ++i)
                m_add(m_description.asked[i] + index, Word(i, words, codes));
            return;
        }
        const bool isEnum = m_description.indexes[0] == Counted::Enum && IsEnumParameter(first);
        Json value = Json::array();
        for (std::size_t i = 0; i < words.size(); ++i)
            value.push_back(isEnum ? WordJson(m_description, 'e', words[i]) : Word(i, words, codes));
        if (value.size() == 1)
            value = Json(value[0]);
        // A parameter that an index names needs no other name.
        const bool isNamed = names == 0 && (m_description.names == Data::noObject || m_description.isHeld) &&
                             m_description.indexes[0] == Counted::Enum;
        m_add(isNamed ? EnumText(first) + second : (names == 1 ? m_description.asked[0] : m_description.name) + index,
              std::move(value));
    }

private:
    [[nodiscard]] Json Word(std::size_t i, const Data::Words& words, std::string_view codes) const
    {
        return WordJson(m_description, codes.empty() ? 'f' : codes[std::min(i, codes.size() - 1)], words[i]);
    }

    const StateDescription& m_description;
    Taker m_add;
};

/// Words and their types, and where the call is that set them; 0 for none.
struct Value {
    Data::Words words;
    std::string codes;
    std::uint64_t place = 0;
    bool operator==(const Value& other) const { return words == other.words; }
};

Value InitialValue(const StateDescription& description)
{
    return {
        {description.initial.begin(), description.initial.begin() + description.initialWords}, description.codes, 0};
}

void AddOwner(const Data::StateModel& model, Owner owner, const StateSnapshot::Object& object, StateSnapshot& snapshot)
{
    StateSnapshot::Values& values = snapshot.objects[object];
    auto& setters = snapshot.setters[object];
    // By state and first index, since calls may set all second indexes at once.
    std::map<std::pair<State, std::uint32_t>, std::map<std::uint32_t, Value>> groups;
    for (const Slot slot : model.Slots().Of(owner)) {
        const Data::StateSlots& slots = model.Slots();
        groups[{slots.StateOf(slot), slots.FirstOf(slot)}][slots.SecondOf(slot)] = {
            model.WordsAt(slot), model.CodesAt(slot), slots.ValueOf(slot).place};
    }
    for (auto& [key, group] : groups) {
        const StateDescription& description = Data::Describe(key.first);
        const Counted counted = description.indexes[1];
        // Where a call set one of them alone, the others are as at the start.
        for (std::uint32_t second = 0; SetAtOnce(counted) > 1 && second < SetAtOnce(counted); ++second)
            group.try_emplace(second, InitialValue(description));
        std::uint64_t place = 0;
        StateValues state(
            key.first,
            [&](const std::string& name, Json value) {
                values[name] = std::move(value);
                if (place != 0)
                    setters[name] = MomentOf(place);
            });
        const auto placeOf = [](const auto& one) { return one.second.place; };
        const auto isAsFirst = [&first = group.begin()->second](const auto& other) { return other.second == first; };
        const bool isOne = group.size() >= SetAtOnce(counted) && counted != Counted::Number &&
                           counted != Counted::Enum && std::ranges::all_of(group, isAsFirst);
        for (const auto& [second, value] : group) {
            place = isOne ? std::ranges::max_element(group, {}, placeOf)->second.place : value.place;
            state.Add(key.second, isOne ? "" : IndexText(counted, second), value.words, value.codes);
            if (isOne)
                break;
        }
    }
}

/// By names without indexes.
void AddInitial(StateSnapshot& snapshot)
{
    for (std::size_t i = 0; i < Data::stateCount; ++i) {
        const auto state = static_cast<State>(i);
        const StateDescription& description = Data::Describe(state);
        const Value initial = InitialValue(description);
        StateSnapshot::Values values;
        StateValues(state, [&](const std::string& name, Json value) {
            values[name] = std::move(value);
        }).Add(0, "", initial.words, initial.codes);
        for (auto& [name, value] : values)
            snapshot.initial[description.of == Data::noObject ? "" : Data::Describe(description.of).name].emplace(
                name.substr(0, name.find('[')), std::move(value));
    }
}

void AddNamed(const Data::StateModel& model, const Data::NamedObjects& objects, StateSnapshot& snapshot)
{
    for (const auto& [key, owner] : objects.owners) {
        const StateSnapshot::Object object = {Data::Describe(key.first).name, std::to_string(key.second)};
        AddOwner(model, owner, object, snapshot);
        if (const std::string& label = model.LabelOf(owner); !label.empty())
            snapshot.objects[object][LabelName] = label;
    }
}

} // namespace

Moment ParseMoment(std::string_view text)
{
    Moment moment;
    const char* const end = text.data() + text.size();
    auto [at, error] = std::from_chars(text.data(), end, moment.frame);
    if (error != std::errc() || (at != end && *at != ':'))
        return {};
    if (at == end)
        return moment;
    const auto call = std::from_chars(at + 1, end, moment.call);
    return call.ec == std::errc() && call.ptr == end && moment.call > 0 ? moment : Moment{};
}

StateSnapshot TakeSnapshot(Data::StateModel& model)
{
    StateSnapshot snapshot;
    AddInitial(snapshot);
    if (!model.HasContext())
        return snapshot;
    const Data::StateContext& context = model.Context();
    snapshot.context = context.name;
    AddOwner(model, context.owner, {}, snapshot);
    for (const auto& [key, owner] : context.defaults) {
        // The default framebuffer is the context itself, and most others have nothing of their own.
        if (owner == context.owner || model.Slots().Of(owner).empty())
            continue;
        const std::string name = key.second == 0 ? "0" : "0 of " + EnumText(key.second);
        AddOwner(model, owner, {Data::Describe(key.first).name, name}, snapshot);
    }
    AddNamed(model, context.group->objects, snapshot);
    AddNamed(model, context.objects, snapshot);
    return snapshot;
}

std::vector<StateDifference> Compare(const StateSnapshot& before, const StateSnapshot& after)
{
    const auto valueOf = [](const StateSnapshot& snapshot, const StateSnapshot::Object& object,
                            const std::string& state) {
        const auto find = [](const StateSnapshot::Values& values, const std::string& name) {
            const auto value = values.find(name);
            return value != values.end() ? value->second : Json();
        };
        const auto known = snapshot.objects.find(object);
        Json value = known != snapshot.objects.end() ? find(known->second, state) : Json();
        // All indexes had the same.
        if (value.is_null() && known != snapshot.objects.end() && state.ends_with(']'))
            value = find(known->second, state.substr(0, state.rfind('[')));
        const auto initial = snapshot.initial.find(object.first);
        const bool isThere = known != snapshot.objects.end() || object.second == "0";
        if (value.is_null() && isThere && initial != snapshot.initial.end())
            value = find(initial->second, state.substr(0, state.find('[')));
        return value;
    };
    std::map<StateSnapshot::Object, std::map<std::string, bool>> all;
    for (const StateSnapshot* snapshot : {&before, &after}) {
        for (const auto& [object, values] : snapshot->objects)
            for (const auto& [state, value] : values)
                all[object][state] = true;
    }
    std::vector<StateDifference> differences;
    for (const auto& [object, states] : all) {
        for (const auto& [state, isThere] : states) {
            // One of the moments has a value for each index.
            if (const auto indexed = states.lower_bound(state + "[");
                indexed != states.end() && indexed->first.starts_with(state + "["))
                continue;
            StateDifference difference{object, state, valueOf(before, object, state), valueOf(after, object, state)};
            if (difference.before != difference.after)
                differences.push_back(std::move(difference));
        }
    }
    return differences;
}

Json ToJson(const StateSnapshot& snapshot)
{
    Json json = {{"frame", snapshot.moment.frame}};
    if (snapshot.moment.call != 0)
        json["beforeCall"] = snapshot.moment.call;
    json["thread"] = snapshot.thread;
    json["context"] = snapshot.context;
    json["state"] = Json::object();
    json["objects"] = Json::object();
    for (const auto& [object, values] : snapshot.objects) {
        Json& place = object.first.empty() ? json["state"] : json["objects"][object.first][object.second];
        place = Json::object();
        for (const auto& [state, value] : values)
            place[state] = value;
    }
    return json;
}

Json ToJson(const std::vector<StateDifference>& differences)
{
    Json json = Json::array();
    for (const StateDifference& difference : differences) {
        Json line = Json::object();
        if (!difference.object.first.empty())
            line["object"] = {{"kind", difference.object.first}, {"name", difference.object.second}};
        line["state"] = difference.state;
        line["before"] = difference.before;
        line["after"] = difference.after;
        json.push_back(std::move(line));
    }
    return json;
}

std::string ToText(const std::vector<StateDifference>& differences)
{
    const auto text = [](const std::string& state, const Json& value) {
        if (value.is_null())
            return std::string("not set");
        if (!value.is_string())
            return value.dump();
        // A label may be any bytes; other texts are names.
        return state == LabelName ? JsonString(value.get<std::string>()) : value.get<std::string>();
    };
    std::string lines;
    for (const StateDifference& difference : differences) {
        if (!difference.object.first.empty())
            lines += difference.object.first + " " + difference.object.second + ": ";
        lines += difference.state + ": " + text(difference.state, difference.before) + " -> " +
                 text(difference.state, difference.after) + "\n";
    }
    return lines;
}

} // namespace Tools
