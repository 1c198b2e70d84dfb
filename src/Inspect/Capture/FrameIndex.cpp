#include "Inspect/Capture/FrameIndex.h"

#include <algorithm>
#include <string_view>

#include "Data/Records/Actions.h"
#include "Data/Records/RecordCursor.h"

namespace Inspect {

namespace {

using Data::CallId;
using Data::RecordId;

bool IsUpload(std::string_view function)
{
    return function.starts_with("glBuffer") || function.starts_with("glTexImage") ||
           function.starts_with("glTexSubImage") || function.starts_with("glCompressedTex");
}

} // namespace

FrameIndex::FrameIndex(std::string path) : m_path(std::move(path)), m_thread([this] { Run(); }) {}

FrameIndex::~FrameIndex()
{
    {
        const std::lock_guard lock(m_mutex);
        m_stop = true;
    }
    m_thread.join();
}

FrameIndex::Frames FrameIndex::Get() const
{
    const std::lock_guard lock(m_mutex);
    return m_result;
}

void FrameIndex::Wait() const
{
    std::unique_lock lock(m_mutex);
    m_grown.wait(lock, [this] { return m_result.isDone; });
}

std::optional<ChunkStart> FrameIndex::Find(std::uint32_t frame) const
{
    std::unique_lock lock(m_mutex);
    m_grown.wait(lock, [&] { return m_result.isDone || m_result.frames.size() >= frame; });
    if (frame == 0 || m_result.frames.size() < frame)
        return std::nullopt;
    const auto after = std::ranges::upper_bound(m_chunks, frame - 1, {}, &ChunkNote::framesBefore);
    // A frame that begins with a chunk may have its first records at the end of the one in front.
    std::size_t number = static_cast<std::size_t>(after - m_chunks.begin()) - 1;
    while (number > 0 && m_chunks[number].framesBefore == frame - 1)
        --number;
    ChunkStart start = {number, {}, m_chunks[number].bindings};
    for (std::size_t i = 0; i < number; ++i)
        start.buffers.insert(start.buffers.end(), m_chunks[i].buffers.begin(), m_chunks[i].buffers.end());
    return start;
}

FrameIndex::LabelMap FrameIndex::Labels() const
{
    const std::lock_guard lock(m_mutex);
    return m_labels;
}

std::string FrameIndex::LabelOf(Data::ObjectKind kind, std::uint32_t name) const
{
    const std::lock_guard lock(m_mutex);
    const auto label = m_labels.find({kind, name});
    return label != m_labels.end() ? label->second : std::string();
}

std::vector<Data::ShaderSource> FrameIndex::SourcesOf(std::uint32_t program, const Place& place) const
{
    std::unique_lock lock(m_mutex);
    m_grown.wait(lock, [&] { return m_result.isDone || m_result.frames.size() >= place.frame; });
    return m_sources.Of(program, place);
}

void FrameIndex::Run()
{
    std::string trouble;
    const std::unique_ptr<Data::CaptureSource> source = Data::CaptureSource::Open(m_path, trouble);
    if (source)
        Read(*source);
    const std::lock_guard lock(m_mutex);
    if (!trouble.empty())
        m_result.trouble = trouble;
    else if (m_frame.calls > 0) {
        m_result.frames.push_back(m_frame);
        m_result.hasRest = true;
    }
    m_result.isDone = true;
    m_grown.notify_all();
}

void FrameIndex::Read(Data::CaptureSource& source)
{
    for (const Data::IndexEntry& entry : source.Chunks()) {
        Data::Chunk chunk;
        const std::string trouble = source.ReadChunk(entry, chunk);
        ChunkNote note = {{}, m_bindings, m_framesRead};
        if (trouble.empty())
            ReadChunk(source, chunk);
        note.buffers = m_buffers.TakeChanges();
        const std::lock_guard lock(m_mutex);
        m_result.trouble = trouble;
        m_chunks.push_back(std::move(note));
        m_result.frames.insert(m_result.frames.end(), m_new.begin(), m_new.end());
        m_new.clear();
        m_grown.notify_all();
        if (m_stop || !trouble.empty())
            return;
    }
}

void FrameIndex::ReadChunk(Data::CaptureSource& source, const Data::Chunk& chunk)
{
    for (Data::RecordCursor record(chunk); record.Next();) {
        if (record.Header().id < Data::FirstBuiltInId) {
            ++m_frame.calls;
            if (const std::optional<CallId> call = source.CallOf(record.Header()))
                TakeCall({*call, record});
        } else if (Data::ThreadRecord thread; record.Is(RecordId::Thread) && record.Read(thread)) {
            m_buffers.SetThread(thread.thread);
        } else if (Data::FrameEndRecord end; record.Is(RecordId::FrameEnd)) {
            m_frame.timeUs = record.Read(end) ? end.timeUs : 0;
            m_new.push_back(m_frame);
            m_frame = {};
            ++m_framesRead;
        } else if (record.Is(RecordId::VertexAttribData) || record.Is(RecordId::UnmapBuffer) ||
                   record.Is(RecordId::FlushMappedBufferRange)) {
            m_frame.uploadBytes += record.Header().bytes;
        }
    }
}

void FrameIndex::TakeCall(const Data::CallArguments& call)
{
    const Data::ActionKind kind = Data::ActionOf(call.Call());
    m_frame.draws += kind == Data::ActionKind::Draw ? 1 : 0;
    m_frame.actions += kind != Data::ActionKind::None ? 1 : 0;
    if (kind == Data::ActionKind::Draw)
        return;
    constexpr std::uint32_t MayHoldContents = 128;
    if (call.Header().bytes > MayHoldContents && IsUpload(NameOf(call.Call())))
        m_frame.uploadBytes += call.Header().bytes;
    m_buffers.Follow(call);
    m_bindings.Follow(call, m_buffers.Context());
    TakeName(call);
}

/// Labels and shader sources, of which there are few.
void FrameIndex::TakeName(const Data::CallArguments& call)
{
    if (Data::ProgramSources::Concerns(call.Call())) {
        const std::lock_guard lock(m_mutex);
        m_sources.Follow(call, {m_framesRead + 1, m_frame.calls});
        return;
    }
    if (call.Call() == CallId::glObjectLabel || call.Call() == CallId::glObjectLabelKHR ||
        call.Call() == CallId::glLabelObjectEXT) {
        const std::lock_guard lock(m_mutex);
        m_labels[{Data::LabeledKind(call.Unsigned(0)), call.Unsigned(1)}] = call.Text(3);
    }
}

} // namespace Inspect
