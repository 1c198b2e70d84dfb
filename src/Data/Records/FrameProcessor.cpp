#include "Data/Records/FrameProcessor.h"

#include <algorithm>
#include <ctime>

#include "Data/Diagnostics.h"
#include "Data/Records/RecordWalk.h"

namespace Data {

namespace {

std::uint64_t ThreadNanoseconds()
{
    timespec time = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<std::uint64_t>(time.tv_sec) * 1'000'000'000 + static_cast<std::uint64_t>(time.tv_nsec);
}

} // namespace

FrameProcessor::FrameProcessor(CaptureSource& source, Preload preload, Diagnostics& diagnostics)
    : m_source(source), m_preload(preload), m_diagnostics(diagnostics), m_calls(diagnostics),
      m_meta(m_calls, diagnostics), m_references(diagnostics), m_callCounts(source.Calls().size()),
      m_unknownSaid(source.Calls().size()), m_queue(std::make_unique<ChunkQueue>(source, preload))
{
    for (const FileCall& call : source.Calls())
        m_known.push_back(call.known);
}

std::uint32_t FrameProcessor::Frames() const
{
    return m_diagnostics.position.frame;
}

std::uint64_t FrameProcessor::CallCount() const
{
    return m_callsInFrames + m_diagnostics.position.call - m_callsLeftOut;
}

bool FrameProcessor::ProcessNextFrame()
{
    if (m_isAtEnd)
        return false;
    for (;;) {
        switch (ProcessRecords()) {
        case Stop::FrameEnd:
            return true;
        case Stop::Damage:
            m_isDamaged = true;
            End();
            return false;
        case Stop::ChunkEnd:
            if (!NextChunk()) {
                End();
                return false;
            }
            break;
        }
    }
}

FrameProcessor::Place FrameProcessor::AtFrameEnd() const
{
    return {m_chunkNumber, m_cursor.NextOffset(), Frames(), m_thread, m_frameTimeUs};
}

void FrameProcessor::GoTo(const Place& place)
{
    // Drivers wrote to the chunks that were replayed.
    m_chunk = {};
    m_queue = std::make_unique<ChunkQueue>(m_source, m_preload, place.chunk);
    m_chunkNumber = place.chunk;
    m_isAtEnd = !NextChunk();
    while (m_cursor.NextOffset() < place.offset && m_cursor.Next()) {
    }
    Position& position = m_diagnostics.position;
    m_callsInFrames += position.call;
    position.call = 0;
    position.frame = place.frames;
    m_actions.BeginFrame();
    m_isAfterAction = false;
    m_frameTimeUs = place.frameTimeUs;
    m_isThreadKnown = false;
    ChangeThread(place.thread);
}

bool FrameProcessor::NextChunk()
{
    m_calls.ForgetVertexData();
    if (m_chunk.memory)
        ++m_chunkNumber;
    m_queue->Recycle(std::move(m_chunk));
    m_chunk = {};
    m_cursor = {};
    std::string trouble;
    if (!m_queue->Next(m_chunk, trouble)) {
        if (!trouble.empty()) {
            m_diagnostics.File(trouble);
            m_isDamaged = true;
        }
        return false;
    }
    m_cursor = RecordCursor(m_chunk);
    m_diagnostics.position.chunkOffset = m_chunk.fileOffset;
    return true;
}

void FrameProcessor::End()
{
    m_isAtEnd = true;
    if (m_isInStateBlock)
        EndBlock(BlockType::State);
    if (m_isInFrameBlock)
        EndBlock(BlockType::Frame);
    m_diagnostics.Summary();
    if (IsIncomplete())
        ReportIncomplete(m_diagnostics, Frames());
}

FrameProcessor::Stop FrameProcessor::ProcessRecords()
{
    Position& position = m_diagnostics.position;
    while (m_cursor.Next()) {
        position.recordOffset = m_cursor.Offset();
        const std::uint32_t id = m_cursor.Header().id;
        if (id < m_known.size() && m_known[id] < callCount) [[likely]] {
            ProcessCall(id);
        } else if (id < FirstBuiltInId) {
            ProcessUnknown(id);
        } else if (m_cursor.Is(RecordId::FrameEnd)) {
            if (!m_isInFrameBlock)
                StartBlock(BlockType::Frame);
            EndFrame();
            EndBlock(BlockType::Frame);
            return Stop::FrameEnd;
        } else {
            ProcessBuiltIn();
        }
    }
    if (!m_cursor.IsDamaged())
        return Stop::ChunkEnd;
    m_diagnostics.File(m_cursor.Damage() + "; replay ends here");
    return Stop::Damage;
}

inline void FrameProcessor::ProcessCall(std::uint32_t id)
{
    if (!m_isInFrameBlock && !m_isInStateBlock)
        StartBlock(BlockType::Frame);
    Position& position = m_diagnostics.position;
    ++position.call;
    if (m_isThreadLeftOut) [[unlikely]] {
        LeaveOut(static_cast<CallId>(m_known[id]));
        return;
    }
    ++m_callCounts[id];
    m_callAtWork.store(std::uint64_t{id} << 32 | position.call, std::memory_order_relaxed);
    if (!m_isWatched) [[likely]]
        m_calls.Decode(static_cast<CallId>(m_known[id]), m_cursor.Record());
    else
        ProcessWatchedCall(id);
}

void FrameProcessor::LeaveOut(CallId call)
{
    ++m_callsLeftOut;
    // It has its number all the same.
    m_isAfterAction = m_actions.Count(call).has_value();
    if (m_watcher)
        m_watcher->CallLeftOut(call);
}

bool FrameProcessor::ProcessChunk(std::uint8_t* bytes, std::uint32_t count)
{
    m_cursor = RecordCursor(bytes, count, 0);
    m_calls.ForgetVertexData();
    Stop stop = ProcessRecords();
    bool hasFrame = false;
    while (stop == Stop::FrameEnd) {
        hasFrame = true;
        stop = ProcessRecords();
    }
    return hasFrame;
}

void FrameProcessor::ProcessWatchedCall(std::uint32_t id)
{
    const CallArguments call(static_cast<CallId>(m_known[id]), m_cursor);
    m_isAfterAction = m_actions.Count(call.Call()).has_value();
    if (m_watcher)
        m_watcher->BeforeCall(call);
    TimeCall(id);
    if (m_watcher)
        m_watcher->AfterCall();
    if (m_isAfterAction && m_actionHandler)
        m_actionHandler->ProcessAction(Frames() + 1, m_actions.Last(), call);
}

void FrameProcessor::TimeCall(std::uint32_t id)
{
    const auto call = static_cast<CallId>(m_known[id]);
    if (m_callTimes.empty()) {
        m_calls.Decode(call, m_cursor.Record());
        return;
    }
    const std::uint64_t start = ThreadNanoseconds();
    m_calls.Decode(call, m_cursor.Record());
    m_callTimes[id] += ThreadNanoseconds() - start;
}

void FrameProcessor::EndFrame()
{
    if (FrameEndRecord end; m_cursor.Read(end))
        m_frameTimeUs = end.timeUs;
    Position& position = m_diagnostics.position;
    m_callsInFrames += position.call;
    ++position.frame;
    position.call = 0;
    m_actions.BeginFrame();
    m_isAfterAction = false;
    ApplyThreadFilter();
}

void FrameProcessor::ProcessUnknown(std::uint32_t id)
{
    const std::vector<FileCall>& calls = m_source.Calls();
    const bool isInTable = id < calls.size() && !calls[id].name.empty();
    if (isInTable ? m_unknownSaid[id] : m_unknownRecordSaid)
        return;
    if (isInTable) {
        m_unknownSaid[id] = true;
        const FileCall& call = calls[id];
        m_diagnostics.File("this program has no call " + call.name + " with the signature " + call.signature +
                           "; such calls are skipped");
    } else {
        m_unknownRecordSaid = true;
        m_diagnostics.File("there is no call with the number " + std::to_string(id) +
                           " in the capture's table; such records are skipped");
    }
}

bool FrameProcessor::IsStateBlock()
{
    BlockRecord block;
    return m_diagnostics.Read("block", m_cursor, block) && block.type == static_cast<std::uint32_t>(BlockType::State);
}

void FrameProcessor::ProcessBuiltIn()
{
    switch (static_cast<RecordId>(m_cursor.Header().id)) {
    case RecordId::Thread:
        if (ThreadRecord thread; m_diagnostics.Read("thread", m_cursor, thread))
            ChangeThread(thread.thread);
        break;
    case RecordId::BlockStart:
        if (IsStateBlock())
            StartBlock(BlockType::State);
        break;
    case RecordId::BlockEnd:
        if (IsStateBlock())
            EndBlock(BlockType::State);
        break;
    case RecordId::ReferenceDriver:
        m_references.Take(m_cursor);
        break;
    case RecordId::Note:
    case RecordId::ReferencePicture:
    case RecordId::Module:
    case RecordId::Stack:
    case RecordId::CallStack:
        break;
    case RecordId::ProgramEnd:
        if (ProgramEndRecord end; m_diagnostics.Read("program's end", m_cursor, end)) {
            m_programEnd.kind = end.kind;
            m_programEnd.value = end.value;
            m_diagnostics.File("the recorded program " + Describe(m_programEnd));
        }
        break;
    case RecordId::Unfinished:
        AddUnfinished(m_cursor, m_source.Calls(),
                      {NameOfCall(m_source.Calls(), AtWork().id), Frames() + 1, m_diagnostics.position.call, m_thread},
                      m_programEnd);
        if (m_playsUnfinished)
            ProcessUnfinished();
        break;
    default:
        if (!m_isThreadLeftOut)
            ProcessOfThread();
        break;
    }
}

/// As if the call and what belongs to it stood in the chunk themselves.
void FrameProcessor::ProcessUnfinished()
{
    const RecordCursor outer = m_cursor;
    m_cursor = UnfinishedRecords(outer);
    while (m_cursor.Next()) {
        const std::uint32_t id = m_cursor.Header().id;
        if (id < m_known.size() && m_known[id] < callCount)
            ProcessCall(id);
        else if (m_cursor.Is(RecordId::VertexAttribData))
            ProcessOfThread();
    }
    m_cursor = outer;
}

void FrameProcessor::ProcessOfThread()
{
    if (m_cursor.Is(RecordId::FrameHash)) {
        if (FrameHashRecord hash; m_diagnostics.Read("frame hash", m_cursor, hash) && m_hashHandler)
            m_hashHandler->ProcessFrameHash(hash.frame, hash.surface, hash.width, hash.height, hash.hash);
    } else if (m_cursor.Is(RecordId::FramePicture)) {
        ProcessFramePicture();
    } else if (m_cursor.Is(RecordId::ReferenceHash)) {
        ProcessReferenceHash();
    } else if (!m_meta.Decode(m_cursor) && !m_unknownRecordSaid) {
        m_unknownRecordSaid = true;
        m_diagnostics.File("there are records of kind " + std::to_string(m_cursor.Header().id) +
                           " that this program does not know; they are skipped");
    }
}

void FrameProcessor::ProcessFramePicture()
{
    FramePictureRecord record;
    if (!m_diagnostics.Read("frame picture", m_cursor, record) || !m_pictureHandler)
        return;
    const bool isHashed = record.state == PictureState::Hashed;
    m_pictureHandler->ProcessFramePicture({Frames() + 1, record.framebuffer, record.state != PictureState::None,
                                           isHashed ? std::optional(record.hash) : std::nullopt, record.width,
                                           record.height});
}

void FrameProcessor::ProcessReferenceHash()
{
    const std::optional<ReferenceHashRecord> hash = m_referenceHandler ? m_references.HashOf(m_cursor) : std::nullopt;
    if (!hash)
        return;
    ReferencePlace place = {Frames() + 1, std::nullopt, ActionKind::None, m_diagnostics.position.call, ""};
    if (hash->of == ReferenceOf::Action) {
        if (!m_isAfterAction) {
            m_diagnostics.Skipped("reference hash", "the call in front", "one that draws",
                                  place.call == 0 ? "none" : NameOfCall(m_source.Calls(), AtWork().id));
            return;
        }
        place.action = m_actions.Last();
        place.kind = ActionOf(static_cast<CallId>(m_known[AtWork().id]));
        place.function = m_source.Calls()[AtWork().id].name.c_str();
    }
    m_referenceHandler->ProcessReferenceHash(*hash, place);
}

void FrameProcessor::SetThreadFilter(std::vector<std::uint32_t> threads, std::uint32_t startFrame)
{
    m_filter = std::move(threads);
    m_filterStartFrame = startFrame;
    ApplyThreadFilter();
}

void FrameProcessor::ApplyThreadFilter()
{
    m_isThreadLeftOut = !m_filter.empty() && Frames() + 1 >= m_filterStartFrame &&
                        std::ranges::find(m_filter, m_thread) == m_filter.end();
}

void FrameProcessor::ChangeThread(std::uint32_t thread)
{
    // Each chunk begins with its thread, which is mostly the one that it was.
    if (m_isThreadKnown && thread == m_thread)
        return;
    m_isThreadKnown = true;
    m_thread = thread;
    ApplyThreadFilter();
    m_calls.SetThread(thread);
    m_meta.SetThread(thread);
}

void FrameProcessor::StartBlock(BlockType type)
{
    bool& isInBlock = type == BlockType::State ? m_isInStateBlock : m_isInFrameBlock;
    if (isInBlock)
        return;
    isInBlock = true;
    for (BlockEventHandler* const handler : m_blockHandlers)
        handler->BlockStart(type);
}

void FrameProcessor::EndBlock(BlockType type)
{
    bool& isInBlock = type == BlockType::State ? m_isInStateBlock : m_isInFrameBlock;
    if (!isInBlock)
        return;
    isInBlock = false;
    for (BlockEventHandler* const handler : m_blockHandlers)
        handler->BlockEnd(type);
}

} // namespace Data
