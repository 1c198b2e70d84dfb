#include "Trim/SnapshotMaker.h"

#include "Data/Capture/CaptureSource.h"
#include "Data/Capture/CaptureWriter.h"
#include "Data/Records/RecordWalk.h"

namespace Trim {

namespace {

/// Of the state-setup blocks of a snapshot.
constexpr std::uint32_t UploadBlock = 2;

} // namespace

SnapshotMaker::SnapshotMaker(std::string capture, std::string from)
    : m_capture(std::move(capture)), m_from(std::move(from)), m_state(std::make_unique<FrontState>())
{
}

void SnapshotMaker::Track(const Data::RecordView& record, std::optional<Data::CallId> call, bool isPlayed)
{
    using Effect = FrontState::Effect;
    m_isConditional |= call == Data::CallId::glBeginConditionalRenderNV;
    m_blocks += record.Is(Data::RecordId::BlockStart) ? 1 : 0;
    m_isInBlock = record.Is(Data::RecordId::BlockStart) || (m_isInBlock && !record.Is(Data::RecordId::BlockEnd));
    const bool isUpload = m_isInBlock && m_blocks == UploadBlock;
    m_state->Track(record, call, isUpload ? Effect::Uploaded : isPlayed ? Effect::Played : Effect::Failed);
}

std::string SnapshotMaker::Write(Replay::LiveReplay& replay, std::uint32_t frames, const std::string& path)
{
    if (m_trouble.empty())
        m_trouble = m_state->ReadContents(replay, FrontState::Live::Kept);
    if (m_trouble.empty()) {
        m_state->Select(m_isConditional);
        m_trouble = WriteFile(frames, path);
    }
    if (m_trouble.empty())
        m_trouble = BeginAgain(path);
    return m_trouble;
}

std::string SnapshotMaker::WriteFile(std::uint32_t frames, const std::string& path)
{
    std::string error;
    const std::unique_ptr<Data::CaptureSource> source = m_from.empty()
                                                            ? Data::CaptureSource::Open(m_capture, error)
                                                            : Data::CaptureSource::OpenAt(m_from, m_capture, error);
    if (!source)
        return error;
    // A snapshot has the header of the capture, whose frame in front of the next one it takes the place of.
    const std::uint32_t first = frames - source->FramesBefore();
    Data::CaptureHeader header = HeaderOfPart(source->Header(), m_capture, first);
    const auto writer = Data::CaptureWriter::Create(path, header, error);
    if (!writer)
        return error;
    Data::Diagnostics diagnostics(m_capture, nullptr);
    RecordOutput output(*writer, diagnostics, false);
    constexpr auto State = static_cast<std::uint32_t>(Data::BlockType::State);
    writer->SetTime(0);
    writer->BlockStart(State);
    std::uint32_t thread = 0;
    const auto visit = [&](const Data::RecordCursor& record) {
        if (ChangesThread(record, thread))
            output.SetThread(thread);
        m_state->Write(record, source->CallOf(record.Header()), output);
    };
    if (!Data::WalkRecords(*source, diagnostics, visit, frames))
        error = "the capture could not be read once more";
    output.PutMakeCurrents();
    writer->BlockEnd(State);
    // What no call of the program has done has a block of its own, so that it can be told apart.
    writer->BlockStart(State);
    m_state->WriteContents(output);
    writer->BlockEnd(State);
    writer->BlockStart(State);
    m_state->WriteCurrent(output);
    output.SetThread(thread);
    writer->BlockEnd(State);
    writer->FrameEnd(m_state->EndUs());
    writer->Finish(error);
    return error;
}

/// Follows what a replay that begins with the snapshot would do.
std::string SnapshotMaker::BeginAgain(const std::string& path)
{
    std::string error;
    const std::unique_ptr<Data::CaptureSource> source = Data::CaptureSource::Open(path, error);
    if (!source)
        return error;
    m_from = path;
    const std::uint32_t thread = m_state->Thread();
    m_state = std::make_unique<FrontState>();
    m_blocks = 0;
    Data::Diagnostics diagnostics(path, nullptr);
    const auto visit = [&](const Data::RecordCursor& record) { Track(record, source->CallOf(record.Header()), true); };
    if (!Data::WalkRecords(*source, diagnostics, visit))
        return "the snapshot could not be read";
    // The rest of the capture begins with its thread, see CaptureSource::OpenAt.
    const Data::ThreadRecord next{{sizeof next, static_cast<std::uint32_t>(Data::RecordId::Thread)}, thread, 0};
    Track(Data::RecordView(reinterpret_cast<const std::uint8_t*>(&next)), std::nullopt, true);
    return "";
}

} // namespace Trim
