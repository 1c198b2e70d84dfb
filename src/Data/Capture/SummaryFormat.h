// The records of the summary, as Format.h has the others. Each part comes once, unless it says otherwise.
#pragma once

#include "Data/Capture/Format.h"

namespace Data {

/// Moves when the summary counts otherwise, or holds more that readers must know. A reader counts by reading where it
/// is not its own, and passes over parts that it does not know.
inline constexpr std::uint32_t SummaryVersion = 1;

enum class SummaryPart : std::uint32_t {
    Totals = 1,      ///< first
    Calls = 2,       ///< CountEntry array: calls by their number in the call table, those that came at all
    Threads = 3,     ///< CountEntry array: calls by thread
    Contexts = 4,    ///< pairs of 32-bit numbers: context, and the one that it shares with or 0
    Surface = 5,     ///< SurfaceRecord; one for each surface
    Note = 6,        ///< TextRecord; one for each text
    Frames = 7,      ///< FrameCounts array: each frame, then what comes after the last one
    Bindings = 8,    ///< BindingChange array: what changed in a chunk of records; one for each, in file order
    Stacks = 9,      ///< CountEntry array: modules and stacks by the chunk of records that they are in, counted from 0
    References = 10, ///< ReferenceSummaryRecord; one for each driver that has any
};

struct SummaryTotals {
    RecordHeader header;
    std::uint32_t version;
    std::uint32_t chunks; ///< of records
    std::uint64_t calls;
    std::uint64_t stateBlockCalls;
    std::uint64_t durationUs; ///< latest time of a frame end
    std::uint32_t frames;
    std::uint32_t frameHashes;
    std::uint32_t hasStateBlock;
    FrameEndKind frameEnd; ///< what ended the last frame that did not end with the program
};
static_assert(sizeof(SummaryTotals) == 56);

struct CountEntry {
    std::uint32_t key;
    std::uint32_t unused;
    std::uint64_t count;
};

enum class SurfaceKind : std::uint32_t { Unknown, Window, Pbuffer, Pixmap };

/// Followed by pairs of 32-bit numbers: the sizes that the surface had, in order.
struct SurfaceRecord {
    RecordHeader header;
    std::uint32_t surface;
    SurfaceKind kind;
};

/// Calls in a frame outside of state-setup blocks, and draws in it.
struct FrameCounts {
    std::uint64_t calls;
    std::uint64_t draws;
};

enum class BindingKind : std::uint32_t {
    Context = 1,      ///< that thread `owner` uses; `place` is 0
    VertexArray = 2,  ///< that is bound in context `owner`; `place` is 0
    Buffer = 3,       ///< bound to target `place` in context `owner`
    ElementBuffer = 4 ///< of vertex array object `place` of context `owner`
};

/// What a listing of later calls depends on. `value` is a name, 0 for none.
struct BindingChange {
    BindingKind kind;
    std::uint32_t owner;
    std::uint32_t place;
    std::uint32_t value;
};

} // namespace Data
