#include "Trim/Trimmer.h"

#include <algorithm>
#include <cstring>

#include "Data/Records/ProgramEnd.h"
#include "Data/Records/RecordWalk.h"

namespace Trim {

namespace {

using Data::RecordId;

/// Tells what comes before the first frame that is kept: earlier frames, and the capture's own state-setup block; or
/// before the only call.
class FrontPart {
public:
    FrontPart(Util::FrameRange range, std::uint32_t call) : m_frames(range.first - 1), m_call(call) {}

    /// To be asked for each record, in order, with its place.
    bool Has(const Data::RecordCursor& record, const Data::Position& at)
    {
        const std::uint32_t frames = at.frame;
        if (m_call != 0) {
            const bool isCall = record.Header().id < Data::FirstBuiltInId;
            const bool isOfCall =
                isCall ? at.call >= m_call : Data::GoesWithNextCall(record.Header().id) && at.call + 1 >= m_call;
            m_isOver = m_isOver || frames > m_frames || (frames == m_frames && isOfCall);
            return !m_isOver;
        }
        const bool isContent = !record.Is(RecordId::Thread) && !record.Is(RecordId::BlockStart);
        m_isOver = m_isOver || (frames == m_frames && !m_isInStateBlock && isContent);
        if (record.Is(RecordId::BlockStart) || record.Is(RecordId::BlockEnd))
            m_isInStateBlock = record.Is(RecordId::BlockStart);
        return !m_isOver;
    }

private:
    std::uint32_t m_frames;
    std::uint32_t m_call;
    bool m_isInStateBlock = false;
    bool m_isOver = false;
};

} // namespace

// The first pass.

bool Trimmer::Analyse(Replay::LiveReplay& replay)
{
    FrontPart front(m_range, m_call);
    bool isConditional = false;
    const auto visit = [&](const Data::RecordCursor& record) {
        const std::optional<Data::CallId> call = m_source.CallOf(record.Header());
        if (front.Has(record, m_diagnostics.position)) {
            Analyse(record, replay);
        } else if (m_call == 0) {
            isConditional |= call == Data::CallId::glBeginConditionalRenderNV;
            if (m_diagnostics.position.frame + 1 == m_range.first)
                m_front.NoteSize(record);
        } else if (!m_only && call && m_diagnostics.position.frame + 1 == m_range.first) {
            m_only = OutputCall{*call, {record.Bytes().begin(), record.Bytes().end()}};
        }
    };
    // Up to the last frame, so that nothing is written when one of them cannot be read.
    const bool isWhole = Data::WalkRecords(m_source, m_diagnostics, visit, m_range.last);
    if (m_call == 0 ? !isWhole : !m_only)
        return false;
    if (m_only)
        m_front.TrackOnly(m_only->id, Data::RecordView(m_only->record.data()), replay);
    m_front.ReadContents(replay, FrontState::Live::Spoilt);
    m_front.Select(isConditional);
    return true;
}

void Trimmer::Analyse(const Data::RecordCursor& record, Replay::LiveReplay& replay)
{
    const std::optional<Data::CallId> call = m_source.CallOf(record.Header());
    if (call) {
        m_record.assign(record.Bytes().begin(), record.Bytes().end());
        const bool isPlayed = replay.Call(*call, record.Record());
        m_front.Track(Data::RecordView(m_record.data()), call,
                      isPlayed ? FrontState::Effect::Played : FrontState::Effect::Failed);
        return;
    }
    const std::uint32_t thread = m_front.Thread();
    m_front.Track(record, call, FrontState::Effect::Failed);
    if (m_front.Thread() != thread)
        replay.SetThread(m_front.Thread());
    if (record.Is(RecordId::FrameEnd))
        m_progress(m_diagnostics.position.frame + 1);
    if (record.Header().id >= Data::FirstBuiltInId)
        replay.Other(record);
}

// The second pass.

bool Trimmer::Write(Data::CaptureWriter& writer, Data::CaptureHeader& header)
{
    RecordOutput output(writer, m_diagnostics, m_isContinued);
    FrontPart front(m_range, m_call);
    std::uint32_t thread = 0;
    bool isInState = true;
    const auto visit = [&](const Data::RecordCursor& record) {
        if (isInState && !front.Has(record, m_diagnostics.position)) {
            isInState = false;
            m_front.WriteContents(output);
            m_front.WriteCurrent(output);
            output.SetThread(thread);
            writer.BlockEnd(static_cast<std::uint32_t>(Data::BlockType::State));
        }
        if (ChangesThread(record, thread))
            output.SetThread(thread);
        if (isInState)
            m_front.Write(record, m_source.CallOf(record.Header()), output);
        else if (m_only)
            WriteCall(record, output);
        else
            WriteFrame(record, output);
    };
    writer.SetTime(0);
    writer.BlockStart(static_cast<std::uint32_t>(Data::BlockType::State));
    const bool isWhole = Data::WalkRecords(m_source, m_diagnostics, visit, m_range.last);
    header.startTimeUs += m_front.EndUs();
    return m_only ? m_isCallWritten : isWhole;
}

void Trimmer::WriteFrame(const Data::RecordCursor& record, RecordOutput& output)
{
    Data::CaptureWriter& writer = output.Writer();
    if (const std::optional<Data::CallId> call = m_source.CallOf(record.Header())) {
        output.CopyCall(*call, record.Bytes());
        return;
    }
    switch (static_cast<RecordId>(record.Header().id)) {
    case RecordId::Thread:
    case RecordId::BlockStart:
    case RecordId::BlockEnd:
        break;
    case RecordId::FrameEnd:
        if (Data::FrameEndRecord end; record.Read(end))
            writer.SetTime(end.timeUs - std::min(end.timeUs, m_front.EndUs()));
        writer.FrameEnd();
        break;
    case RecordId::FrameHash:
        if (Data::FrameHashRecord hash; record.Read(hash))
            writer.FrameHash(hash.surface, hash.width, hash.height, hash.hash);
        break;
    case RecordId::Unfinished:
        WriteUnfinished(record, output);
        break;
    default:
        if (record.Header().id >= Data::FirstBuiltInId && !output.Hold(record))
            output.Copy(record);
        break;
    }
}

void Trimmer::WriteCall(const Data::RecordCursor& record, RecordOutput& output)
{
    const std::optional<Data::CallId> call = m_source.CallOf(record.Header());
    if (m_isCallWritten || (!call && output.Hold(record)) || !call)
        return;
    output.CopyCall(*call, record.Bytes());
    m_isCallWritten = true;
    if (const std::optional<OutputCall> swap = m_front.SwapCall())
        output.Write(*swap);
    output.Writer().FrameEnd();
}

void Trimmer::WriteUnfinished(const Data::RecordCursor& record, RecordOutput& output) const
{
    for (Data::RecordCursor inner = Data::UnfinishedRecords(record); inner.Next();) {
        Data::RecordHeader header = inner.Header();
        if (header.id < Data::FirstBuiltInId) {
            const std::optional<Data::CallId> call = m_source.CallOf(header);
            if (!call)
                return;
            header.id = static_cast<std::uint32_t>(*call);
            std::memcpy(inner.Record(), &header, sizeof header);
        }
    }
    output.Copy(record);
}

} // namespace Trim
