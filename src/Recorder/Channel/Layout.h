// The memory by which records get from a recorded program to the process that writes them. What is there is not lost
// when the program dies, in whatever way.
//
// Each thread of the program that records has a stream of its own, a ring of records in which it builds the next one in
// place. The order of the threads' records is a list of runs: a run is what one thread appended until another one did.
// Positions in streams and in the list count from the start for ever.
#pragma once

#include <atomic>
#include <cstdint>
#include <pthread.h>
#include <sys/types.h>

#include "Data/Capture/Format.h"

namespace Recorder {

inline constexpr std::uint32_t ChannelVersion = 2;

/// Threads that record at the same time.
inline constexpr std::uint32_t MaxStreams = 256;
inline constexpr std::uint64_t StreamBytes = 4u << 20;
/// Records above this size are built in a place of their own.
inline constexpr std::uint64_t MaxStreamRecordBytes = StreamBytes / 4;
inline constexpr std::uint32_t LargePlaces = 4;
inline constexpr std::uint64_t LargePlaceBytes = Data::MaxChunkBytes;
inline constexpr std::uint32_t MaxRuns = 1u << 15;
inline constexpr std::uint32_t MaxNotes = 256;
/// Values of Channel::hasFailed.
inline constexpr std::uint32_t Failing = 1;
inline constexpr std::uint32_t Failed = 2;

/// In streams only: the rest of the ring is empty, and the next record is at its start.
inline constexpr std::uint32_t SkipId = 0xFFFFFFFF;
/// In streams only: a LargeReference.
inline constexpr std::uint32_t LargeId = 0xFFFFFFFE;

/// In streams only: a FrameMark and a FrameDecision.
inline constexpr std::uint32_t FrameMarkId = 0xFFFFFFFD;
inline constexpr std::uint32_t FrameDecisionId = 0xFFFFFFFC;

/// Where a frame may end: what stands there if it does.
struct FrameMark {
    Data::FramePictureRecord picture;
    std::uint64_t timeUs;
};

/// Says what becomes of the marks so far: the first `frames` of this kind end frames, the others do not.
struct FrameDecision {
    Data::RecordHeader header;
    Data::FrameEndKind end;
    std::uint32_t frames;
};

/// Stands in a stream for a record that is in a place of its own.
struct LargeReference {
    Data::RecordHeader header;
    std::uint32_t place;
    std::uint32_t unused;
};

struct StreamControl {
    /// Written by the thread: records up to here are complete. Only while it holds the capture's lock.
    alignas(64) std::atomic<std::uint64_t> committed;
    /// Position of a record of a call that is in the driver, plus 1; its inputs are complete. 0: no call is.
    std::atomic<std::uint64_t> open;
    /// The call that is in the driver is the last one that was committed.
    std::atomic<std::uint32_t> lastIsOpen;
    /// Number of the thread in the capture.
    std::atomic<std::uint32_t> thread;
    /// Written by the reader.
    alignas(64) std::atomic<std::uint64_t> consumed;
};

/// What `stream` appends from here on is of `thread`. The stream of the run in front ends with `previousEnd`.
struct Run {
    std::uint32_t stream;
    std::uint32_t thread;
    std::uint64_t previousEnd;
};

/// Something that could not be recorded, and how often. The name is complete once it is not empty at the front.
struct SharedNote {
    std::atomic<std::uint64_t> count;
    char name[120];
};

struct Channel {
    std::uint32_t version;
    /// Held by the thread that reads as long as it does: a robust one, so that its death is seen.
    pthread_mutex_t readerLives;
    /// As Data::MonotonicUs has it.
    std::uint64_t startUs;

    /// The program has ended the capture: nothing follows.
    std::atomic<std::uint32_t> isFinished;
    /// Nothing can be written any more once it is not 0; `error` says why once it is `Failed`.
    std::atomic<std::uint32_t> hasFailed;
    char error[1024];
    /// Written by the reader: what the program draws is not wanted at the moment, and needs no hashes.
    std::atomic<std::uint32_t> isPaused;
    std::atomic<std::uint32_t> isFailureTold;
    /// As the file has it. Odd while it is written.
    std::atomic<std::uint32_t> headerVersion;
    std::uint8_t header[Data::HeaderBytes];

    /// Threads sleep on these: counts of what was consumed, and of calls for the reader.
    std::atomic<std::uint32_t> consumptions;
    std::atomic<std::uint32_t> requests;
    /// Threads that wait for room.
    std::atomic<std::uint32_t> waiting;

    /// Contexts that have drawn since a frame of theirs ended without a swap.
    std::atomic<std::uint32_t> openFrames;
    std::atomic<std::uint32_t> largePlaceTaken[LargePlaces];
    std::atomic<std::uint64_t> runsWritten;
    std::atomic<std::uint64_t> runsRead;
    Run runs[MaxRuns];
    std::atomic<std::uint32_t> noteCount;
    SharedNote notes[MaxNotes];
    StreamControl streams[MaxStreams];
};
static_assert(std::atomic<std::uint64_t>::is_always_lock_free, "processes share them");

// The memory: the channel, the rings, the places of large records. Sparse: what nobody uses takes no room.
inline constexpr std::uint64_t RingsOffset = (sizeof(Channel) + 0xFFFF) & ~std::uint64_t{0xFFFF};
inline constexpr std::uint64_t LargeOffset = RingsOffset + MaxStreams * StreamBytes;
inline constexpr std::uint64_t SharedBytes = LargeOffset + LargePlaces * LargePlaceBytes;

inline std::uint8_t* RingOf(Channel& channel, std::uint32_t stream)
{
    return reinterpret_cast<std::uint8_t*>(&channel) + RingsOffset + stream * StreamBytes;
}

inline std::uint8_t* LargePlaceOf(Channel& channel, std::uint32_t place)
{
    return reinterpret_cast<std::uint8_t*>(&channel) + LargeOffset + place * LargePlaceBytes;
}

} // namespace Recorder
