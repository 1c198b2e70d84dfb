// What each call does to the state of a program, as the API description has it (api/91-state.api, api/05-objects.api).
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "Data/CallIds.h"
#include "Data/ObjectKinds.h"
#include "Data/States.h"

namespace Data {

/// What counts an index of a state, for those who show it.
enum class Counted : std::uint8_t { None, Number, Enum, TextureUnit, DrawBuffer, Viewport, Face, Framebuffer };

struct StateDescription {
    const char* name;
    /// Kind of object that the first word names, which is unbound when it is deleted, unless `isHeld`. noObject where
    /// the changes have different ones, too.
    ObjectKind names;
    bool isHeld;
    /// Kind of object that the state belongs to; noObject for a context.
    ObjectKind of;
    /// It has no value: only whether it is another one can be told.
    bool isContents;
    std::array<Counted, 2> indexes;
    /// Type of each word, as the letter of a signature; the last one goes on.
    const char* codes;
    /// What is asked for to get each word, or all of them; null after the last one.
    std::array<const char*, 8> asked;
    /// Words of the initial value; 0: it is not known.
    std::uint32_t initialWords;
    std::array<double, 8> initial;
};

[[nodiscard]] const StateDescription& Describe(State state);
[[nodiscard]] inline const ObjectDescription& Describe(ObjectKind kind)
{
    return objectDescriptions[static_cast<std::size_t>(kind)];
}
/// What debug labels call `identifier`; noObject for none.
[[nodiscard]] ObjectKind LabeledKind(std::uint32_t identifier);

/// As many as OpenGL ES 3.2 drivers have.
inline constexpr std::uint32_t DrawBuffers = 8;
/// The least that drivers with viewport arrays have.
inline constexpr std::uint32_t Viewports = 16;

/// How an object, an index or a word follows from a call.
enum class Source : std::uint8_t {
    // Words and indexes.
    Number,    ///< `number`
    Parameter, ///< the value of `parameter`
    // The objects that states belong to.
    Context,
    Object,  ///< the one that `parameter` names, of the ObjectKind `other`
    Labeled, ///< the one that `parameter` names, of the kind that the parameter `other` identifies
    Program, ///< in use
    VertexArray,
    TransformFeedback,
    TextureOf, ///< bound to the target `parameter`
    ReadFramebuffer,
    DrawFramebuffer,
    FramebufferOf, ///< bound to the target `parameter`
    // Indexes.
    Unit,           ///< the active texture unit
    ClientUnit,     ///< the one that client arrays of texture coordinates belong to
    DrawBuffers,    ///< all of them
    Viewports,      ///< all of them
    ViewportsFrom,  ///< from `parameter`, as many as the parameter `other` says
    Faces,          ///< front and back
    FacesOf,        ///< those that `parameter` names
    FramebuffersOf, ///< 0 for reading, 1 for drawing: those that the target `parameter` names
    Locations,      ///< from `parameter`, as many as `other` says: one where there is no such parameter
    // Words.
    Elements,    ///< of the array `parameter`; `other`: filled up from 0 0 0 1
    Text,        ///< the string `parameter`
    ArrayBuffer, ///< the buffer bound to GL_ARRAY_BUFFER
    CubeFace,    ///< `parameter` where it is a face of a cube map, else 0
    VertexStride ///< `parameter`; where it is 0, bytes of a vertex of the size `other` and the type after it
};

struct Operand {
    Source source;
    std::uint8_t parameter;
    std::uint8_t other;
    double number;
};

enum class ChangeKind : std::uint8_t {
    Set,    ///< what was there before has no influence any more
    Change, ///< what was there before still counts
    Reset   ///< all values of the object are as at its start
};

struct StateChange {
    State state;
    ChangeKind kind;
    /// Whose state it is.
    Operand owner;
    Operand first;
    /// May be several indexes.
    Operand second;
    enum Test : std::uint8_t { Is, IsNot, Has };
    struct Condition {
        /// Number of the parameter, from 1; 0: there is no condition.
        std::uint8_t parameter;
        Test test;
        std::uint32_t value;
    } condition;
    /// Kind of object that the first word names; noObject for none.
    ObjectKind names;
    std::uint16_t firstWord;
    std::uint16_t wordCount;
};

enum class ObjectAction : std::uint8_t { None, Make, Delete };

struct ObjectEffect {
    ObjectAction action;
    ObjectKind kind;
    /// Number from 1 of the parameter with the names, or with the name; 0: it is returned.
    std::uint8_t parameter;
};

struct CallEffects {
    std::uint16_t firstChange;
    std::uint16_t changeCount;
    /// The call is known to change nothing that a later call could see.
    bool setsNothing;
    /// Its answer is what the capture calls a location from there on.
    bool asksForLocation;
    bool isDraw;
    /// The program whose building decides what an argument means; Source::Number for none.
    Operand builder;
    ObjectEffect object;
};

[[nodiscard]] const CallEffects& EffectsOf(CallId call);
[[nodiscard]] std::span<const StateChange> ChangesOf(CallId call);
[[nodiscard]] std::span<const Operand> WordsOf(const StateChange& change);

} // namespace Data
