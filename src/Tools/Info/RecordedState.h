// What the recorded program's contexts hold, as far as its calls tell: objects that are alive, and values that are set.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "Tools/Info/Kinds.h"

namespace Tools {

/// Names of the kinds in the output, such as "textures".
const char* ObjectKindName(ObjectKind kind);

/// Objects that were made and not deleted. A deleted object that something still uses counts as gone.
struct ObjectCount {
    std::uint64_t alive = 0;
    /// Largest `alive` since the last BeginFrame.
    std::uint64_t most = 0;
};
using ObjectCounts = std::array<ObjectCount, objectKinds>;

/// One value as words, each the bits of a double: numbers of different types are equal when they mean the same.
using WordList = std::vector<std::uint64_t>;

/// Consecutive indexes of a state.
struct Indexes {
    std::uint32_t first;
    std::uint32_t count = 1;
    Indexes(std::uint32_t index) : first(index) {} // NOLINT(google-explicit-constructor): one index is a set of one
    Indexes(std::uint32_t from, std::uint32_t number) : first(from), count(number) {}
};

/// The contexts of a recorded program with their share groups, objects and values. Follows the calls in their order;
/// calls without a current context belong to a context that nobody else has.
class RecordedState {
public:
    RecordedState();
    ~RecordedState();

    /// The thread that the calls come from, from now on.
    void SetCurrentThread(std::uint32_t thread);
    void CreateContext(std::uint32_t context, std::uint32_t display, std::uint32_t shareContext);
    void MakeCurrent(std::uint32_t context);
    /// Threads that use the context keep it until they let go of it.
    void DestroyContext(std::uint32_t context);
    /// Ends all contexts and other EGL objects of the display.
    void Terminate(std::uint32_t display);

    void Create(ObjectKind kind, std::uint32_t name, std::uint32_t display = 0);
    /// Unbinds the object where it is bound in the current context, and forgets what was set of it.
    void Delete(ObjectKind kind, std::uint32_t name, std::uint32_t display = 0);
    /// Forgets what was set of an object that goes on to live.
    void ForgetValues(ObjectKind kind, std::uint32_t name);
    /// Largest numbers count from here on.
    void BeginFrame();
    [[nodiscard]] const ObjectCounts& Objects() const { return m_counts; }

    /// Sets a value; true when one with these indexes was another one, or is not known.
    bool Set(State state, std::uint32_t index, Indexes last, const WordList& words);

    // What is bound in the current context.
    [[nodiscard]] std::uint32_t Unit() const;
    [[nodiscard]] std::uint32_t BoundVertexArray() const { return Bound(State::VertexArray, 0, 0); }
    /// To GL_ARRAY_BUFFER.
    [[nodiscard]] std::uint32_t BoundBuffer() const;
    [[nodiscard]] std::uint32_t TextureOf(std::uint32_t target) const { return Bound(State::Texture, Unit(), target); }
    /// 0: for reading, 1: for drawing.
    [[nodiscard]] std::uint32_t Framebuffer(std::uint32_t number) const { return Bound(State::Framebuffer, 0, number); }
    /// The program whose uniforms glUniform sets; 0 for none.
    [[nodiscard]] std::uint32_t CurrentProgram() const { return Bound(State::Program, 0, 0); }

private:
    struct Key {
        State state;
        std::uint32_t index;
        std::uint32_t last;
        bool operator==(const Key&) const = default;
    };
    struct KeyHash {
        std::size_t operator()(const Key& key) const;
    };
    struct Value {
        /// First word; the name of an object where the state has one.
        std::uint64_t first;
        /// Of all words.
        std::uint64_t hash;
    };
    using Values = std::unordered_map<Key, Value, KeyHash>;

    /// Objects of one owner; they end with it.
    class ObjectSet {
    public:
        explicit ObjectSet(ObjectCounts& counts) : m_counts(counts) {}
        ~ObjectSet();
        ObjectSet(const ObjectSet&) = delete;
        ObjectSet& operator=(const ObjectSet&) = delete;
        void Create(ObjectKind kind, std::uint32_t name);
        /// False when there is no such object.
        bool Delete(ObjectKind kind, std::uint32_t name);

    private:
        ObjectCounts& m_counts;
        std::array<std::unordered_set<std::uint32_t>, objectKinds> m_names;
    };
    struct ShareGroup {
        explicit ShareGroup(ObjectCounts& counts) : objects(counts) {}
        ObjectSet objects;
        Values values;
    };
    struct Context {
        Context(std::shared_ptr<ShareGroup> shared, ObjectCounts& counts) : group(std::move(shared)), objects(counts) {}
        std::shared_ptr<ShareGroup> group;
        ObjectSet objects;
        Values values;
        std::uint32_t display = 0;
    };

    std::shared_ptr<Context> NewContext(std::shared_ptr<ShareGroup> group);
    ObjectSet& OwnerOf(ObjectKind kind, std::uint32_t display);
    Values& ValuesOf(State state, std::uint32_t index);
    static Value Combined(const WordList& words);
    [[nodiscard]] std::uint32_t Bound(State state, std::uint32_t index, std::uint32_t last) const;
    void Unbind(ObjectKind kind, std::uint32_t name);

    ObjectCounts m_counts = {};
    std::unordered_map<std::uint32_t, std::shared_ptr<Context>> m_contexts;
    /// The context that each thread uses; null for none.
    std::unordered_map<std::uint32_t, std::shared_ptr<Context>> m_threads;
    std::map<std::uint32_t, ObjectSet> m_displays;
    std::shared_ptr<Context> m_none;
    Context* m_current;
    std::uint32_t m_thread = 0;
};

} // namespace Tools
