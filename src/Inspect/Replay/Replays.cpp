#include "Inspect/Replay/Replays.h"

#include <utility>

#include "Inspect/Error.h"

namespace Inspect {

namespace {

constexpr std::size_t MostKeptBytes = std::size_t{256} << 20;

Json GoTo(const Place& place)
{
    return {{"do", "go"}, {"frame", place.frame}, {"call", place.call}};
}

} // namespace

Replays::Replays(const ReplaySettings& settings, bool isLasting, std::optional<std::uint32_t> every)
    : m_isLasting(isLasting), m_settings(settings), m_snapshots(m_processes, settings, every), m_kept(MostKeptBytes)
{
}

Replays::~Replays()
{
    Stop();
}

void Replays::Stop()
{
    m_processes.EndAll();
    m_snapshots.Stop();
}

KeptOutcomes::Moment Replays::MomentOf(const Place& place, Version version) const
{
    return {version == Version::Edited ? m_inForce.load() : 0, place};
}

/// Has a process go to the call and `act` there; it is given the answer of "go".
template <class Do> auto Replays::There(const Place& place, Version version, Do act)
{
    Running& running = Reach(place, version);
    try {
        Json call = running.process->Ask(GoTo(place)).json;
        running.at = place;
        if (call.contains("problem"))
            throw ReplayError(call["problem"].get<std::string>());
        return act(*running.process, std::move(call));
    } catch (const Error& error) {
        Fail(running, place, error.what());
    }
}

std::shared_ptr<const Outcome> Replays::At(const Place& place, Version version)
{
    if (auto kept = m_kept.Find(MomentOf(place, version)))
        return kept;
    const std::lock_guard lock(m_mutex);
    const KeptOutcomes::Moment moment = MomentOf(place, version);
    // Somebody else may have asked for the same in the meantime.
    if (auto kept = m_kept.Find(moment))
        return kept;
    const auto outcome = std::make_shared<Outcome>(There(place, version, Outcome::Of));
    if (m_isLasting && moment.first == 0)
        m_snapshots.Want({place.frame, place.call, HashesOf(outcome->targets)});
    m_kept.Keep(moment, *outcome);
    return outcome;
}

ReplayAnswer Replays::Ask(const Place& place, const Json& request, Version version)
{
    if (auto answer = m_kept.FindAnswer(MomentOf(place, version), Text(request)))
        return {std::move(*answer)};
    const std::lock_guard lock(m_mutex);
    return There(place, version, [&](ReplayProcess& process, const Json&) { return process.Ask(request); });
}

ReplayAnswer Replays::AskFromStart(const Place& last, Json request, Version version)
{
    const std::lock_guard lock(m_mutex);
    Running running = AtStartOf(last.frame, version == Version::Edited ? m_edits : std::vector<Edit>());
    try {
        request["call"] = last.call;
        ReplayAnswer answer = running.process->Ask(request);
        KeepSpare(m_snapshots.At(last.frame));
        return answer;
    } catch (const Error& error) {
        Fail(running, last, error.what());
    }
}

void Replays::SetEdits(std::vector<Edit> edits, std::uint32_t frame)
{
    const std::lock_guard lock(m_mutex);
    m_edited = edits.empty() ? Running() : AtStartOf(frame, edits);
    m_edits = std::move(edits);
    ++m_revision;
    m_inForce = m_edits.empty() ? 0 : m_revision;
}

std::vector<Edit> Replays::Edits()
{
    const std::lock_guard lock(m_mutex);
    return m_edits;
}

/// A process that is not behind the place.
Replays::Running& Replays::Reach(const Place& place, Version version)
{
    if (version == Version::Edited && !m_edits.empty())
        return ReachEdited(place);
    if (m_isLasting)
        m_snapshots.Begin();
    const bool isInFront = m_running.process && !(place < m_running.at);
    if (!isInFront || m_running.at.frame != place.frame) {
        const SnapshotPointer nearest = m_snapshots.Nearest(place.frame);
        if (!isInFront || (nearest && nearest->frame > m_running.at.frame))
            m_running = BeginAt(place.frame);
    }
    KeepSpare(m_snapshots.At(place.frame));
    return m_running;
}

/// Edits are of one frame: the way to another one goes without them.
Replays::Running& Replays::ReachEdited(const Place& place)
{
    if (!m_edited.process || m_edited.at.frame != place.frame || place < m_edited.at)
        m_edited = AtStartOf(place.frame, m_edits);
    return m_edited;
}

Replays::Running Replays::AtStartOf(std::uint32_t frame, const std::vector<Edit>& edits)
{
    Running running = BeginAt(frame);
    Json answer;
    try {
        running.process->Ask({{"do", "frame"}, {"frame", frame - 1}});
        running.at = {frame, 0};
        if (edits.empty())
            return running;
        running.hasEdits = true;
        answer = running.process->Ask(RequestFor(edits, frame)).json;
    } catch (const Error& error) {
        Fail(running, {frame, 0}, error.what());
    }
    CheckAnswer(edits, answer);
    return running;
}

Replays::Running Replays::BeginAt(std::uint32_t frame)
{
    const SnapshotPointer snapshot = m_snapshots.At(frame);
    if (!snapshot)
        return m_snapshots.Start(frame, false);
    KeepSpare(snapshot);
    try {
        // That it is at the start of the frame.
        m_spare.process->Receive();
        return std::exchange(m_spare, {});
    } catch (const Error& error) {
        m_spare = {};
        m_snapshots.Drop(*snapshot, error.what());
    }
    return m_snapshots.Start(frame, false);
}

void Replays::KeepSpare(const SnapshotPointer& snapshot)
{
    if (!snapshot || m_spare.from == snapshot)
        return;
    m_spare.process = std::make_unique<ReplayProcess>(m_processes, m_settings, snapshot->path);
    m_spare.from = snapshot;
    m_spare.at = {snapshot->frame, 0};
    m_spare.process->Send({{"do", "frame"}, {"frame", snapshot->frame - 1}});
}

/// The process ended, or did not do what it should.
void Replays::Fail(Running& running, const Place& place, std::string text)
{
    if (running.from && !running.process->IsAlive()) {
        // What sets up a frame has numbers of its own, as of the frame in front.
        const std::string crash = "crashed in call " + std::to_string(running.from->frame - 1) + ":";
        if (const std::size_t at = text.rfind(crash); at != std::string::npos)
            text.replace(at, text.find(' ', at + crash.size()) - at,
                         "crashed while frame " + std::to_string(running.from->frame) + " was set up, in");
        if (!running.hasEdits)
            m_snapshots.Drop(*running.from, text);
    }
    running = {};
    throw ReplayError("on the way to call " + std::to_string(place.frame) + ":" + std::to_string(place.call) + ": " +
                      text);
}

} // namespace Inspect
