#include "Recorder/Channel/RecordStream.h"

#include <algorithm>
#include <cstring>

#include "Recorder/Channel/Waiting.h"

namespace Recorder {
namespace {

/// So much is appended before room is looked for again and the reader is woken.
constexpr std::uint64_t StepBytes = StreamBytes / 8;

/// The run that goes on: its stream and where that was committed to. Under the capture's lock.
struct CurrentRun {
    const RecordStream* stream = nullptr;
    std::uint64_t end = 0;
};
CurrentRun currentRun;

template <class Record> void PutRecord(RecordStream& stream, std::uint32_t id, const Record& record)
{
    if (std::uint8_t* const at = stream.Begin(id, sizeof record)) {
        const std::size_t header = sizeof(Data::RecordHeader);
        std::memcpy(at + header, reinterpret_cast<const std::uint8_t*>(&record) + header, sizeof record - header);
        stream.End();
    }
}

} // namespace

RecordStream::RecordStream(Channel& channel, std::uint32_t index)
    : m_channel(channel), m_index(index), m_control(channel.streams[index]), m_ring(RingOf(channel, index)),
      m_committed(m_control.committed)
{
    m_lap = m_committed - m_committed % StreamBytes;
    m_at = m_end = m_ring + m_committed % StreamBytes;
}

void RecordStream::SetThread(std::uint32_t thread)
{
    m_control.thread = thread;
    if (currentRun.stream == this)
        currentRun.stream = nullptr;
}

void RecordStream::Publish(std::uint64_t end)
{
    if (currentRun.stream != this) [[unlikely]]
        BeginRun();
    m_committed = currentRun.end = end;
    m_control.committed.store(end, std::memory_order_release);
}

void RecordStream::BeginRun()
{
    const std::uint64_t written = m_channel.runsWritten.load(std::memory_order_relaxed);
    for (std::uint32_t seen = Consumptions(); written - m_channel.runsRead.load(std::memory_order_acquire) >= MaxRuns;
         seen = Consumptions())
        if (!WaitForRoom(m_channel, seen))
            return;
    m_channel.runs[written % MaxRuns] = {m_index, m_control.thread, currentRun.end};
    m_channel.runsWritten.store(written + 1, std::memory_order_release);
    currentRun.stream = this;
}

std::uint8_t* RecordStream::PlaceElsewhere(std::uint32_t id, std::uint64_t bytes)
{
    return Move(m_at, 0, id, bytes);
}

/// The first `used` bytes of a record are kept, wherever it goes. Its header is not: the end of the ring may be marked
/// there.
std::uint8_t* RecordStream::Move(const std::uint8_t* record, std::uint64_t used, std::uint32_t id, std::uint64_t bytes)
{
    if (bytes > Data::MaxChunkBytes - sizeof(Data::ThreadRecord))
        return nullptr;
    const bool isLarge = bytes > MaxStreamRecordBytes;
    std::uint32_t large = 0;
    if (!MakeRoom(isLarge ? sizeof(LargeReference) : bytes) || (isLarge && !TakeLargePlace(large)))
        return nullptr;
    std::uint8_t* const place = PlaceAt(isLarge ? LargePlaceOf(m_channel, large) : m_at, id, bytes);
    if (used > sizeof(Data::RecordHeader)) {
        std::memcpy(place + sizeof(Data::RecordHeader), record + sizeof(Data::RecordHeader),
                    used - sizeof(Data::RecordHeader));
    }
    if (isLarge) {
        const LargeReference reference = {{sizeof reference, LargeId}, large, 0};
        std::memcpy(m_at, &reference, sizeof reference);
    }
    return place;
}

bool RecordStream::TakeLargePlace(std::uint32_t& place)
{
    for (;;) {
        const std::uint32_t seen = Consumptions();
        for (place = 0; place < LargePlaces; ++place)
            if (m_channel.largePlaceTaken[place].exchange(1, std::memory_order_acquire) == 0)
                return true;
        if (!WaitForReader(seen))
            return false;
    }
}

std::uint8_t* RecordStream::Grow(std::uint8_t* record, std::uint64_t used, std::uint64_t bytes)
{
    Data::RecordHeader header;
    std::memcpy(&header, record, sizeof header);
    const std::uint64_t room = record == m_at ? static_cast<std::uint64_t>(m_end - m_at) : LargePlaceBytes;
    bytes = Data::RoundUp8(bytes);
    if (bytes <= room)
        return PlaceAt(record, header.id, bytes);
    return record == m_at ? Move(record, used, header.id, bytes) : nullptr;
}

bool RecordStream::MakeRoom(std::uint64_t bytes)
{
    for (;;) {
        const std::uint32_t seen = Consumptions();
        const auto rest = static_cast<std::uint64_t>(m_ring + StreamBytes - m_at);
        const bool isWrapping = bytes > rest;
        const std::uint64_t used = Position(m_at) - m_control.consumed.load(std::memory_order_acquire);
        const std::uint64_t room = StreamBytes - used;
        if (bytes + (isWrapping ? rest : 0) <= room) {
            if (isWrapping) {
                if (rest > 0) {
                    const Data::RecordHeader skip = {static_cast<std::uint32_t>(rest), SkipId};
                    std::memcpy(m_at, &skip, sizeof skip);
                }
                m_lap += StreamBytes;
                m_at = m_ring;
            }
            const std::uint64_t contiguous = isWrapping ? room - rest : std::min(room, rest);
            m_end = m_at + std::max(bytes, std::min(contiguous, StepBytes));
            CallReader(m_channel);
            return true;
        }
        if (!WaitForReader(seen))
            return false;
    }
}

bool RecordStream::WaitForReader(std::uint32_t seen)
{
    if (m_isOrdered) {
        // What was appended may be what fills the ring.
        Commit();
    }
    return WaitForRoom(m_channel, seen);
}

void PutFrameMark(RecordStream& stream, const Data::FramePictureRecord& picture, std::uint64_t timeUs)
{
    PutRecord(stream, FrameMarkId, FrameMark{picture, timeUs});
}

void PutFrameDecision(RecordStream& stream, Data::FrameEndKind end, std::uint32_t frames)
{
    PutRecord(stream, FrameDecisionId, FrameDecision{{}, end, frames});
}

} // namespace Recorder
