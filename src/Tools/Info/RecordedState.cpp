#include "Tools/Info/RecordedState.h"

#include <algorithm>
#include <bit>

#include "Data/Checksum.h"
#include "Data/GLEnums.h"

namespace Tools {

namespace {

enum class Owner : std::uint8_t { Group, Context, Display };

struct KindDescription {
    const char* name;
    Owner owner;
};
constexpr KindDescription kinds[objectKinds] = {
#include "Tools/Info/ObjectKinds.inc"
};

constexpr auto noKind = static_cast<ObjectKind>(objectKinds);

struct StateDescription {
    /// Kind of object that the first word names.
    ObjectKind names;
    /// Kind of object that the state is of, whose name is the first index.
    ObjectKind of;
    /// Words of the initial value; 0: it is not known.
    std::uint32_t initialWords;
    std::array<double, 8> initial;
};
constexpr StateDescription states[stateCount] = {
#include "Tools/Info/States.inc"
};

constexpr const StateDescription& Describe(State state)
{
    return states[static_cast<std::size_t>(state)];
}

constexpr const KindDescription& Describe(ObjectKind kind)
{
    return kinds[static_cast<std::size_t>(kind)];
}

constexpr std::uint32_t dither = 0x0BD0;
constexpr std::uint32_t texture0 = 0x84C0;
constexpr std::uint32_t drawBuffers = 8;

std::uint64_t Word(double value)
{
    return std::bit_cast<std::uint64_t>(value);
}

std::uint32_t Name(std::uint64_t word)
{
    return static_cast<std::uint32_t>(static_cast<std::int64_t>(std::bit_cast<double>(word)));
}

} // namespace

const char* ObjectKindName(ObjectKind kind)
{
    return Describe(kind).name;
}

std::size_t RecordedState::KeyHash::operator()(const Key& key) const
{
    const std::uint64_t bits = (std::uint64_t{key.index} << 32 | key.last) ^ static_cast<std::uint64_t>(key.state)
                                                                                 << 56;
    return static_cast<std::size_t>((bits ^ bits >> 29) * 0x9E3779B97F4A7C15u >> 7);
}

RecordedState::ObjectSet::~ObjectSet()
{
    for (std::size_t kind = 0; kind < objectKinds; ++kind)
        m_counts[kind].alive -= m_names[kind].size();
}

void RecordedState::ObjectSet::Create(ObjectKind kind, std::uint32_t name)
{
    const auto at = static_cast<std::size_t>(kind);
    if (name == 0 || !m_names[at].insert(name).second)
        return;
    ObjectCount& count = m_counts[at];
    count.most = std::max(count.most, ++count.alive);
}

bool RecordedState::ObjectSet::Delete(ObjectKind kind, std::uint32_t name)
{
    const auto at = static_cast<std::size_t>(kind);
    if (m_names[at].erase(name) == 0)
        return false;
    --m_counts[at].alive;
    return true;
}

RecordedState::RecordedState() : m_none(NewContext(std::make_shared<ShareGroup>(m_counts))), m_current(m_none.get()) {}

RecordedState::~RecordedState() = default;

std::shared_ptr<RecordedState::Context> RecordedState::NewContext(std::shared_ptr<ShareGroup> group)
{
    auto context = std::make_shared<Context>(std::move(group), m_counts);
    // The one capability that is on at the start.
    for (std::uint32_t i = 0; i < drawBuffers; ++i)
        context->values[{State::Capability, dither, i}] = Combined({Word(1)});
    return context;
}

void RecordedState::SetCurrentThread(std::uint32_t thread)
{
    m_thread = thread;
    const auto at = m_threads.find(thread);
    m_current = at != m_threads.end() && at->second ? at->second.get() : m_none.get();
}

void RecordedState::CreateContext(std::uint32_t context, std::uint32_t display, std::uint32_t shareContext)
{
    if (context == 0)
        return;
    const auto shared = m_contexts.find(shareContext);
    std::shared_ptr<Context>& made = m_contexts[context];
    made = NewContext(shared != m_contexts.end() && shared->second ? shared->second->group
                                                                   : std::make_shared<ShareGroup>(m_counts));
    made->display = display;
}

void RecordedState::MakeCurrent(std::uint32_t context)
{
    std::shared_ptr<Context> used;
    if (context != 0) {
        std::shared_ptr<Context>& known = m_contexts[context];
        // Its creation was not seen: it shares with none.
        if (!known)
            known = NewContext(std::make_shared<ShareGroup>(m_counts));
        used = known;
    }
    m_threads[m_thread] = std::move(used);
    SetCurrentThread(m_thread);
}

void RecordedState::DestroyContext(std::uint32_t context)
{
    m_contexts.erase(context);
}

void RecordedState::Terminate(std::uint32_t display)
{
    std::erase_if(m_contexts, [display](const auto& context) { return context.second->display == display; });
    m_displays.erase(display);
}

RecordedState::ObjectSet& RecordedState::OwnerOf(ObjectKind kind, std::uint32_t display)
{
    switch (Describe(kind).owner) {
    case Owner::Group:
        return m_current->group->objects;
    case Owner::Context:
        return m_current->objects;
    default:
        return m_displays.try_emplace(display, m_counts).first->second;
    }
}

void RecordedState::Create(ObjectKind kind, std::uint32_t name, std::uint32_t display)
{
    OwnerOf(kind, display).Create(kind, name);
}

void RecordedState::Delete(ObjectKind kind, std::uint32_t name, std::uint32_t display)
{
    if (!OwnerOf(kind, display).Delete(kind, name))
        return;
    Unbind(kind, name);
    ForgetValues(kind, name);
}

void RecordedState::Unbind(ObjectKind kind, std::uint32_t name)
{
    // What is bound in a vertex array object stays bound there, unless the object itself is bound.
    const std::uint32_t vertexArray = BoundVertexArray();
    std::erase_if(m_current->values, [&](const auto& entry) {
        const StateDescription& state = Describe(entry.first.state);
        return state.names == kind && Name(entry.second.first) == name &&
               (state.of != ObjectKind::VertexArray || entry.first.index == vertexArray);
    });
}

void RecordedState::ForgetValues(ObjectKind kind, std::uint32_t name)
{
    for (Values* const values : {&m_current->values, &m_current->group->values})
        std::erase_if(*values, [&](const auto& entry) {
            return Describe(entry.first.state).of == kind && entry.first.index == name;
        });
}

void RecordedState::BeginFrame()
{
    for (ObjectCount& count : m_counts)
        count.most = count.alive;
}

RecordedState::Values& RecordedState::ValuesOf(State state, std::uint32_t index)
{
    const ObjectKind of = Describe(state).of;
    // Name 0 of a shared kind stands for an object that the context has for itself.
    return of != noKind && Describe(of).owner == Owner::Group && index != 0 ? m_current->group->values
                                                                            : m_current->values;
}

RecordedState::Value RecordedState::Combined(const WordList& words)
{
    return {words.empty() ? 0 : words.front(), Data::Checksum(words.data(), words.size() * sizeof words[0])};
}

bool RecordedState::Set(State state, std::uint32_t index, Indexes last, const WordList& words)
{
    const Value value = Combined(words);
    Values& values = ValuesOf(state, index);
    bool isChanged = false;
    for (std::uint32_t i = last.first; i < last.first + last.count; ++i) {
        const auto [at, isNew] = values.try_emplace({state, index, i}, value);
        if (!isNew) {
            isChanged |= at->second.hash != value.hash;
            at->second = value;
            continue;
        }
        const StateDescription& description = Describe(state);
        WordList initial;
        for (std::uint32_t word = 0; word < description.initialWords; ++word)
            initial.push_back(Word(description.initial[word]));
        isChanged |= initial.empty() || Combined(initial).hash != value.hash;
    }
    return isChanged;
}

std::uint32_t RecordedState::Bound(State state, std::uint32_t index, std::uint32_t last) const
{
    const auto at = m_current->values.find({state, index, last});
    return at != m_current->values.end() ? Name(at->second.first) : 0;
}

std::uint32_t RecordedState::Unit() const
{
    const std::uint32_t active = Bound(State::ActiveTexture, 0, 0);
    return active != 0 ? active - texture0 : 0;
}

std::uint32_t RecordedState::BoundBuffer() const
{
    return Bound(State::Buffer, Data::Enum::ArrayBuffer, 0);
}

} // namespace Tools
