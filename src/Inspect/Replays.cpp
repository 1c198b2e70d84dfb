#include "Inspect/Replays.h"

#include <algorithm>

#include "Inspect/Error.h"

namespace Inspect {

namespace {

constexpr std::size_t MostKeptBytes = std::size_t{256} << 20;

Json Request(const char* what)
{
    return {{"do", what}};
}

Json GoTo(const Place& place)
{
    return {{"do", "go"}, {"frame", place.frame}, {"call", place.call}};
}

/// The calls that lists in an answer name, in the numbers of the whole capture.
void NumberAsWhole(Json& answer, const FrameCut& cut)
{
    for (Json& list : answer) {
        if (!list.is_array())
            continue;
        for (Json& entry : list)
            if (entry.is_object() && entry.contains("call"))
                entry["call"] = cut.ToWhole({1, entry["call"].get<std::uint32_t>()}).call;
    }
}

} // namespace

std::size_t Outcome::Bytes() const
{
    std::size_t bytes = 0;
    for (const auto& content : contents)
        bytes += content.size();
    return bytes;
}

Replays::Replays(std::string capture, std::string driver, bool cutsFrames)
    : m_capture(std::move(capture)), m_driver(std::move(driver)),
      // Cutting replays on the system's driver, whose pictures are not those of another one.
      m_cutsFrames(cutsFrames && m_driver.empty()), m_cuts(m_capture)
{
}

std::shared_ptr<const Outcome> Replays::At(const Place& place, std::uint32_t calls, Version version)
{
    const std::lock_guard lock(m_mutex);
    const bool isEdited = version == Version::Edited && !m_edits.empty();
    const Moment moment = {isEdited ? m_revision : 0, place};
    if (const auto kept = m_kept.find(moment); kept != m_kept.end()) {
        m_recent.remove(moment);
        m_recent.push_front(moment);
        return kept->second;
    }
    auto outcome = std::make_shared<Outcome>();
    outcome->targets =
        GoAndAsk(place, Request("targets"), &outcome->call, version).json.value("targets", Json::array());
    FrameCuts::Wish wish = {place.frame, calls, place.call};
    for (std::size_t i = 0; i < outcome->targets.size(); ++i) {
        Json request = Request("pixels");
        request["index"] = i;
        outcome->contents.push_back(GoAndAsk(place, request, nullptr, version).bytes);
        wish.hashes.push_back(outcome->targets[i].value("hash", ""));
    }
    if (m_cutsFrames && !isEdited)
        m_cuts.Want(std::move(wish));
    Keep(moment, outcome);
    return outcome;
}

ReplayAnswer Replays::Ask(const Place& place, const Json& request, Version version)
{
    const std::lock_guard lock(m_mutex);
    return GoAndAsk(place, request, nullptr, version);
}

/// The process goes to the call, unless `call` is null and it is there.
ReplayAnswer Replays::GoAndAsk(const Place& place, const Json& request, Json* call, Version version)
{
    Running& running = Reach(place, version);
    try {
        if (call || running.at != place) {
            ReplayAnswer answer = running.process->Ask(GoTo(running.cut ? running.cut->ToCut(place) : place));
            running.at = place;
            if (answer.json.contains("problem"))
                throw Error(Error::Kind::Replay, answer.json["problem"].get<std::string>());
            if (running.cut)
                NumberAsWhole(answer.json, *running.cut);
            if (call)
                *call = std::move(answer.json);
        }
        return running.process->Ask(request);
    } catch (const Error&) {
        Fail(running, place);
    }
}

ReplayAnswer Replays::AskFromStart(const Place& last, Json request, Version version)
{
    const std::lock_guard lock(m_mutex);
    Running running = AtStartOf(last.frame, version == Version::Edited ? m_edits : std::vector<Edit>());
    const std::optional<FrameCut>& cut = running.cut;
    try {
        request["call"] = cut ? cut->ToCut(last).call : last.call;
        ReplayAnswer answer = running.process->Ask(request);
        if (cut) {
            NumberAsWhole(answer.json, *cut);
            KeepSpare(*cut);
        }
        return answer;
    } catch (const Error&) {
        Fail(running, last);
    }
}

void Replays::SetEdits(std::vector<Edit> edits, std::uint32_t frame)
{
    const std::lock_guard lock(m_mutex);
    m_edited = edits.empty() ? Running() : AtStartOf(frame, edits);
    m_edits = std::move(edits);
    ++m_revision;
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
    const std::optional<FrameCut> cut = m_cuts.Find(place.frame);
    if (!cut) {
        if (!m_whole.process || place < m_whole.at)
            m_whole = Start(std::nullopt);
        return m_whole;
    }
    if (m_frame.process && m_frame.cut->frame == place.frame && !(place < m_frame.at))
        return m_frame;
    m_frame = AtStartOf(place.frame);
    KeepSpare(*cut);
    return m_frame;
}

/// Edits are of one frame: the way to another one goes without them.
Replays::Running& Replays::ReachEdited(const Place& place)
{
    if (!m_edited.process || m_edited.at.frame != place.frame || place < m_edited.at)
        m_edited = AtStartOf(place.frame, m_edits);
    return m_edited;
}

/// One that has nothing of the frame behind it.
Replays::Running Replays::AtStartOf(std::uint32_t frame)
{
    const std::optional<FrameCut> cut = m_cuts.Find(frame);
    Running running = cut && m_spare.process && m_spare.cut->frame == frame ? std::move(m_spare) : Start(cut);
    m_spare = {};
    try {
        // That of a cut answers that it is there.
        if (cut)
            running.process->Receive();
        else
            running.process->Ask({{"do", "frame"}, {"frame", frame - 1}});
        running.at = {frame, 0};
        return running;
    } catch (const Error&) {
        Fail(running, {frame, 0});
    }
}

Replays::Running Replays::AtStartOf(std::uint32_t frame, const std::vector<Edit>& edits)
{
    Running running = AtStartOf(frame);
    if (edits.empty())
        return running;
    running.hasEdits = true;
    Json answer;
    try {
        answer = running.process->Ask(RequestFor(edits, frame, running.cut)).json;
    } catch (const Error&) {
        Fail(running, {frame, 0});
    }
    CheckAnswer(edits, answer);
    return running;
}

/// With a cut, it is told to go to the start of the frame, and will answer that.
Replays::Running Replays::Start(const std::optional<FrameCut>& cut)
{
    Running running;
    running.process = std::make_unique<ReplayProcess>(cut ? cut->path : m_capture, m_driver);
    running.cut = cut;
    if (cut) {
        running.at = {cut->frame, 0};
        running.process->Send(GoTo({1, cut->callsBefore}));
    }
    return running;
}

void Replays::KeepSpare(const FrameCut& cut)
{
    m_spare = Start(cut);
}

/// The process ended, or did not do what it should.
void Replays::Fail(Running& running, const Place& place)
{
    std::string text = running.process->End();
    constexpr std::string_view Crash = "crashed in call ";
    if (const std::size_t at = text.rfind(Crash); at != std::string::npos && running.cut) {
        // In the numbers of the whole capture.
        const std::size_t begin = at + Crash.size();
        const std::size_t colon = text.find(':', begin);
        const std::size_t end = text.find(' ', begin);
        const auto call = ParseNumber(std::string_view(text).substr(colon + 1, end - colon - 1));
        const Place whole = running.cut->ToWhole({1, call.value_or(0)});
        text.replace(begin, end - begin, std::to_string(whole.frame) + ":" + std::to_string(whole.call));
    }
    if (text.empty())
        text = "the replay did not get there";
    if (running.cut && !running.hasEdits && !running.process->IsAlive())
        m_cuts.Drop(running.cut->frame);
    running = {};
    throw Error(Error::Kind::Replay,
                "on the way to call " + std::to_string(place.frame) + ":" + std::to_string(place.call) + ": " + text);
}

void Replays::Keep(const Moment& moment, std::shared_ptr<const Outcome> outcome)
{
    m_keptBytes += outcome->Bytes();
    m_kept[moment] = std::move(outcome);
    m_recent.push_front(moment);
    while (m_keptBytes > MostKeptBytes && m_recent.size() > 1) {
        const auto oldest = m_kept.find(m_recent.back());
        m_keptBytes -= oldest->second->Bytes();
        m_kept.erase(oldest);
        m_recent.pop_back();
    }
}

} // namespace Inspect
