// How a replay lets others begin where it comes by.
#include "Probe/LiveGL.h"
#include "Probe/Replayer.h"
#include "Trim/SnapshotMaker.h"

namespace Probe {

void Replayer::Follow(std::optional<Data::CallId> call, bool isPlayed)
{
    if (m_snapshots)
        m_snapshots->Track(call ? Data::RecordView(m_record.data()) : Data::RecordView(m_reader.Record()), call,
                           isPlayed);
}

void Replayer::Finish() const
{
    if (const auto finish = GL().glFinish; finish && HasContext())
        finish();
}

std::string Replayer::WriteSnapshot(const std::string& file)
{
    if (!m_snapshots || m_frames == m_source->FramesBefore())
        return "this replay makes no snapshots here";
    // What is tried in between is no part of the replay.
    m_replay->SetStateModel(nullptr);
    std::string trouble = m_snapshots->Write(*m_replay, m_frames, file);
    m_replay->SetStateModel(&m_model);
    return trouble;
}

} // namespace Probe
