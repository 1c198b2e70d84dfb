// The capture file as it lies on disk: docs/capture-format.md is the description, these are its constants and structs.
// Everything is little-endian and naturally aligned, so the structs are copied to and from the file as they are.
#pragma once

#include <bit>
#include <cstdint>

#include "Data/Capture/EndKinds.h"

namespace Data {

static_assert(std::endian::native == std::endian::little, "captures are read and written in place");
static_assert(sizeof(void*) == 8, "pointers to captured strings are patched into 8-byte slots");

/// Moves when the meaning of bytes changes. New calls and record ids do not need it, nor do kinds of chunks between the
/// records and the index, which readers pass over.
inline constexpr std::uint32_t FormatVersion = 2;

inline constexpr std::uint64_t FileMagic = 0x0A1A0A5041434C47;    // "GLCAP\n\x1A\n"
inline constexpr std::uint64_t TrailerMagic = 0x444E455041434C47; // "GLCAPEND"
inline constexpr std::uint32_t ChunkMagic = 0x4B434C47;           // "GLCK"

/// Room for the file header, which is rewritten in place while recording.
inline constexpr std::uint32_t HeaderBytes = 4096;
/// Size at which a chunk is closed.
inline constexpr std::uint32_t ChunkBytes = 4u << 20;
/// Largest chunk, and so largest record, that is written or read. A record larger than ChunkBytes has its own chunk.
inline constexpr std::uint32_t MaxChunkBytes = 512u << 20;
/// Most calls that the call table of a file may hold.
inline constexpr std::uint32_t MaxCalls = 1u << 16;

enum class ChunkKind : std::uint32_t {
    CallTable = 1,       ///< CallTableEntry records: the calls that the file may contain
    Records = 2,         ///< what was captured
    Index = 3,           ///< IndexEntry array
    Summary = 4,         ///< counts over all records; SummaryPart records
    PackedRecords = 5,   ///< Records with Differences; from version 2 on
    RepeatedRecords = 6, ///< Records as RepeatedWords; from version 2 on
};

/// In front of each chunk. `checksum` is XXH3-64 over the rest of this header and the stored bytes. A body whose stored
/// size equals its raw size is not compressed, any other is one zstd frame. In that of PackedRecords there are a
/// PackedHeader, Differences and one LZ4 block: what is left to the end. RepeatedRecords are a RepeatedHeader and one
/// LZ4 block.
struct ChunkHeader {
    std::uint32_t magic;
    std::uint32_t kind;
    std::uint64_t checksum;
    std::uint32_t rawBytes;
    std::uint32_t storedBytes;
    /// Frame ends in front of this chunk, and inside it.
    std::uint32_t framesBefore;
    std::uint32_t frames;
    /// Microseconds from the start of the recording to the end of this chunk.
    std::uint64_t timeUs;
};
static_assert(sizeof(ChunkHeader) == 40);

struct PackedHeader {
    std::uint32_t differences;
    std::uint32_t unused;
};

/// What the LZ4 block after it holds: bytes of RepeatedWords in all, and the words in front of their tokens.
struct RepeatedHeader {
    std::uint32_t bytes;
    std::uint32_t others;
};

/// The 8-byte words at `at` of a chunk are stored as their exclusive or with those at `from`, which end in front of
/// `at` and are put back first. All three are multiples of 8. In the order of `at`, and apart from each other.
struct Difference {
    std::uint32_t at;
    std::uint32_t from;
    std::uint32_t bytes;
};
static_assert(sizeof(Difference) == 12);

/// One for each chunk of records, in file order.
struct IndexEntry {
    std::uint64_t fileOffset;
    std::uint32_t framesBefore;
    std::uint32_t frames;
};

/// The last bytes of a file that was finished.
struct Trailer {
    std::uint64_t indexOffset;
    std::uint64_t magic;
};

/// In front of each record. Records begin at multiples of 8 in their chunk.
struct RecordHeader {
    /// The whole record, this header included; a multiple of 8.
    std::uint32_t bytes;
    /// Below firstBuiltInId: a call, by its number in the file's call table. From there on a RecordId.
    std::uint32_t id;
};

inline constexpr std::uint32_t FirstBuiltInId = 0x10000;

/// Records that are not calls.
enum class RecordId : std::uint32_t {
    Thread = FirstBuiltInId, ///< the thread of the records that follow; first in each chunk
    BlockStart,              ///< of a state-setup block; frame blocks follow from FrameEnd
    BlockEnd,
    FrameEnd,
    FrameHash,
    VertexAttribData, ///< client-side vertices for the draw that follows in the same chunk
    FlushMappedBufferRange,
    UnmapBuffer,
    Note, ///< something that the recorder could not record, with a count
    TextAscii,
    TextXml,
    TextJson,
    DisplayMessage,
    WindowSize,
    EGLImageCreate,
    EGLImageContent,
    ConfigAttribs,
    SurfaceAttribs,
    DefaultColor,
    DefaultDepth,
    DefaultStencil,
    MultisampleTexture,
    Unfinished,       ///< a call that had begun and not returned when the program ended
    ProgramEnd,       ///< of a program that ended in another way than through its exit handlers; the last record
    Module,           ///< code that stacks lie in
    Stack,            ///< a place in the program from which calls came
    CallStack,        ///< the stack of the call that follows in the same chunk
    FramePicture,     ///< in front of a FrameEnd that no swap led to
    ReferenceDriver,  ///< a driver whose hashes and pictures follow
    ReferenceHash,    ///< of what an action drew to, or of what another driver's frame shows
    ReferencePicture, ///< what a driver's frame shows
};

/// Whether a record belongs to the next call of its thread, and lies in one chunk with it.
constexpr bool GoesWithNextCall(std::uint32_t id)
{
    return id == static_cast<std::uint32_t>(RecordId::VertexAttribData) ||
           id == static_cast<std::uint32_t>(RecordId::CallStack);
}

/// A pointer argument: the value that the application passed, then size and place of the memory behind it.
/// `offset` counts from the record's start and is a multiple of 8; 0 says that there are no contents.
struct PointerSlot {
    std::uint64_t value;
    std::uint32_t bytes;
    std::uint32_t offset;
};
static_assert(sizeof(PointerSlot) == 16);

/// Smallest multiple of 8 that is not below `bytes`.
constexpr std::uint64_t RoundUp8(std::uint64_t bytes)
{
    return (bytes + 7) & ~std::uint64_t{7};
}

// The records that are not calls.

/// Body: name and signature as two zero-terminated strings. The id of the record is the call's number in this file.
struct CallTableEntry {
    RecordHeader header;
};

struct ThreadRecord {
    RecordHeader header;
    std::uint32_t thread;
    std::uint32_t unused;
};

struct BlockRecord {
    RecordHeader header;
    std::uint32_t type; ///< a BlockType
    std::uint32_t unused;
};

struct FrameEndRecord {
    RecordHeader header;
    std::uint64_t timeUs; ///< since the start of the recording
};

struct FrameHashRecord {
    RecordHeader header;
    std::uint32_t frame; ///< from 1
    std::uint32_t surface;
    std::uint32_t width;
    std::uint32_t height;
    std::uint64_t hash;
};

struct FramePictureRecord {
    RecordHeader header;
    FrameEndKind end;          ///< not Swap
    std::uint32_t framebuffer; ///< that was drawn to last; 0: the default one
    std::uint32_t width;
    std::uint32_t height;
    std::uint64_t hash;
    PictureState state;
    std::uint32_t unused;
};

/// `data` holds elements `first` to `first + count - 1` at `stride` bytes; the last one is not padded.
struct VertexAttribDataRecord {
    RecordHeader header;
    std::uint32_t index;
    std::int32_t size;
    std::uint32_t type;
    std::uint32_t normalized;
    std::uint32_t integer; ///< 1: an attribute set by glVertexAttribIPointer
    std::int32_t stride;   ///< never 0
    std::uint32_t first;
    std::uint32_t count;
    PointerSlot data;
};

/// FlushMappedBufferRange and UnmapBuffer: what the application wrote to a mapped range. `offset` counts from the start
/// of the range and is 0 in UnmapBuffer.
struct MappedDataRecord {
    RecordHeader header;
    std::uint32_t target;
    std::uint32_t offset;
    PointerSlot data;
};

/// Note: `text` names what is missing, `count` says how often. The text records: text without a terminator.
struct TextRecord {
    RecordHeader header;
    std::uint64_t count;
    PointerSlot text;
};

/// `records` are a call without results and, in front of it, the vertices and calls that belong to it. Without contents
/// the call in front of this record is meant.
struct UnfinishedRecord {
    RecordHeader header;
    PointerSlot records;
};

struct ProgramEndRecord {
    RecordHeader header;
    ProgramEndKind kind;
    std::uint32_t value;
};

/// Numbers of modules and stacks count from 1 and are given once in a capture.
inline constexpr std::uint32_t MaxModules = 1u << 12;
inline constexpr std::uint32_t MaxStacks = 1u << 16;
inline constexpr std::uint32_t MaxStackFrames = 128;
inline constexpr std::uint32_t MaxBuildIdBytes = 64;
inline constexpr std::uint32_t MaxPathBytes = 4096;

/// A file of code in the program's memory. An address less `bias` is the one that the file itself uses.
struct ModuleRecord {
    RecordHeader header;
    std::uint32_t module;
    std::uint32_t unused;
    std::uint64_t begin;
    std::uint64_t end;
    std::uint64_t bias;
    PointerSlot buildId; ///< without contents: the file has none
    PointerSlot path;    ///< without a terminator
};

struct StackFrame {
    std::uint64_t address; ///< to which the call returns
    std::uint32_t module;  ///< 0: in none
    std::uint32_t unused;
};

/// `frames` are StackFrames, innermost first; there may be more further out when there are MaxStackFrames. Their
/// modules come before the stack.
struct StackRecord {
    RecordHeader header;
    std::uint32_t stack;
    std::uint32_t unused;
    PointerSlot frames;
};

struct CallStackRecord {
    RecordHeader header;
    std::uint32_t stack;
    std::uint32_t unused;
};

struct WindowSizeRecord {
    RecordHeader header;
    std::uint32_t display;
    std::uint32_t surface;
    std::uint32_t width;
    std::uint32_t height;
};

/// ConfigAttribs and SurfaceAttribs: 32-bit (attribute, value) pairs, closed by EGL_NONE.
struct AttribsRecord {
    RecordHeader header;
    std::uint32_t display;
    std::uint32_t object;
    PointerSlot attribs;
};

inline constexpr std::uint32_t MaxImagePlanes = 3;

struct ImagePlaneSlot {
    std::uint32_t stride;
    std::uint32_t unused;
    std::uint64_t size;
    std::uint64_t offset;
    PointerSlot data;
};

/// EGLImageCreate and EGLImageContent.
struct EGLImageRecord {
    RecordHeader header;
    std::uint32_t display; ///< 0 in EGLImageContent
    std::uint32_t image;
    std::uint32_t width;
    std::uint32_t height;
    std::uint32_t format;
    std::uint32_t bpp;
    std::uint32_t planeCount;
    std::uint32_t unused;
    ImagePlaneSlot planes[MaxImagePlanes];
};

/// DefaultColor, DefaultDepth and DefaultStencil: rows packed, bottom row first.
struct DefaultBufferRecord {
    RecordHeader header;
    std::uint32_t display;
    std::uint32_t surface;
    std::uint32_t width;
    std::uint32_t height;
    std::uint32_t format;
    std::uint32_t type;
    PointerSlot data;
};

struct MultisampleTextureRecord {
    RecordHeader header;
    std::uint32_t target;
    std::uint32_t texture;
    std::uint32_t width;
    std::uint32_t height;
    std::uint32_t depth;
    std::uint32_t internalFormat;
    std::uint32_t format;
    std::uint32_t type;
    std::uint32_t layerBytes;
    std::uint32_t unused;
    PointerSlot data;
};

} // namespace Data
