#include "Tools/Info/CaptureSummary.h"

#include <algorithm>
#include <cstring>

#include "Data/Records/CallParameters.h"
#include "Data/Records/RecordWalk.h"
#include "Interfaces/Data.h"

namespace Tools {

namespace {

constexpr std::int32_t eglHeight = 0x3056;
constexpr std::int32_t eglWidth = 0x3057;
constexpr std::int32_t eglNone = 0x3038;

/// Counts record by record.
class Counter {
public:
    Counter(CaptureSummary& summary, const std::vector<Data::FileCall>& calls)
        : m_summary(summary), m_calls(calls), m_counts(calls.size())
    {
    }

    void Count(const Data::RecordCursor& record)
    {
        const std::uint32_t id = record.Header().id;
        if (id >= Data::firstBuiltInId)
            CountBuiltIn(record);
        else if (id < m_calls.size())
            CountCall(record, id);
    }

    void Finish()
    {
        for (std::size_t id = 0; id < m_counts.size(); ++id) {
            if (m_counts[id] > 0)
                m_summary.callsByName[m_calls[id].name] += m_counts[id];
        }
    }

private:
    static bool IsDraw(std::string_view call)
    {
        return call.starts_with("glDraw") && !call.starts_with("glDrawBuffers");
    }

    void CountCall(const Data::RecordCursor& record, std::uint32_t id)
    {
        ++m_counts[id];
        m_summary.drawsByFrame.back() += IsDraw(m_calls[id].name) ? 1 : 0;
        ++m_summary.calls;
        ++m_summary.callsByThread[m_thread];
        ++(m_isInStateBlock ? m_summary.stateBlockCalls : m_summary.callsByFrame.back());
        switch (static_cast<Data::CallId>(m_calls[id].known)) {
        case Data::CallId::eglCreateContext:
            if (const std::uint32_t context = Returned(record, id); context != 0)
                m_summary.contexts[context] = Argument(record, id, 2);
            break;
        case Data::CallId::eglCreateWindowSurface:
        case Data::CallId::eglCreatePlatformWindowSurface:
            Surface(record, id, "window");
            break;
        case Data::CallId::eglCreatePbufferSurface:
            Surface(record, id, "pbuffer");
            if (Data::PointerSlot attribs; Slot(record, id, 2, attribs))
                SizeFromAttribs(record, Returned(record, id), attribs);
            break;
        case Data::CallId::eglCreatePbufferFromClientBuffer:
            Surface(record, id, "pbuffer");
            break;
        case Data::CallId::eglCreatePixmapSurface:
        case Data::CallId::eglCreatePlatformPixmapSurface:
            Surface(record, id, "pixmap");
            break;
        default:
            break;
        }
    }

    void CountBuiltIn(const Data::RecordCursor& record)
    {
        switch (static_cast<Data::RecordId>(record.Header().id)) {
        case Data::RecordId::Thread:
            if (Data::ThreadRecord thread; record.Read(thread))
                m_thread = thread.thread;
            break;
        case Data::RecordId::FrameEnd:
            ++m_summary.frames;
            m_summary.callsByFrame.push_back(0);
            m_summary.drawsByFrame.push_back(0);
            if (Data::FrameEndRecord end; record.Read(end))
                m_summary.durationUs = std::max(m_summary.durationUs, end.timeUs);
            break;
        case Data::RecordId::FrameHash:
            ++m_summary.frameHashes;
            break;
        case Data::RecordId::BlockStart:
        case Data::RecordId::BlockEnd:
            if (Data::BlockRecord block;
                record.Read(block) && block.type == static_cast<std::uint32_t>(Data::BlockType::State)) {
                m_isInStateBlock = record.Is(Data::RecordId::BlockStart);
                m_summary.hasStateBlock = true;
            }
            break;
        case Data::RecordId::WindowSize:
            if (Data::WindowSizeRecord size; record.Read(size))
                Size(size.surface, size.width, size.height);
            break;
        case Data::RecordId::SurfaceAttribs:
            if (Data::AttribsRecord attribs; record.Read(attribs))
                SizeFromAttribs(record, attribs.object, attribs.attribs);
            break;
        case Data::RecordId::Note:
            if (Data::TextRecord note; record.Read(note) && note.text.offset <= record.Header().bytes &&
                                       note.text.bytes <= record.Header().bytes - note.text.offset)
                m_summary.notes[{reinterpret_cast<const char*>(record.Record()) + note.text.offset, note.text.bytes}] +=
                    note.count;
            break;
        default:
            break;
        }
    }

