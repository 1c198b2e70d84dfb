// What a replay answers about the call that it has come to.
#include "Playback/Names/GLResourceTable.h"
#include "Probe/Replayer.h"

namespace Probe {

std::optional<Data::CallArguments> Replayer::LastCall() const
{
    if (m_record.empty())
        return std::nullopt;
    const Data::RecordView record(m_record.data());
    const std::optional<Data::CallId> call = m_source->CallOf(record.Header());
    return call ? std::optional(Data::CallArguments(*call, record)) : std::nullopt;
}

bool Replayer::Redraw()
{
    const auto call = LastCall();
    if (!call)
        return false;
    DeliverVertices();
    // The driver may write to it.
    std::vector<std::uint8_t> record = m_record;
    return AsEdited([&] { return m_replay->Call(call->Call(), record.data()); });
}

bool Replayer::AsEdited(const std::function<bool()>& draw)
{
    const Data::ActionKind kind = Data::ActionOf(LastCall()->Call());
    return m_edits->Concern(kind, m_recordCall) ? m_edits->Play(kind, m_recordCall, draw) : draw();
}

void Replayer::DeliverVertices()
{
    m_replay->ForgetChunk();
    for (std::vector<std::uint8_t>& bytes : m_vertices)
        if (Data::RecordCursor record(bytes.data(), static_cast<std::uint32_t>(bytes.size()), 0); record.Next())
            m_replay->Other(record);
}

std::vector<Target> Replayer::Targets()
{
    const auto call = LastCall();
    return call ? ReadTargets(*call, m_model, m_replay->Names()) : std::vector<Target>{};
}

std::vector<Input> Replayer::Inputs(WantsContents wantsContents)
{
    const auto call = LastCall();
    return call ? ReadInputs(*call, m_model, m_replay->Names(), wantsContents) : std::vector<Input>{};
}

std::string Replayer::DrawFramebuffer()
{
    return FramebufferText(m_model);
}

unsigned int Replayer::TextureOf(std::uint32_t captured)
{
    // The table answers the captured name for a texture that it does not know.
    const bool isKnown = captured != 0 && m_model.Known(Data::ObjectKind::Texture, captured) != 0;
    return isKnown ? m_replay->Names().GetValueGLTexture(captured) : 0;
}

VertexTable Replayer::Vertices(std::uint32_t first, std::uint32_t most)
{
    const auto call = LastCall();
    if (!call || Data::ActionOf(call->Call()) != Data::ActionKind::Draw || !m_model.HasContext())
        return {.problem = "this call is no draw"};
    std::vector<std::uint32_t> buffers;
    for (const auto& [key, owner] : m_model.Context().group->objects.owners)
        if (key.first == Data::ObjectKind::Buffer)
            buffers.push_back(key.second);
    return ReadVertices(*call, m_action.isPlayed, m_replay->Names(), buffers, first, most);
}

VertexTable Replayer::ShadedVertices(const VertexRange& range)
{
    VertexTable table = Vertices(range.first, range.count);
    if (!table.problem.empty())
        return table;
    if (!m_action.isPlayed)
        return {.problem = "the draw did not reach the driver"};
    return ReadShadedVertices(*LastCall(), m_edits->Programs().StageOfVertices(), range, std::move(table));
}

} // namespace Probe
