#include "Data/State/StateModel.h"

#include <algorithm>

namespace Data {

NamedObjects::~NamedObjects()
{
    for (std::size_t kind = 0; total && kind < objectKinds; ++kind)
        (*total)[kind].alive -= counted[kind];
}

StateModel::StateModel() : m_contexts(std::make_shared<StateContext>(0, std::make_shared<StateGroup>()))
{
    SetUp(Context());
}

void StateModel::SetUp(StateContext& context)
{
    if (context.owner != 0)
        return;
    context.owner = m_slots.NewOwner();
    m_objects.push_back({ObjectKind::Context, context.name});
    context.objects.total = &m_counts;
    context.group->objects.total = &m_counts;
    context.defaults[{ObjectKind::Framebuffer, 0}] = context.owner;
}

void StateModel::Begin()
{
    m_outcome = Outcome::SetsNothing;
    m_selectors.clear();
    m_madeUp.clear();
}

void StateModel::Call(const CallArguments& call)
{
    Begin();
    if (IsEGL(call.Call()))
        FollowEGL(call);
    FollowObjects(EffectsOf(call.Call()).object, call);
    for (const StateChange& change : ChangesOf(call.Call()))
        m_outcome = std::max(m_outcome, Apply(change, call));
}

// Contexts.

void StateModel::FollowEGL(const CallArguments& call)
{
    if (call.Returned() == 0)
        return;
    switch (call.Call()) {
    case CallId::eglCreateContext:
        CreateContext(call.Returned(), call.Unsigned(0), call.Unsigned(2));
        break;
    case CallId::eglMakeCurrent:
        MakeCurrent(call.Unsigned(3));
        break;
    case CallId::eglReleaseThread:
        MakeCurrent(0);
        break;
    case CallId::eglDestroyContext:
        DestroyContext(call.Unsigned(1));
        break;
    case CallId::eglTerminate:
        Terminate(call.Unsigned(0));
        break;
    default:
        break;
    }
}

void StateModel::CreateContext(std::uint32_t name, std::uint32_t display, std::uint32_t shareName)
{
    if (name == 0)
        return;
    StateContext& context = m_contexts.Create(name, shareName);
    context.display = display;
    SetUp(context);
}

void StateModel::MakeCurrent(std::uint32_t name)
{
    m_contexts.MakeCurrent(name);
    SetUp(Context());
}

void StateModel::DestroyContext(std::uint32_t name)
{
    m_contexts.Destroy(name);
}

void StateModel::Terminate(std::uint32_t display)
{
    std::vector<std::uint32_t> ended;
    for (const auto& [name, context] : m_contexts.All())
        if (context->display == display)
            ended.push_back(name);
    std::ranges::for_each(ended, [this](std::uint32_t name) { m_contexts.Destroy(name); });
    m_displays.erase(display);
}

// Objects.

Owner StateModel::MakeOwner(ObjectKind kind, std::uint32_t name)
{
    m_objects.push_back({kind, name});
    return m_slots.NewOwner();
}

NamedObjects& StateModel::NamesOf(ObjectKind kind, std::uint32_t display)
{
    switch (Describe(kind).owner) {
    case ObjectOwner::Group:
        return Context().group->objects;
    case ObjectOwner::Context:
        return Context().objects;
    default:
        NamedObjects& names = m_displays[display];
        names.total = &m_counts;
        return names;
    }
}

void StateModel::Count(NamedObjects& names, Owner owner, bool isAlive)
{
    StateObject& object = m_objects[owner];
    if (object.isCounted == isAlive)
        return;
    object.isCounted = isAlive;
    const auto kind = static_cast<std::size_t>(object.kind);
    const std::uint64_t step = isAlive ? 1 : ~std::uint64_t{0};
    names.counted[kind] += step;
    ObjectCount& count = m_counts[kind];
    count.alive += step;
    count.most = std::max(count.most, count.alive);
}

Owner StateModel::Create(ObjectKind kind, std::uint32_t name, std::uint32_t display)
{
    if (name == 0)
        return 0;
    NamedObjects& names = NamesOf(kind, display);
    Owner& owner = names.owners[{kind, name}];
    if (owner != 0)
        Count(names, owner, false);
    owner = MakeOwner(kind, name);
    Count(names, owner, true);
    return owner;
}

Owner StateModel::Find(ObjectKind kind, std::uint32_t name, std::uint32_t display)
{
    if (name == 0)
        return 0;
    Owner& owner = NamesOf(kind, display).owners[{kind, name}];
    if (owner == 0) {
        owner = MakeOwner(kind, name);
        m_madeUp.push_back(owner);
    }
    return owner;
}

Owner StateModel::Known(ObjectKind kind, std::uint32_t name, std::uint32_t display)
{
    const NamedObjects& names = NamesOf(kind, display);
    const auto entry = names.owners.find({kind, name});
    return entry != names.owners.end() ? entry->second : 0;
}

Owner StateModel::Delete(ObjectKind kind, std::uint32_t name, std::uint32_t display)
{
    NamedObjects& names = NamesOf(kind, display);
    const auto entry = names.owners.extract({kind, name});
    if (!entry)
        return 0;
    Count(names, entry.mapped(), false);
    Unbind(entry.mapped());
    return entry.mapped();
}

void StateModel::Unbind(Owner owner)
{
    const auto unbind = [&](Slot slot) {
        StateSlots::Value& value = m_slots.ValueOf(slot);
        if (value.bound == owner && !Describe(m_slots.StateOf(slot)).isHeld)
            value = {};
    };
    // What is bound in containers stays bound there, unless the container itself is bound.
    std::ranges::for_each(Context().bindings, unbind);
    for (const Owner container : BoundContainers())
        std::ranges::for_each(m_slots.Of(container), unbind);
}

std::array<Owner, 4> StateModel::BoundContainers()
{
    return {BoundVertexArray(), BoundTransformFeedback(), Bound(State::Framebuffer, 0, 0),
            Bound(State::Framebuffer, 0, 1)};
}

void StateModel::FollowObjects(const ObjectEffect& effect, const CallArguments& call)
{
    if (effect.action == ObjectAction::None)
        return;
    const bool isEGL = IsEGL(call.Call());
    if (isEGL && call.Returned() == 0)
        return;
    const std::uint32_t display = isEGL ? call.Unsigned(0) : 0;
    const auto follow = [&](std::uint32_t name) {
        effect.action == ObjectAction::Make ? Create(effect.kind, name, display) : Delete(effect.kind, name, display);
    };
    call.ForEachName(effect.parameter, follow);
}

void StateModel::BeginFrame()
{
    for (ObjectCount& count : m_counts)
        count.most = count.alive;
}

Owner StateModel::Default(ObjectKind kind, std::uint32_t target)
{
    Owner& owner = Context().defaults[{kind, target}];
    if (owner == 0)
        owner = MakeOwner(kind, 0);
    return owner;
}

} // namespace Data
