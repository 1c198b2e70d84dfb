// What a recorded program's contexts hold, as far as its calls tell: objects that are alive, and values that are set.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "Data/Records/CallArguments.h"
#include "Data/State/Contexts.h"
#include "Data/State/StateSlots.h"
#include "Data/State/StateTable.h"

namespace Data {

/// Objects that were made and not deleted. A deleted object that something still uses counts as gone.
struct ObjectCount {
    std::uint64_t alive = 0;
    /// Largest `alive` since the last BeginFrame.
    std::uint64_t most = 0;
};
using ObjectCounts = std::array<ObjectCount, objectKinds>;

struct StateObject {
    ObjectKind kind = noObject;
    /// As the capture has it.
    std::uint32_t name = 0;
    /// A call made it; programs also bind names that they made up.
    bool isCounted = false;
};

/// Objects of a share group, a context or a display by kind and name. They end with it.
struct NamedObjects {
    std::map<std::pair<ObjectKind, std::uint32_t>, Owner> owners;
    /// How many of each kind are counted in `total`.
    std::array<std::uint64_t, objectKinds> counted = {};
    ObjectCounts* total = nullptr;

    NamedObjects() = default;
    NamedObjects(const NamedObjects&) = delete;
    NamedObjects& operator=(const NamedObjects&) = delete;
    ~NamedObjects();
};

struct StateGroup {
    NamedObjects objects;
};

struct StateContext {
    StateContext(std::uint32_t itsName, std::shared_ptr<StateGroup> itsGroup)
        : name(itsName), group(std::move(itsGroup))
    {
    }
    std::uint32_t name;
    std::uint32_t display = 0;
    std::shared_ptr<StateGroup> group;
    NamedObjects objects;
    /// The context as the owner of its own state, which is that of the default framebuffer too.
    Owner owner = 0;
    /// The objects with the name 0, by kind; textures by target.
    std::map<std::pair<ObjectKind, std::uint32_t>, Owner> defaults;
    /// Its slots that hold an object.
    std::set<Slot> bindings;
};

/// Where a change goes: `count` slots, whose second index begins at `second`.
struct StatePlace {
    /// 0: the call changes nothing.
    Owner owner = 0;
    std::uint32_t first = 0;
    std::uint32_t second = 0;
    std::uint32_t count = 1;
};

/// Follows the calls of a capture by the tables of Data/StateTable.h. Calls without a current context belong to a
/// context that nobody else has. Not thread-safe.
class StateModel {
public:
    StateModel();
    StateModel(const StateModel&) = delete;
    StateModel& operator=(const StateModel&) = delete;

    /// Whether a call set values, and any of them was another one or not known.
    enum class Outcome : std::uint8_t { SetsNothing, Same, Changed };

    /// The thread that the calls come from, from now on.
    void SetThread(std::uint32_t thread) { m_contexts.SetThread(thread); }
    /// Where the next calls are, in numbers of whoever wants to know which call set a value.
    void SetPlace(std::uint64_t place) { m_place = place; }
    /// All effects of a call that the driver took.
    void Call(const CallArguments& call);
    [[nodiscard]] Outcome LastOutcome() const { return m_outcome; }

    // The steps of Call, for those who follow each of them.
    void CreateContext(std::uint32_t name, std::uint32_t display, std::uint32_t shareName);
    void MakeCurrent(std::uint32_t name);
    void DestroyContext(std::uint32_t name);
    Owner Create(ObjectKind kind, std::uint32_t name, std::uint32_t display = 0);
    /// Takes the object out of where it is bound in the current context. 0 when there is no such object.
    Owner Delete(ObjectKind kind, std::uint32_t name, std::uint32_t display = 0);
    [[nodiscard]] static bool IsMet(const StateChange& change, const CallArguments& call);
    /// Whose state an operand of the call means; 0 for nobody.
    Owner OwnerOf(const Operand& operand, const CallArguments& call);
    StatePlace PlaceOf(const StateChange& change, const CallArguments& call);
    Outcome Apply(const StateChange& change, const CallArguments& call);
    /// Slots that decided where the changes since the last Begin went and which words they set.
    [[nodiscard]] const std::vector<Slot>& Selectors() const { return m_selectors; }
    /// Objects that came into being by their name alone since the last Begin.
    [[nodiscard]] const std::vector<Owner>& MadeUp() const { return m_madeUp; }
    void Begin();

    // Objects.
    /// OpenGL ES 2 lets programs make names up: an object that is not there is made. The name 0 stands for nobody.
    Owner Find(ObjectKind kind, std::uint32_t name, std::uint32_t display = 0);
    /// 0 when there is no such object.
    [[nodiscard]] Owner Known(ObjectKind kind, std::uint32_t name, std::uint32_t display = 0);
    [[nodiscard]] const StateObject& Object(Owner owner) const { return m_objects[owner]; }
    /// An owner without a name that a call could use.
    Owner MakeOwner(ObjectKind kind, std::uint32_t name);
    /// The objects with the name 0 that belong to the current context.
    Owner Default(ObjectKind kind, std::uint32_t target = 0);
    [[nodiscard]] const ObjectCounts& Objects() const { return m_counts; }
    /// Largest numbers count from here on.
    void BeginFrame();

