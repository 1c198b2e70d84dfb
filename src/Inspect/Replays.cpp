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

std::shared_ptr<const Outcome> Replays::At(const Place& place, std::uint32_t calls)
{
    const std::lock_guard lock(m_mutex);
    if (const auto kept = m_kept.find(place); kept != m_kept.end()) {
        m_recent.remove(place);
        m_recent.push_front(place);
        return kept->second;
    }
    auto outcome = std::make_shared<Outcome>();
    outcome->targets = GoAndAsk(place, Request("targets"), &outcome->call).json.value("targets", Json::array());
    FrameCuts::Wish wish = {place.frame, calls, place.call};
    for (std::size_t i = 0; i < outcome->targets.size(); ++i) {
        Json request = Request("pixels");
        request["index"] = i;
        outcome->contents.push_back(GoAndAsk(place, request, nullptr).bytes);
        wish.hashes.push_back(outcome->targets[i].value("hash", ""));
    }
    if (m_cutsFrames)
        m_cuts.Want(std::move(wish));
    Keep(place, outcome);
    return outcome;
}

ReplayAnswer Replays::Ask(const Place& place, const Json& request)
{
    const std::lock_guard lock(m_mutex);
    return GoAndAsk(place, request, nullptr);
}

/// The process goes to the call, unless `call` is null and it is there.
ReplayAnswer Replays::GoAndAsk(const Place& place, const Json& request, Json* call)
{
    Running& running = Reach(place);
    try {
        if (call || running.at != place) {
            ReplayAnswer answer = running.process->Ask(GoTo(running.cut ? running.cut->ToCut(place) : place));
            running.at = place;
            if (answer.json.contains("problem"))
                throw Error(Error::Kind::Replay, answer.json["problem"].get<std::string>());
            for (Json& failed : answer.json["failed"])
                if (running.cut)
                    failed["call"] = running.cut->ToWhole({1, failed["call"].get<std::uint32_t>()}).call;
            if (call)
                *call = std::move(answer.json);
        }
        return running.process->Ask(request);
    } catch (const Error&) {
        Fail(running, place);
    }
}

Json Replays::History(const Place& last, Json request)
{
    const std::lock_guard lock(m_mutex);
    const std::optional<FrameCut> cut = m_cuts.Find(last.frame);
    Running running;
    if (cut && m_spare.process && m_spare.cut->frame == last.frame)
        running = std::move(m_spare);
    else
        running = Start(cut);
    m_spare = {};
    try {
        // A spare answers that it is at the start.
        if (cut)
            running.process->Receive();
        else
            running.process->Ask({{"do", "frame"}, {"frame", last.frame - 1}});
        request["call"] = cut ? cut->ToCut(last).call : last.call;
        Json writes = running.process->Ask(request).json.value("writes", Json::array());
        for (Json& write : writes)
            if (cut)
                write["call"] = cut->ToWhole({1, write["call"].get<std::uint32_t>()}).call;
        if (cut)
            KeepSpare(*cut);
        return writes;
    } catch (const Error&) {
        Fail(running, last);
    }
}

/// A process that is not behind the place.
Replays::Running& Replays::Reach(const Place& place)
{
    const std::optional<FrameCut> cut = m_cuts.Find(place.frame);
    if (!cut) {
        if (!m_whole.process || place < m_whole.at)
            m_whole = Start(std::nullopt);
        return m_whole;
    }
    if (m_frame.process && m_frame.cut->frame == place.frame && !(place < m_frame.at))
        return m_frame;
    m_frame = m_spare.process && m_spare.cut->frame == place.frame ? std::move(m_spare) : Start(cut);
    m_spare = {};
    try {
        m_frame.process->Receive();
    } catch (const Error&) {
        Fail(m_frame, place);
    }
    KeepSpare(*cut);
    return m_frame;
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
    if (running.cut && !running.process->IsAlive())
        m_cuts.Drop(running.cut->frame);
    running = {};
    throw Error(Error::Kind::Replay,
                "on the way to call " + std::to_string(place.frame) + ":" + std::to_string(place.call) + ": " + text);
}

void Replays::Keep(const Place& place, std::shared_ptr<const Outcome> outcome)
{
    m_keptBytes += outcome->Bytes();
    m_kept[place] = std::move(outcome);
    m_recent.push_front(place);
    while (m_keptBytes > MostKeptBytes && m_recent.size() > 1) {
        const auto oldest = m_kept.find(m_recent.back());
        m_keptBytes -= oldest->second->Bytes();
        m_kept.erase(oldest);
        m_recent.pop_back();
    }
}

} // namespace Inspect
