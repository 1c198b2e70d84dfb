#include "Recorder/Channel/Drain.h"

#include <algorithm>
#include <cstring>
#include <sys/mman.h>
#include <utility>

#include "Data/Records/CallTable.h"
#include "Recorder/Channel/Waiting.h"

namespace Recorder {
namespace {

/// Most that is copied at once, so that the program gets room again.
constexpr std::uint64_t PlainBytes = 1u << 18;
constexpr auto CallStackId = static_cast<std::uint32_t>(Data::RecordId::CallStack);
/// A large place keeps so much of its memory for the next record.
constexpr std::uint64_t KeptBytes = 16u << 20;

Data::RecordHeader HeaderOf(const std::uint8_t* record)
{
    Data::RecordHeader header;
    std::memcpy(&header, record, sizeof header);
    return header;
}

bool IsPossible(const Data::RecordHeader& header, std::uint64_t room)
{
    return header.bytes >= sizeof header && header.bytes % 8 == 0 && header.bytes <= room;
}

void FreePlace(Channel& channel, std::uint32_t place, std::uint64_t bytes)
{
    if (bytes > KeptBytes)
        madvise(LargePlaceOf(channel, place) + KeptBytes, LargePlaceBytes - KeptBytes, MADV_REMOVE);
    channel.largePlaceTaken[place].store(0, std::memory_order_release);
}

} // namespace

Drain::Drain(Channel& channel, std::unique_ptr<Data::CaptureWriter> writer)
    : m_channel(channel), m_writer(std::move(writer)), m_output(m_writer)
{
    m_writer->SetStart(channel.startUs);
}

Drain::~Drain() = default;

bool Drain::Take()
{
    UpdateHeader();
    bool hasTaken = false;
    for (;;) {
        const bool hasRun = m_runsRead > 0;
        // In this order: what was committed before the next run began is of this one.
        const std::uint64_t committed = hasRun ? m_channel.streams[m_run.stream].committed.load() : 0;
        const bool hasEnded = m_channel.runsWritten.load() > m_runsRead;
        const Run next = hasEnded ? m_channel.runs[m_runsRead % MaxRuns] : Run{};
        if (hasRun && TakeRun(hasEnded ? next.previousEnd : committed)) {
            hasTaken = true;
            TellRoom(m_channel);
        }
        CheckFailure();
        if (!hasEnded || m_channel.hasFailed != 0)
            return hasTaken;
        if (next.stream >= MaxStreams) {
            Fail(m_channel, "the program has overwritten the recorder's memory");
            return hasTaken;
        }
        m_run = next;
        m_channel.runsRead.store(++m_runsRead, std::memory_order_release);
        m_output.SetThread(m_run.thread);
    }
}

bool Drain::TakeRun(std::uint64_t end)
{
    std::atomic<std::uint64_t>& consumed = m_channel.streams[m_run.stream].consumed;
    const std::uint64_t begin = consumed.load(std::memory_order_relaxed);
    std::uint64_t position = begin;
    while (position < end && m_channel.hasFailed == 0) {
        std::uint64_t bytes = TakePlain(position, end);
        bytes = bytes != 0 ? bytes : TakeOne(position, end);
        if (bytes == 0)
            break;
        position += bytes;
        consumed.store(position, std::memory_order_release);
    }
    return position != begin;
}

/// Copies records that need no care, many at once. Answers their bytes.
std::uint64_t Drain::TakePlain(std::uint64_t position, std::uint64_t end)
{
    const std::uint64_t inRing = position % StreamBytes;
    const std::uint8_t* const begin = RingOf(m_channel, m_run.stream) + inRing;
    const std::uint64_t room = std::min({end - position, StreamBytes - inRing, PlainBytes});
    std::uint64_t bytes = 0;
    if (position % 8 != 0 || !m_ahead[m_run.stream].empty())
        return 0;
    for (std::uint64_t end = 0; end < room;) {
        const Data::RecordHeader header = HeaderOf(begin + end);
        const bool isCall = header.id < Data::callTable.size();
        if ((!isCall && header.id != CallStackId) || !IsPossible(header, room - end) ||
            header.bytes >= Data::SimilarContents::LeastBytes)
            break;
        end += header.bytes;
        // A stack goes with the call after it.
        bytes = isCall ? end : bytes;
    }
    if (bytes != 0)
        m_output.CopyAll(begin, bytes);
    return bytes;
}

/// Answers what the record takes in the ring; 0 when it makes no sense.
std::uint64_t Drain::TakeOne(std::uint64_t position, std::uint64_t end)
{
    std::uint64_t bytes = 0;
    const std::uint8_t* const inRing = RingOf(m_channel, m_run.stream) + position % StreamBytes;
    const std::uint8_t* const record = RecordAt(m_run.stream, position, end, bytes);
    if (record != nullptr) {
        const std::uint64_t recordBytes = HeaderOf(record).bytes;
        Append(record);
        if (record != inRing) {
            LargeReference reference;
            std::memcpy(&reference, inRing, sizeof reference);
            FreePlace(m_channel, reference.place, recordBytes);
        }
    }
    return bytes;
}

/// The record at a position and, in `bytes`, what it takes there; null for the empty end of the ring. `bytes` is 0 when
/// what is there makes no sense.
const std::uint8_t* Drain::RecordAt(std::uint32_t stream, std::uint64_t position, std::uint64_t end,
                                    std::uint64_t& bytes)
{
    const std::uint64_t inRing = position % StreamBytes;
    const std::uint8_t* const at = RingOf(m_channel, stream) + inRing;
    const Data::RecordHeader header = HeaderOf(at);
    if (position % 8 == 0 && IsPossible(header, std::min(end - position, StreamBytes - inRing))) {
        if (header.id == SkipId) {
            bytes = header.bytes;
            return nullptr;
        }
        if (header.id != LargeId) {
            bytes = header.bytes;
            return at;
        }
        LargeReference reference = {};
        std::memcpy(&reference, at, sizeof reference);
        if (header.bytes == sizeof reference && reference.place < LargePlaces &&
            IsPossible(HeaderOf(LargePlaceOf(m_channel, reference.place)), Data::MaxChunkBytes)) {
            bytes = header.bytes;
            return LargePlaceOf(m_channel, reference.place);
        }
    }
    Fail(m_channel, "the program has overwritten the recorder's memory");
    bytes = 0;
    return nullptr;
}

void Drain::Append(const std::uint8_t* record)
{
    const Data::RecordHeader header = HeaderOf(record);
    if (header.id < Data::callTable.size()) {
        AppendCall(record);
    } else if (header.id == FrameMarkId || header.id == FrameDecisionId) {
        AppendFrameMark(record);
    } else if (header.id == static_cast<std::uint32_t>(Data::RecordId::FrameEnd)) {
        Data::FrameEndRecord frame = {};
        std::memcpy(&frame, record, std::min<std::size_t>(sizeof frame, header.bytes));
        m_output.FrameEnd(frame.timeUs);
    } else if (Data::GoesWithNextCall(header.id)) {
        std::vector<std::uint8_t>& ahead = m_ahead[m_run.stream];
        ahead.insert(ahead.end(), record, record + header.bytes);
    } else {
        m_output.Copy(record);
    }
}

void Drain::AppendFrameMark(const std::uint8_t* record)
{
    const Data::RecordHeader header = HeaderOf(record);
    if (header.id == FrameMarkId && header.bytes == sizeof(FrameMark)) {
        FrameMark mark;
        std::memcpy(&mark, record, sizeof mark);
        m_output.Mark(mark);
    } else if (header.bytes == sizeof(FrameDecision)) {
        FrameDecision decision;
        std::memcpy(&decision, record, sizeof decision);
        m_output.Decide(decision.end, decision.frames);
    }
}

void Drain::AppendCall(const std::uint8_t* record)
{
    std::vector<std::uint8_t>& ahead = m_ahead[m_run.stream];
    for (std::size_t at = 0; at < ahead.size(); at += HeaderOf(&ahead[at]).bytes)
        m_output.Copy(&ahead[at]);
    ahead.clear();
    m_output.Copy(record);
}

void Drain::CheckFailure()
{
    if (m_writer->Failed())
        Fail(m_channel, m_writer->Error());
}

void Drain::UpdateHeader()
{
    const std::uint32_t version = m_channel.headerVersion.load(std::memory_order_acquire);
    if (version == m_headerVersion || version % 2 != 0)
        return;
    std::array<std::uint8_t, Data::HeaderBytes> bytes;
    std::memcpy(bytes.data(), m_channel.header, bytes.size());
    Data::CaptureHeader header;
    if (m_channel.headerVersion.load() == version && Data::DecodeHeader(bytes, header).empty()) {
        m_headerVersion = version;
        m_header = header;
        WriteHeader();
    }
}

void Drain::WriteHeader()
{
    if (!m_origin.empty()) {
        m_header.originFile = m_origin;
        m_header.originFrame = m_framesInFront + 1;
    }
    m_writer->UpdateHeader(m_header);
}

void Drain::NameOrigin(const std::string& origin)
{
    m_origin = origin;
    WriteHeader();
}

void Drain::ContinueIn(std::unique_ptr<Data::CaptureWriter> writer, const std::string& origin)
{
    NameOrigin(origin);
    AppendNotes();
    std::string error;
    if (!m_writer->Finish(error))
        Fail(m_channel, error.c_str());
    m_writer = std::move(writer);
    m_writer->SetStart(m_channel.startUs);
    m_writer->SetThread(m_run.thread);
    m_framesInFront = m_output.Frames();
    WriteHeader();
}

bool Drain::IsIn(Data::CallId call) const
{
    for (std::uint32_t stream = 0; stream < MaxStreams; ++stream) {
        const std::uint64_t open = m_channel.streams[stream].open;
        const std::uint64_t inRing = (open - 1) % StreamBytes;
        if (open != 0 && inRing % 8 == 0 &&
            HeaderOf(RingOf(m_channel, stream) + inRing).id == static_cast<std::uint32_t>(call))
            return true;
    }
    return false;
}

void Drain::AppendUnfinished(std::uint32_t stream)
{
    const StreamControl& control = m_channel.streams[stream];
    const std::uint64_t open = control.open;
    if (open == 0 && control.lastIsOpen == 0)
        return;
    std::vector<std::uint8_t>& records = m_ahead[stream];
    m_writer->SetThread(control.thread);
    if (open != 0) {
        std::uint64_t bytes = 0;
        for (std::uint64_t position = control.consumed; position < open; position += bytes) {
            const std::uint8_t* const record = RecordAt(stream, position, position + StreamBytes, bytes);
            if (bytes == 0)
                break;
            if (record != nullptr)
                records.insert(records.end(), record, record + HeaderOf(record).bytes);
        }
    } else {
        records.clear();
    }
    m_writer->Unfinished(records.empty() ? nullptr : records.data(), static_cast<std::uint32_t>(records.size()));
}

/// What was drawn after the last frame that was ended without a swap is a frame too.
void Drain::AppendLastFrame()
{
    if (!m_output.HasDrawnFrames() || m_channel.openFrames == 0)
        return;
    Data::FramePictureRecord picture = {};
    picture.end = Data::FrameEndKind::ProgramEnd;
    picture.state = Data::PictureState::None;
    m_writer->PutFramePicture(picture);
    m_output.FrameEnd(Data::MonotonicUs() - m_channel.startUs);
}

void Drain::AppendNotes()
{
    const std::uint32_t count = std::min<std::uint32_t>(m_channel.noteCount, MaxNotes);
    for (std::uint32_t i = 0; i < count; ++i) {
        SharedNote& note = m_channel.notes[i];
        note.name[sizeof note.name - 1] = '\0';
        const std::uint64_t all = note.count;
        if (all > m_noted[i])
            m_writer->Note(note.name, all - m_noted[i]);
        m_noted[i] = all;
    }
}

void Drain::Finish(const HowItEnded& how)
{
    Take();
    m_output.DecideByMarks();
    if (m_channel.isFinished == 0)
        for (std::uint32_t stream = 0; stream < MaxStreams; ++stream)
            AppendUnfinished(stream);
    AppendLastFrame();
    if (m_channel.isFinished == 0)
        m_writer->ProgramEnd(how.kind, how.value);
    AppendNotes();
    std::string error;
    if (!m_writer->Finish(error))
        Fail(m_channel, error.c_str());
}

} // namespace Recorder