    // The current context.
    [[nodiscard]] StateContext& Context() { return m_contexts.Current(); }
    [[nodiscard]] bool HasContext() const { return m_contexts.HasCurrent(); }
    [[nodiscard]] const Contexts<StateContext, StateGroup>& AllContexts() const { return m_contexts; }
    [[nodiscard]] Slot ContextSlot(State state, std::uint32_t first = 0, std::uint32_t second = 0)
    {
        return m_slots.At(Context().owner, state, first, second);
    }
    /// What is bound; 0 for nobody.
    [[nodiscard]] Owner Bound(State state, std::uint32_t first = 0, std::uint32_t second = 0)
    {
        return BoundIn(Context(), state, first, second);
    }
    [[nodiscard]] Owner BoundIn(const StateContext& context, State state, std::uint32_t first = 0,
                                std::uint32_t second = 0) const
    {
        return BoundAt(context.owner, state, first, second);
    }
    /// What an object that others are bound in has bound.
    [[nodiscard]] Owner BoundAt(Owner owner, State state, std::uint32_t first = 0, std::uint32_t second = 0) const;
    /// A word of a value, as it was set or is at the start; 0 where that is not known.
    [[nodiscard]] double Word(Owner owner, State state, std::uint32_t first = 0, std::uint32_t second = 0,
                              std::size_t word = 0) const;
    /// The active texture unit.
    [[nodiscard]] std::uint32_t Unit() const { return UnitOf(m_contexts.Current()); }
    [[nodiscard]] std::uint32_t UnitOf(const StateContext& context) const;
    [[nodiscard]] Owner BoundVertexArray() { return BoundOrDefault(State::VertexArray, ObjectKind::VertexArray); }
    [[nodiscard]] Owner BoundTransformFeedback()
    {
        return BoundOrDefault(State::TransformFeedback, ObjectKind::TransformFeedback);
    }
    /// The bound objects that others are bound in: vertex array, transform feedback, framebuffers. 0 for none. A
    /// deleted object is taken out of these and out of the current context, and stays in all others.
    [[nodiscard]] std::array<Owner, 4> BoundContainers();
    /// What a texture is bound to: for a face of a cube map, the cube map.
    [[nodiscard]] static std::uint32_t TextureTarget(std::uint32_t target);
    /// The one that calls with this target change.
    [[nodiscard]] Owner BoundTexture(std::uint32_t target);

    [[nodiscard]] StateSlots& Slots() { return m_slots; }
    [[nodiscard]] const StateSlots& Slots() const { return m_slots; }
    /// What was set last, or what is there at the start; empty where that is not known.
    [[nodiscard]] Words WordsAt(Slot slot) const;
    /// The type of each of those words, as the letters of signatures have it; the last one goes on. That of the call
    /// which set them: uniforms have many.
    [[nodiscard]] std::string CodesAt(Slot slot) const;
    /// The text of a debug label; empty without one.
    [[nodiscard]] const std::string& LabelOf(Owner owner) const;

private:
    void FollowEGL(const CallArguments& call);
    void FollowObjects(const ObjectEffect& effect, const CallArguments& call);
    void Terminate(std::uint32_t display);
    NamedObjects& NamesOf(ObjectKind kind, std::uint32_t display);
    void Count(NamedObjects& names, Owner owner, bool isAlive);
    void SetUp(StateContext& context);
    void Unbind(Owner owner);

    std::uint32_t IndexOf(const Operand& operand, const CallArguments& call, StatePlace& place);
    void ReadWords(const StateChange& change, const CallArguments& call);
    bool Set(Slot slot, const Words& words, CallId setter);
    /// Each slot gets its part of the words.
    bool SetElements(State state, const StatePlace& place, CallId setter);
    Slot Selected(State state, std::uint32_t first = 0, std::uint32_t second = 0);
    Owner BoundOrDefault(State state, ObjectKind kind);
    Owner BoundFramebuffer(bool isForDrawing);
    /// The program in use, or the one of the bound pipeline that uniforms go to; 0 for none.
    Owner ActiveProgram();

    StateSlots m_slots;
    /// By owner.
    std::vector<StateObject> m_objects = std::vector<StateObject>(1);
    ObjectCounts m_counts = {};
    std::map<std::uint32_t, NamedObjects> m_displays;
    std::map<Owner, std::string> m_labels;
    Contexts<StateContext, StateGroup> m_contexts;
    Outcome m_outcome = Outcome::SetsNothing;
    std::vector<Slot> m_selectors;
    std::vector<Owner> m_madeUp;
    std::uint64_t m_place = 0;
    /// The words of the change at hand, and those of one element of it.
    Words m_words;
    Words m_element;
};

} // namespace Data
