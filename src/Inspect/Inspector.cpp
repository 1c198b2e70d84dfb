#include "Inspect/Inspector.h"

#include <algorithm>
#include <map>

#include "Inspect/Error.h"
#include "Interfaces/Util.h"

namespace Inspect {

namespace {

// What is kept for the next time, the last used ones.
constexpr std::size_t MostFrames = 4;
constexpr std::size_t MostStates = 64;

} // namespace

Inspector::Inspector(const ReplaySettings& settings, bool isLasting, std::optional<std::uint32_t> every)
    : m_path(settings.capture), m_header(OpenCapture(m_path)->Header()), m_index(m_path),
      m_replays(settings, isLasting, every), m_thumbnails(
                                                 m_replays, [this] { return m_asking > 0; },
                                                 [this](const Place& place, ReplayProcess& replay, const Json& step) {
                                                     return LookAhead(place, replay, step);
                                                 })
{
}

std::shared_ptr<const FrameCalls> Inspector::Calls(std::uint32_t frame)
{
    const std::lock_guard lock(m_callsMutex);
    const auto kept = std::ranges::find_if(m_calls, [&](const auto& calls) { return calls->frame == frame; });
    if (kept != m_calls.end()) {
        m_calls.splice(m_calls.begin(), m_calls, kept);
        return m_calls.front();
    }
    const std::optional<ChunkStart> start = m_index.Find(frame);
    if (!start)
        throw RequestError("there is no frame " + std::to_string(frame) + ": the capture has " +
                           std::to_string(m_index.Get().frames.size()));
    std::shared_ptr<const FrameCalls> calls = ReadFrameCalls(m_path, frame, *start);
    m_calls.push_front(calls);
    if (m_calls.size() > MostFrames)
        m_calls.pop_back();
    return calls;
}

Place Inspector::Find(const std::string& text)
{
    const std::optional<PlaceText> place = PlaceText::Parse(text);
    if (!place)
        throw RequestError(
            "expected a place such as 57:12 for an action, 57:c345 for a call or 57 for the end of a frame, "
            "found \"" +
            text + "\"");
    const std::optional<std::uint32_t> call = Calls(place->frame)->Find(*place);
    if (!call)
        throw RequestError("frame " + std::to_string(place->frame) + " has " + Calls(place->frame)->Extent() +
                           ", found " + text);
    return {place->frame, *call};
}

std::string Inspector::NameOf(const Place& place)
{
    return std::to_string(place.frame) + ":" + Calls(place.frame)->NameOf(place.call);
}

void Inspector::SetSecond(const Sides::Side& side)
{
    m_second.reset(new SecondDriver{side, {{m_path, side}, false, 0}, {m_path, FirstSide(), side}});
}

Inspector::SecondDriver& Inspector::Second()
{
    if (!m_second)
        throw RequestError("there is no second driver: playback-inspect --b-driver or --b-env names one");
    return *m_second;
}

void Inspector::Stop()
{
    m_replays.Stop();
    if (m_second) {
        m_second->replays.Stop();
        m_second->search.Stop();
    }
    for (const auto& other : m_others)
        other->Stop();
}

void Inspector::AddOther(const std::string& path)
{
    m_others.push_back(std::make_unique<Inspector>(ReplaySettings{path, FirstSide()}, false, 0));
}

std::string Inspector::FileName() const
{
    return Util::Path::GetFilePart(m_path);
}

std::vector<std::string> Inspector::Others() const
{
    std::vector<std::string> names;
    for (const auto& other : m_others)
        names.push_back(other->FileName());
    return names;
}

std::pair<Inspector*, Place> Inspector::FindAnywhere(const std::string& text)
{
    // The file's name may have a colon in it, too.
    for (const auto& other : m_others)
        if (const std::string begin = other->FileName() + ":"; text.starts_with(begin))
            return {other.get(), other->Find(text.substr(begin.size()))};
    return {this, Find(text)};
}

std::vector<EarlierUse> Inspector::EarlierUses(std::uint32_t frame, const FrameUses::Object& object)
{
    // As many as a person looks through.
    constexpr std::size_t Most = 100;
    const std::unique_ptr<Data::CaptureSource> source = OpenCapture(m_path);
    return ReadEarlierUses(*source, m_path, frame, object, Most);
}

std::shared_ptr<const FrameUses> Inspector::Uses(std::uint32_t frame)
{
    const std::lock_guard lock(m_usesMutex);
    if (m_uses && m_usesFrame == frame)
        return m_uses;
    const auto calls = Calls(frame);
    const std::unique_ptr<Data::CaptureSource> source = Open(m_replays.AllSnapshots().Nearest(frame));
    auto uses = std::make_shared<FrameUses>(ReadFrameUses(*source, m_path, frame));
    // Which textures a program samples, and which buffers its blocks and vertices come from, the driver knows.
    const ReplayAnswer answer =
        m_replays.AskFromStart({frame, calls->Count()}, {{"do", "uses"}}, Replays::Version::Recorded);
    for (const Json& action : answer.json.value("uses", Json::array())) {
        const std::uint32_t call = action["call"];
        const std::string& text = calls->calls.at(call - 1).text;
        for (const Json& read : action["reads"])
            uses->Add({read["kind"], std::to_string(read["name"].get<std::uint32_t>())}, call,
                      text.substr(0, text.find('(')), ObjectUse::Read, read["as"]);
    }
    m_uses = std::move(uses);
    m_usesFrame = frame;
    return m_uses;
}

void Inspector::Select(std::uint32_t frame)
{
    if (m_replays.IsLasting())
        m_thumbnails.Begin(frame);
}

/// What the page asks for about an action when one goes there.
bool Inspector::LookAhead(const Place& place, ReplayProcess& replay, const Json& step)
{
    Outcome outcome = Outcome::Of(replay, step);
    // State is told with what differs from the action in front, or from the start of the frame.
    std::vector<std::uint32_t> calls = {1};
    const auto frame = Calls(place.frame);
    for (const TreeNode& node : frame->tree) {
        if (node.kind != TreeNode::Kind::Action)
            continue;
        calls.push_back(node.call);
        if (node.call != place.call || node.object == 0)
            continue;
        const Json request = AboutProgram(node.object);
        outcome.answers.emplace(Text(request), replay.Ask(request).json);
    }
    // One way through the frame has the states of all, where as many are kept.
    if (calls.size() < MostStates && !FindState(place))
        States(place.frame, calls);
    return m_replays.Kept().KeepAhead({0, place}, outcome);
}

Inspector::StatePointer Inspector::FindState(const Place& place)
{
    const std::lock_guard lock(m_stateMutex);
    const auto state = std::ranges::find(m_states, place, [](const auto& kept) { return kept.first; });
    if (state == m_states.end())
        return nullptr;
    m_states.splice(m_states.begin(), m_states, state);
    return m_states.front().second;
}

void Inspector::KeepState(const Place& place, StatePointer state)
{
    const std::lock_guard lock(m_stateMutex);
    m_states.emplace_front(place, std::move(state));
    if (m_states.size() > MostStates)
        m_states.pop_back();
}

Inspector::StatePointer Inspector::State(const Place& place)
{
    return States(place.frame, {place.call}).front();
}

std::vector<Inspector::StatePointer> Inspector::States(std::uint32_t frame, const std::vector<std::uint32_t>& calls)
{
    std::map<std::uint32_t, StatePointer> states;
    for (const std::uint32_t call : calls)
        states.try_emplace(call, FindState({frame, call}));
    std::vector<std::uint32_t> missing;
    for (const auto& [call, state] : states)
        if (!state)
            missing.push_back(call);
    // Nobody else waits for it: who reads ahead does so slowly.
    if (!missing.empty()) {
        std::vector<Tools::StateSnapshot> read = ReadStates(m_replays.AllSnapshots().Nearest(frame), frame, missing);
        for (std::size_t i = 0; i < missing.size(); ++i) {
            states[missing[i]] = std::make_shared<Tools::StateSnapshot>(std::move(read[i]));
            KeepState({frame, missing[i]}, states[missing[i]]);
        }
    }
    std::vector<StatePointer> all;
    for (const std::uint32_t call : calls)
        all.push_back(states[call]);
    return all;
}

Tools::StateSnapshot Inspector::StateWithSetters(const Place& place)
{
    return std::move(ReadStates(nullptr, place.frame, {place.call}).front());
}

std::unique_ptr<Data::CaptureSource> Inspector::Open(const SnapshotPointer& snapshot) const
{
    if (!snapshot)
        return OpenCapture(m_path);
    std::string error;
    std::unique_ptr<Data::CaptureSource> source = Data::CaptureSource::OpenAt(snapshot->path, m_path, error);
    if (!source)
        throw RequestError(error);
    return source;
}

std::vector<Tools::StateSnapshot> Inspector::ReadStates(const SnapshotPointer& snapshot, std::uint32_t frame,
                                                        const std::vector<std::uint32_t>& calls) const
{
    const std::unique_ptr<Data::CaptureSource> source = Open(snapshot);
    Data::Diagnostics diagnostics(m_path, nullptr);
    auto result = Tools::StatesAt(*source, diagnostics, frame, calls);
    if (const auto* const text = std::get_if<std::string>(&result))
        throw RequestError(*text);
    return std::get<std::vector<Tools::StateSnapshot>>(std::move(result));
}

} // namespace Inspect
