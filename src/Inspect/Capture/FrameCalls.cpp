#include "Inspect/Capture/FrameCalls.h"

#include "Data/Records/RecordWalk.h"
#include "Inspect/Capture/TreeBuilder.h"
#include "Inspect/Error.h"
#include "Tools/Info/RecordText.h"

namespace Inspect {

namespace {

/// Takes the records from the start of a chunk on and keeps the calls of one frame.
class FrameReader {
public:
    FrameReader(const Data::CaptureSource& source, const Data::Diagnostics& diagnostics, FrameCalls& result,
                const ChunkStart& start)
        : m_source(source), m_diagnostics(diagnostics), m_result(result), m_bindings(start.bindings),
          m_tree(result.tree)
    {
        m_buffers.Apply(start.buffers);
    }

    void Visit(const Data::RecordCursor& record)
    {
        const bool isListed = m_diagnostics.position.frame + 1 == m_result.frame;
        if (Data::ThreadRecord thread; record.Is(Data::RecordId::Thread) && record.Read(thread))
            m_buffers.SetThread(thread.thread);
        if (record.Header().id >= Data::FirstBuiltInId)
            return;
        const std::optional<Data::CallId> call = m_source.CallOf(record.Header());
        if (isListed)
            List(record, call);
        if (!call)
            return;
        const Data::CallArguments arguments(*call, record);
        m_buffers.Follow(arguments);
        m_bindings.Follow(arguments, m_buffers.Context());
    }

private:
    void List(const Data::RecordCursor& record, const std::optional<Data::CallId>& call)
    {
        CallRow row = {TextOf(record), m_buffers.Thread(), m_buffers.Context()};
        const auto number = static_cast<std::uint32_t>(m_result.calls.size() + 1);
        if (call) {
            if (const auto action = m_counter.Count(*call)) {
                row.number = *action;
                row.kind = Data::ActionOf(*call);
                m_tree.Action(number, row.kind, row.context, m_bindings.Of(row.context));
            } else {
                m_tree.Call(number, {*call, record});
            }
        }
        m_result.calls.push_back(std::move(row));
    }

    /// Without the place in front.
    std::string TextOf(const Data::RecordCursor& record) const
    {
        std::string text = Tools::RecordText(Tools::Notation::Plain, {}, record, m_source, m_buffers);
        std::size_t begin = 0;
        for (int words = 0; words < 3 && begin != std::string::npos; ++words)
            begin = text.find(' ', begin == 0 ? 0 : begin + 1);
        return begin != std::string::npos ? text.substr(begin + 1) : text;
    }

    const Data::CaptureSource& m_source;
    const Data::Diagnostics& m_diagnostics;
    FrameCalls& m_result;
    Data::BufferBindings m_buffers;
    Bindings m_bindings;
    Data::ActionCounter m_counter;
    TreeBuilder m_tree;
};

} // namespace

std::optional<std::uint32_t> FrameCalls::Find(const PlaceText& place) const
{
    if (place.call)
        return *place.call > 0 && *place.call <= Count() ? place.call : std::nullopt;
    if (!place.action)
        return Count() > 0 ? std::optional(Count()) : std::nullopt;
    for (std::uint32_t call = 1; call <= Count(); ++call)
        if (IsAction(call) && calls[call - 1].number == *place.action)
            return call;
    return std::nullopt;
}

std::uint32_t FrameCalls::ActionUpTo(std::uint32_t call) const
{
    while (call > 0 && !IsAction(call))
        --call;
    return call;
}

std::string FrameCalls::Extent() const
{
    std::size_t actions = 0;
    for (std::uint32_t call = 1; call <= Count(); ++call)
        actions += IsAction(call) ? 1 : 0;
    const std::string last = actions > 0 ? ", the last one " + NameOf(ActionUpTo(Count())) + "," : "";
    return std::to_string(actions) + " actions" + last + " and " + std::to_string(calls.size()) + " calls";
}

std::string FrameCalls::NameOf(std::uint32_t call) const
{
    return IsAction(call) ? calls[call - 1].number.Text() : "c" + std::to_string(call);
}

std::unique_ptr<Data::CaptureSource> OpenCapture(const std::string& path)
{
    std::string error;
    std::unique_ptr<Data::CaptureSource> source = Data::CaptureSource::Open(path, error);
    if (!source)
        throw RequestError(error);
    return source;
}

std::shared_ptr<const FrameCalls> ReadFrameCalls(const std::string& path, std::uint32_t frame, const ChunkStart& start)
{
    const std::unique_ptr<Data::CaptureSource> source = OpenCapture(path);
    // What is wrong with the file is said by the index of its frames.
    Data::Diagnostics diagnostics(path, nullptr);
    auto result = std::make_shared<FrameCalls>();
    result->frame = frame;
    FrameReader reader(*source, diagnostics, *result, start);
    Data::WalkRecords(
        *source, diagnostics, [&](const Data::RecordCursor& record) { reader.Visit(record); }, frame, start.chunk);
    return result;
}

} // namespace Inspect