    std::uint32_t Value(const Data::RecordCursor& record, std::uint32_t at) const
    {
        std::uint32_t value = 0;
        if (at + sizeof value <= record.Header().bytes)
            std::memcpy(&value, record.Record() + at, sizeof value);
        return value;
    }
    std::uint32_t Returned(const Data::RecordCursor& record, std::uint32_t id) const
    {
        return Value(record, Data::ReturnOf(static_cast<Data::CallId>(m_calls[id].known))->at);
    }
    std::uint32_t Argument(const Data::RecordCursor& record, std::uint32_t id, std::size_t number) const
    {
        return Value(record, Data::ParametersOf(static_cast<Data::CallId>(m_calls[id].known))[number].at);
    }

    bool Slot(const Data::RecordCursor& record, std::uint32_t id, std::size_t number, Data::PointerSlot& slot) const
    {
        const std::uint32_t at = Data::ParametersOf(static_cast<Data::CallId>(m_calls[id].known))[number].at;
        if (at + sizeof slot > record.Header().bytes)
            return false;
        std::memcpy(&slot, record.Record() + at, sizeof slot);
        return slot.offset != 0;
    }

    void Surface(const Data::RecordCursor& record, std::uint32_t id, const char* kind)
    {
        if (const std::uint32_t surface = Returned(record, id); surface != 0)
            m_summary.surfaces[surface].kind = kind;
    }
    void Size(std::uint32_t surface, std::uint32_t width, std::uint32_t height)
    {
        auto& sizes = m_summary.surfaces[surface].sizes;
        if (sizes.empty() || sizes.back() != std::pair(width, height))
            sizes.emplace_back(width, height);
    }
    /// From the list of attributes that a slot points to.
    void SizeFromAttribs(const Data::RecordCursor& record, std::uint32_t surface, const Data::PointerSlot& attribs)
    {
        if (attribs.offset > record.Header().bytes || attribs.bytes > record.Header().bytes - attribs.offset)
            return;
        std::uint32_t width = 0;
        std::uint32_t height = 0;
        std::int32_t pair[2];
        for (std::uint32_t at = 0; at + sizeof pair <= attribs.bytes; at += sizeof pair) {
            std::memcpy(pair, record.Record() + attribs.offset + at, sizeof pair);
            if (pair[0] == eglNone)
                break;
            if (pair[0] == eglWidth)
                width = static_cast<std::uint32_t>(pair[1]);
            else if (pair[0] == eglHeight)
                height = static_cast<std::uint32_t>(pair[1]);
        }
        if (width > 0 && height > 0)
            Size(surface, width, height);
    }

    CaptureSummary& m_summary;
    const std::vector<Data::FileCall>& m_calls;
    /// By the number of the call in the file.
    std::vector<std::uint64_t> m_counts;
    std::uint32_t m_thread = 0;
    bool m_isInStateBlock = false;
};

} // namespace

CaptureSummary Summarize(Data::CaptureSource& source, Data::Diagnostics& diagnostics)
{
    CaptureSummary summary;
    summary.path = diagnostics.FileName();
    summary.fileBytes = source.FileBytes();
    summary.header = source.Header();
    Counter counter(summary, source.Calls());
    summary.isComplete =
        Data::WalkRecords(source, diagnostics, [&](const Data::RecordCursor& record) { counter.Count(record); });
    counter.Finish();
    return summary;
}

} // namespace Tools
