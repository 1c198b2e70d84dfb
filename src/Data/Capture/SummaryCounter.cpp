#include "Data/Capture/SummaryCounter.h"

#include <algorithm>
#include <utility>

#include "Data/Records/RecordCursor.h"
#include "Data/Records/References.h"
#include "Interfaces/Data.h"

namespace Data {

namespace {

constexpr std::int32_t EglHeight = 0x3056;
constexpr std::int32_t EglWidth = 0x3057;

bool IsDraw(std::string_view call)
{
    return (call.starts_with("glDraw") && !call.starts_with("glDrawBuffers")) || call.starts_with("glMultiDraw");
}

bool MakesContextOrSurface(CallId call)
{
    switch (call) {
    case CallId::eglCreateContext:
    case CallId::eglCreateWindowSurface:
    case CallId::eglCreatePlatformWindowSurface:
    case CallId::eglCreatePbufferSurface:
    case CallId::eglCreatePbufferFromClientBuffer:
    case CallId::eglCreatePixmapSurface:
    case CallId::eglCreatePlatformPixmapSurface:
        return true;
    default:
        return false;
    }
}

} // namespace

SummaryCounter::SummaryCounter(const std::vector<FileCall>& calls)
{
    m_counts.stacks.emplace();
    m_calls.reserve(calls.size());
    for (const FileCall& call : calls) {
        const bool isKnown = call.known < callCount;
        const auto known = static_cast<CallId>(call.known);
        m_calls.push_back({0, known, IsDraw(call.name), isKnown && MakesContextOrSurface(known),
                           isKnown && BufferBindings::Concerns(known)});
    }
}

void SummaryCounter::Count(const RecordView& record)
{
    const std::uint32_t id = record.Header().id;
    if (id >= FirstBuiltInId)
        CountBuiltIn(record);
    else if (id < m_calls.size())
        CountCall(record, m_calls[id]);
}

void SummaryCounter::CountChunk(std::span<const std::uint8_t> chunk)
{
    // The cursor changes nothing; replay does, and walks with it too.
    for (RecordCursor cursor(const_cast<std::uint8_t*>(chunk.data()), static_cast<std::uint32_t>(chunk.size()), 0);
         cursor.Next();)
        Count(cursor);
    if (m_chunkStacks > 0)
        m_counts.stacks->push_back({static_cast<std::uint32_t>(m_counts.bindings.size()), 0, m_chunkStacks});
    m_chunkStacks = 0;
    m_counts.bindings.push_back(m_bindings.TakeChanges());
}

const SummaryCounts& SummaryCounter::Counts()
{
    ChargeCalls();
    SetThread(m_bindings.Thread());
    m_counts.callsById.clear();
    for (const Call& call : m_calls)
        m_counts.callsById.push_back(call.count);
    return m_counts;
}

void SummaryCounter::CountCall(const RecordView& record, Call& call)
{
    ++call.count;
    ++m_newCalls;
    if (call.IsOrdinary())
        return;
    m_counts.byFrame.back().draws += call.isDraw ? 1 : 0;
    if (call.isRead)
        ReadCall({call.known, record});
    if (call.bindsBuffers)
        m_bindings.Follow({call.known, record});
}

void SummaryCounter::ChargeCalls()
{
    m_counts.calls += m_newCalls;
    m_threadCalls += m_newCalls;
    (m_isInStateBlock ? m_counts.stateBlockCalls : m_counts.byFrame.back().calls) += m_newCalls;
    m_newCalls = 0;
}

void SummaryCounter::ReadCall(const CallArguments& call)
{
    switch (call.Call()) {
    case CallId::eglCreateContext:
        if (call.Returned() != 0)
            m_counts.contexts[call.Returned()] = call.Unsigned(2);
        break;
    case CallId::eglCreateWindowSurface:
    case CallId::eglCreatePlatformWindowSurface:
        Surface(call, SurfaceKind::Window);
        break;
    case CallId::eglCreatePbufferSurface:
        Surface(call, SurfaceKind::Pbuffer);
        SizeFromAttribs(call.Returned(), call.Contents(2));
        break;
    case CallId::eglCreatePbufferFromClientBuffer:
        Surface(call, SurfaceKind::Pbuffer);
        break;
    default:
        Surface(call, SurfaceKind::Pixmap);
        break;
    }
}

void SummaryCounter::CountBuiltIn(const RecordView& record)
{
    ChargeCalls();
    switch (static_cast<RecordId>(record.Header().id)) {
    case RecordId::Thread:
        if (ThreadRecord thread; record.Read(thread))
            SetThread(thread.thread);
        break;
    case RecordId::FrameEnd:
        ++m_counts.frames;
        m_counts.byFrame.emplace_back();
        m_counts.frameEnd = std::exchange(m_frameEnd, FrameEndKind::Swap);
        if (FrameEndRecord end; record.Read(end))
            m_counts.durationUs = std::max(m_counts.durationUs, end.timeUs);
        break;
    case RecordId::FrameHash:
        ++m_counts.frameHashes;
        break;
    case RecordId::FramePicture:
        if (FramePictureRecord picture; record.Read(picture)) {
            m_frameEnd = picture.end == FrameEndKind::ProgramEnd ? m_counts.frameEnd : picture.end;
            m_counts.frameHashes += picture.state == PictureState::Hashed ? 1 : 0;
        }
        break;
    case RecordId::BlockStart:
    case RecordId::BlockEnd:
        if (BlockRecord block; record.Read(block) && block.type == static_cast<std::uint32_t>(BlockType::State)) {
            m_isInStateBlock = record.Is(RecordId::BlockStart);
            m_counts.hasStateBlock = true;
        }
        break;
    case RecordId::WindowSize:
        if (WindowSizeRecord size; record.Read(size))
            Size(size.surface, size.width, size.height);
        break;
    case RecordId::SurfaceAttribs:
        if (AttribsRecord attribs; record.Read(attribs))
            SizeFromAttribs(attribs.object, record.Contents(attribs.attribs));
        break;
    case RecordId::Module:
    case RecordId::Stack:
        ++m_chunkStacks;
        break;
    case RecordId::ReferenceDriver:
    case RecordId::ReferenceHash:
    case RecordId::ReferencePicture:
        CountReference(record);
        break;
    case RecordId::Note:
        if (TextRecord note; record.Read(note) && record.HasContents(note.text))
            m_counts.notes[std::string(record.Text(note.text))] += note.count;
        break;
    default:
        break;
    }
}

void SummaryCounter::CountReference(const RecordView& record)
{
    auto& all = m_counts.references;
    if (ReferenceDriverRecord driver; record.Is(RecordId::ReferenceDriver) && record.Read(driver)) {
        if (IsSound(record, driver))
            all.try_emplace(driver.driver, ReferenceSummary{std::string(record.Text(driver.renderer)),
                                                            std::string(record.Text(driver.version))});
    } else if (ReferenceHashRecord hash; record.Is(RecordId::ReferenceHash) && record.Read(hash)) {
        if (hash.driver != 0 && !all.contains(hash.driver))
            return;
        ReferenceSummary& summary = all[hash.driver];
        summary.frames += hash.of == ReferenceOf::Frame ? 1 : 0;
        summary.actions += hash.of == ReferenceOf::Action ? 1 : 0;
    } else if (ReferencePictureRecord picture; record.Is(RecordId::ReferencePicture) && record.Read(picture)) {
        if (const auto found = all.find(picture.driver); found != all.end())
            ++found->second.pictures;
    }
}

void SummaryCounter::SetThread(std::uint32_t thread)
{
    if (m_threadCalls > 0)
        m_counts.callsByThread[m_bindings.Thread()] += m_threadCalls;
    m_threadCalls = 0;
    m_bindings.SetThread(thread);
}

void SummaryCounter::Surface(const CallArguments& call, SurfaceKind kind)
{
    if (call.Returned() != 0)
        m_counts.surfaces[call.Returned()].kind = kind;
}

void SummaryCounter::Size(std::uint32_t surface, std::uint32_t width, std::uint32_t height)
{
    auto& sizes = m_counts.surfaces[surface].sizes;
    if (sizes.empty() || sizes.back() != std::pair(width, height))
        sizes.emplace_back(width, height);
}

void SummaryCounter::SizeFromAttribs(std::uint32_t surface, std::span<const std::uint8_t> attribs)
{
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    ForEachAttrib(attribs, [&](std::int32_t name, std::int32_t value) {
        if (name == EglWidth)
            width = static_cast<std::uint32_t>(value);
        else if (name == EglHeight)
            height = static_cast<std::uint32_t>(value);
    });
    if (width > 0 && height > 0)
        Size(surface, width, height);
}

} // namespace Data
