#include "Tools/Info/CaptureSummary.h"

#include <algorithm>

#include "Data/Records/CallArguments.h"
#include "Data/Records/RecordWalk.h"
#include "Interfaces/Data.h"

namespace Tools {

namespace {

constexpr std::int32_t eglHeight = 0x3056;
constexpr std::int32_t eglWidth = 0x3057;

/// Counts record by record.
class Counter {
public:
    Counter(CaptureSummary& summary, const std::vector<Data::FileCall>& calls)
        : m_summary(summary), m_calls(calls), m_counts(calls.size())
    {
    }

    void Count(const Data::RecordView& record)
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

    void CountCall(const Data::RecordView& record, std::uint32_t id)
    {
        ++m_counts[id];
        m_summary.drawsByFrame.back() += IsDraw(m_calls[id].name) ? 1 : 0;
        ++m_summary.calls;
        ++m_summary.callsByThread[m_thread];
        ++(m_isInStateBlock ? m_summary.stateBlockCalls : m_summary.callsByFrame.back());
        if (m_calls[id].known < Data::callCount)
            ReadCall({static_cast<Data::CallId>(m_calls[id].known), record});
    }

    void ReadCall(const Data::CallArguments& call)
    {
        switch (call.Call()) {
        case Data::CallId::eglCreateContext:
            if (call.Returned() != 0)
                m_summary.contexts[call.Returned()] = call.Unsigned(2);
            break;
        case Data::CallId::eglCreateWindowSurface:
        case Data::CallId::eglCreatePlatformWindowSurface:
            Surface(call, "window");
            break;
        case Data::CallId::eglCreatePbufferSurface:
            Surface(call, "pbuffer");
            SizeFromAttribs(call.Returned(), call.Contents(2));
            break;
        case Data::CallId::eglCreatePbufferFromClientBuffer:
            Surface(call, "pbuffer");
            break;
        case Data::CallId::eglCreatePixmapSurface:
        case Data::CallId::eglCreatePlatformPixmapSurface:
            Surface(call, "pixmap");
            break;
        default:
            break;
        }
    }

    void CountBuiltIn(const Data::RecordView& record)
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
                SizeFromAttribs(attribs.object, record.Contents(attribs.attribs));
            break;
        case Data::RecordId::Note:
            if (Data::TextRecord note; record.Read(note) && record.HasContents(note.text))
                m_summary.notes[std::string(record.Text(note.text))] += note.count;
            break;
        default:
            break;
        }
    }

    void Surface(const Data::CallArguments& call, const char* kind)
    {
        if (call.Returned() != 0)
            m_summary.surfaces[call.Returned()].kind = kind;
    }
    void Size(std::uint32_t surface, std::uint32_t width, std::uint32_t height)
    {
        auto& sizes = m_summary.surfaces[surface].sizes;
        if (sizes.empty() || sizes.back() != std::pair(width, height))
            sizes.emplace_back(width, height);
    }
    void SizeFromAttribs(std::uint32_t surface, std::span<const std::uint8_t> attribs)
    {
        std::uint32_t width = 0;
        std::uint32_t height = 0;
        Data::ForEachAttrib(attribs, [&](std::int32_t name, std::int32_t value) {
            if (name == eglWidth)
                width = static_cast<std::uint32_t>(value);
            else if (name == eglHeight)
                height = static_cast<std::uint32_t>(value);
        });
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
        Data::WalkRecords(source, diagnostics, [&](const Data::RecordView& record) { counter.Count(record); });
    counter.Finish();
    return summary;
}

} // namespace Tools
