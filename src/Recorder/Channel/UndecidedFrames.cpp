#include "Recorder/Channel/UndecidedFrames.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace Recorder {
namespace {

/// More is not kept back: the marks decide then.
constexpr std::uint64_t MaxKeptBytes = 64u << 20;

template <class Record> Record Read(const std::uint8_t* at)
{
    Record record;
    std::memcpy(&record, at, sizeof record);
    return record;
}

bool Is(const Data::RecordHeader& header, Data::RecordId id)
{
    return header.id == static_cast<std::uint32_t>(id);
}

} // namespace

void UndecidedFrames::SetThread(std::uint32_t thread)
{
    m_thread = thread;
    if (m_kept.empty())
        m_writer->SetThread(thread);
    else
        KeepThread();
}

void UndecidedFrames::Copy(const std::uint8_t* record)
{
    const auto header = Read<Data::RecordHeader>(record);
    m_hasDrawnFrames |= Is(header, Data::RecordId::FramePicture);
    if (m_kept.empty())
        m_writer->Copy(record);
    else
        Keep(record, header.bytes);
}

void UndecidedFrames::CopyAll(const std::uint8_t* records, std::uint64_t bytes)
{
    if (m_kept.empty())
        m_writer->CopyAll(records, bytes);
    else
        Keep(records, bytes);
}

void UndecidedFrames::FrameEnd(std::uint64_t timeUs)
{
    DecideByMarks();
    m_writer->FrameEnd(timeUs);
    ++m_frames;
}

void UndecidedFrames::Mark(const FrameMark& mark)
{
    FrameMark kept = mark;
    kept.picture.header = {sizeof kept, FrameMarkId};
    const auto kind = static_cast<std::size_t>(mark.picture.end);
    if (!m_early && kind < m_marks.size()) {
        ++m_marks[kind];
        if (m_kept.empty())
            KeepThread();
        Keep(&kept, sizeof kept);
    } else if (m_early == mark.picture.end) {
        EndMarkedFrame(mark);
    }
}

void UndecidedFrames::Decide(Data::FrameEndKind end, std::uint32_t frames)
{
    m_early.reset();
    m_hasDrawnFrames = false;
    const std::vector<std::uint8_t> kept = std::exchange(m_kept, {});
    for (std::size_t at = 0; at < kept.size();) {
        const auto header = Read<Data::RecordHeader>(&kept[at]);
        // The program may have written to its memory while it was copied from there.
        if (header.bytes < sizeof header || header.bytes > kept.size() - at)
            break;
        if (header.id == FrameMarkId && header.bytes == sizeof(FrameMark)) {
            if (const auto mark = Read<FrameMark>(&kept[at]); mark.picture.end == end && frames > 0) {
                EndMarkedFrame(mark);
                --frames;
            }
        } else if (Is(header, Data::RecordId::Thread) && header.bytes == sizeof(Data::ThreadRecord)) {
            m_writer->SetThread(Read<Data::ThreadRecord>(&kept[at]).thread);
        } else {
            m_writer->Copy(&kept[at]);
        }
        at += header.bytes;
    }
}

void UndecidedFrames::DecideByMarks()
{
    if (m_kept.empty())
        return;
    const Data::FrameEndKind most = MostMarked();
    Decide(most, m_marks[static_cast<std::size_t>(most)]);
}

Data::FrameEndKind UndecidedFrames::MostMarked() const
{
    return static_cast<Data::FrameEndKind>(std::ranges::max_element(m_marks) - m_marks.begin());
}

void UndecidedFrames::KeepThread()
{
    const Data::ThreadRecord record = {
        {sizeof record, static_cast<std::uint32_t>(Data::RecordId::Thread)}, m_thread, 0};
    Keep(&record, sizeof record);
}

void UndecidedFrames::Keep(const void* records, std::uint64_t bytes)
{
    const auto* const from = static_cast<const std::uint8_t*>(records);
    m_kept.insert(m_kept.end(), from, from + bytes);
    if (m_kept.size() > MaxKeptBytes) {
        DecideByMarks();
        m_early = MostMarked();
    }
}

void UndecidedFrames::EndMarkedFrame(const FrameMark& mark)
{
    m_hasDrawnFrames = true;
    m_writer->PutFramePicture(mark.picture);
    m_writer->FrameEnd(mark.timeUs);
    ++m_frames;
}

} // namespace Recorder
