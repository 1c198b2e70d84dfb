// Walks a capture and drives everything that listens to it.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "Data/Capture/CaptureSource.h"
#include "Data/Capture/ChunkQueue.h"
#include "Data/Records/CallDecoder.h"
#include "Data/Records/CallWatcher.h"
#include "Data/Records/MetaDecoder.h"
#include "Data/Records/ProgramEnd.h"
#include "Data/Records/RecordCursor.h"
#include "Data/Records/References.h"
#include "Interfaces/Data.h"

namespace Data {

class Diagnostics;

/// Replays frame by frame. A frame block begins with its first record and ends after its frame end; a state block has
/// records of its own for its start and end. Where the capture is damaged, replay ends.
class FrameProcessor final : public DCAPFileProcessor {
public:
    FrameProcessor(CaptureSource& source, Preload preload, Diagnostics& diagnostics);

    bool ProcessNextFrame() override;

    [[nodiscard]] std::uint32_t Frames() const;

    /// A place in the capture between two frames.
    struct Place {
        std::size_t chunk = 0;
        std::uint32_t offset = 0;
        std::uint32_t frames = 0;
        std::uint32_t thread = 0;
        std::uint64_t frameTimeUs = 0;
    };
    /// After ProcessNextFrame was true.
    [[nodiscard]] Place AtFrameEnd() const;
    /// Goes on there with the next frame. What was called so far stays as it is, counts of calls go on.
    void GoTo(const Place& place);

    /// Calls that were replayed so far, by their number in the file's call table.
    [[nodiscard]] const std::vector<std::uint64_t>& CallCounts() const { return m_callCounts; }
    /// CPU time that the calls took on this thread so far, in nanoseconds, by their number in the file's call table;
    /// empty unless it is taken.
    [[nodiscard]] const std::vector<std::uint64_t>& CallTimes() const { return m_callTimes; }
    /// From now on the time of each call is taken, which makes replay slower.
    void TimeCalls()
    {
        m_callTimes.resize(m_callCounts.size());
        m_isWatched = true;
    }
    /// Tells `watcher`, which outlives the replay, of each call from now on.
    void SetCallWatcher(CallWatcher* watcher)
    {
        m_watcher = watcher;
        m_isWatched = true;
    }
    /// Calls that were replayed so far.
    [[nodiscard]] std::uint64_t CallCount() const;
    /// The call that is replayed, or was last: its number in the file's call table, and its place in the frame from 1;
    /// 0 before the first one. Any thread.
    struct CallAtWork {
        std::uint32_t id;
        std::uint32_t place;
    };
    [[nodiscard]] CallAtWork AtWork() const
    {
        const std::uint64_t both = m_callAtWork.load(std::memory_order_relaxed);
        return {static_cast<std::uint32_t>(both >> 32), static_cast<std::uint32_t>(both)};
    }
    /// The file is damaged, or lacks its end; damage further on is not known yet.
    [[nodiscard]] bool IsIncomplete() const { return m_isDamaged || !m_source.IsComplete(); }
    /// When the frame before ended, in microseconds from the start of the recording.
    [[nodiscard]] std::uint64_t FrameTimeUs() const { return m_frameTimeUs; }

    CallDecoder& Calls() { return m_calls; }
    MetaDecoder& Meta() { return m_meta; }
    void Add(BlockEventHandler* handler) { m_blockHandlers.push_back(handler); }
    /// From frame `startFrame`, counted from 1, replays only what these threads did.
    void SetThreadFilter(std::vector<std::uint32_t> threads, std::uint32_t startFrame);
    /// Replays the calls too that had not returned when the program ended.
    void PlayUnfinished() { m_playsUnfinished = true; }
    void SetFrameHashHandler(FrameHashHandler* handler) { m_hashHandler = handler; }
    void SetFramePictureHandler(FramePictureHandler* handler) { m_pictureHandler = handler; }
    /// Both tell by the numbers of actions, which are counted from now on.
    void SetReferenceHandler(ReferenceHandler* handler)
    {
        m_referenceHandler = handler;
        m_isWatched = true;
    }
    void SetActionHandler(ActionHandler* handler)
    {
        m_actionHandler = handler;
        m_isWatched = true;
    }
    /// Those that were read so far.
    [[nodiscard]] const Data::References& References() const { return m_references; }

    /// Replays the records of a chunk up to a frame end. For tests of the decoding alone; `bytes` starts at 8 bytes'
    /// alignment. False when there is no frame end.
    bool ProcessChunk(std::uint8_t* bytes, std::uint32_t count);

private:
    /// Where the walk stopped.
    enum class Stop { FrameEnd, ChunkEnd, Damage };
    Stop ProcessRecords();
    void ProcessCall(std::uint32_t id);
    void ProcessWatchedCall(std::uint32_t id);
    void LeaveOut(CallId call);
    void TimeCall(std::uint32_t id);
    void EndFrame();
    bool IsStateBlock();
    void ProcessBuiltIn();
    /// Records other than calls by which a thread acts.
    void ProcessOfThread();
    void ProcessFramePicture();
    void ProcessReferenceHash();
    void ProcessUnfinished();
    void ProcessUnknown(std::uint32_t id);
    void ApplyThreadFilter();
    void ChangeThread(std::uint32_t thread);
    void StartBlock(BlockType type);
    void EndBlock(BlockType type);
    bool NextChunk();
    void End();

    CaptureSource& m_source;
    const Preload m_preload;
    Diagnostics& m_diagnostics;
    CallDecoder m_calls;
    MetaDecoder m_meta;
    std::vector<BlockEventHandler*> m_blockHandlers;
    FrameHashHandler* m_hashHandler = nullptr;
    FramePictureHandler* m_pictureHandler = nullptr;
    ReferenceHandler* m_referenceHandler = nullptr;
    ActionHandler* m_actionHandler = nullptr;
    Data::References m_references;
    /// Counts where calls are watched.
    ActionCounter m_actions;
    /// The call in front was an action.
    bool m_isAfterAction = false;

    /// For each call of the file its CallId; callCount when this program does not know it.
    std::vector<std::uint32_t> m_known;
    std::vector<std::uint64_t> m_callCounts;
    std::vector<std::uint64_t> m_callTimes;
    /// Null for none.
    CallWatcher* m_watcher = nullptr;
    /// Somebody takes the time of calls, or is told of them.
    bool m_isWatched = false;
    std::uint64_t m_callsInFrames = 0;
    /// By the thread filter.
    std::uint64_t m_callsLeftOut = 0;
    /// Both numbers of CallAtWork, since another thread reads them.
    std::atomic<std::uint64_t> m_callAtWork = 0;
    std::uint64_t m_frameTimeUs = 0;
    /// For each call of the file, whether its absence from this program was said, and for other records.
    std::vector<bool> m_unknownSaid;
    bool m_unknownRecordSaid = false;

    Chunk m_chunk;
    /// From 0 on.
    std::size_t m_chunkNumber = 0;
    RecordCursor m_cursor;
    std::uint32_t m_thread = 0;
    bool m_isThreadKnown = false;
    /// Empty: all.
    std::vector<std::uint32_t> m_filter;
    std::uint32_t m_filterStartFrame = 0;
    /// The filter leaves the thread's calls out.
    bool m_isThreadLeftOut = false;
    ProgramEnd m_programEnd;
    bool m_playsUnfinished = false;
    bool m_isInFrameBlock = false;
    bool m_isInStateBlock = false;
    bool m_isDamaged = false;
    bool m_isAtEnd = false;
    /// Last, so that its thread ends first.
    std::unique_ptr<ChunkQueue> m_queue;
};

} // namespace Data
