#include "Probe/Service.h"

#include <algorithm>
#include <iterator>
#include <optional>

#include "Probe/Looks.h"

namespace Probe {

namespace {

constexpr const char* Kinds[] = {"uniform", "texture", "buffer"};

Json ToJson(const Input& input)
{
    Json json = {{"kind", Kinds[static_cast<std::size_t>(input.kind)]}, {"object", input.object}, {"name", input.name}};
    if (input.kind == Input::Kind::Uniform)
        json["values"] = input.values;
    else
        json["hash"] = HashText(input.hash);
    return json;
}

} // namespace

Reply Service::Answer(const std::string& request, std::istream& input)
{
    const nlohmann::json json = nlohmann::json::parse(request, nullptr, false);
    if (!json.is_object())
        return {{{"error", "expected a JSON object, found " + request}}};
    const std::string what = json.value("do", "");
    if (what == "frame")
        return Frame(json.value("frame", 0U), json.value("pictures", false), json.value("finish", false));
    if (what == "action")
        return Action();
    if (what == "pixels")
        return Pixels(json.value("index", std::size_t{0}));
    if (what == "reference")
        return Reference(json.value("index", std::size_t{0}));
    if (what == "put")
        return Put(json.value("index", std::size_t{0}), input);
    if (what == "step")
        return m_steps.Next(m_replayer);
    if (what == "inputs")
        return Inputs();
    if (what == "watch")
        return Watch(json);
    if (what == "changes")
        return Changes();
    if (what == "targets")
        return {{{"targets", Targets()}}};
    if (what == "snapshot")
        return Snapshot(json.value("file", ""));
    if (std::optional<Reply> reply = Look(m_replayer, what, json))
        return std::move(*reply);
    return {{{"error", "there is no request \"" + what + "\""}}};
}

Reply Service::Frame(std::uint32_t frame, bool wantsPictures, bool finishes)
{
    m_shown.clear();
    auto stop = Replayer::Stop::FrameEnd;
    while (stop == Replayer::Stop::FrameEnd && m_replayer.Frames() < frame)
        stop = m_replayer.ToFrameEnd(wantsPictures && m_replayer.Frames() + 1 == frame);
    if (finishes)
        m_replayer.Finish();
    Json json = {{"frame", m_replayer.Frames()}, {"frames", m_replayer.FrameCount()}};
    if (stop == Replayer::Stop::End)
        json["end"] = true;
    json["failed"] = m_replayer.FailedOfFrame().size();
    if (wantsPictures)
        json["pictures"] = TakePictures();
    return {json};
}

Json Service::TakePictures()
{
    Json pictures = Json::array();
    for (Picture& picture : m_replayer.Pictures()) {
        Json one = {{"object", picture.object}};
        one.update(ToJson(picture.contents));
        if (picture.recorded)
            one["recorded"] = HashText(*picture.recorded);
        if (!picture.reference.empty())
            one["hasReference"] = true;
        pictures.push_back(std::move(one));
        m_shown.push_back({std::move(picture.contents), std::nullopt, std::move(picture.reference)});
    }
    return pictures;
}

Reply Service::Action()
{
    m_shown.clear();
    const Replayer::Stop stop = m_replayer.ToAction();
    Json json = {{"frame", m_replayer.Frames()}};
    Json answers = Json::array();
    for (const Probe::Answer& answer : m_replayer.Answers())
        answers.push_back({{"call", answer.call},
                           {"function", answer.function},
                           {"parameter", answer.parameter},
                           {"recorded", answer.recorded},
                           {"live", answer.live}});
    if (stop != Replayer::Stop::Action) {
        json[stop == Replayer::Stop::End ? "end" : "frameEnd"] = true;
        json["answers"] = std::move(answers);
        json["pictures"] = TakePictures();
        return {json};
    }
    const PlayedAction& action = m_replayer.Action();
    json = {{"frame", action.frame},       {"number", action.number.Text()}, {"kind", NameOf(action.kind)},
            {"call", action.call},         {"function", action.function},    {"thread", action.thread},
            {"isPlayed", action.isPlayed}, {"answers", std::move(answers)}};
    if (action.recorded) {
        json["framebuffer"] = action.recorded->framebuffer;
        json["recorded"] =
            Replay::Picture{action.recorded->width, action.recorded->height, action.recorded->hash}.Text();
        json["drawn"] = action.drawn.Text();
    }
    json["targets"] = Targets();
    return {json};
}

Json Service::Targets()
{
    m_shown.clear();
    Json targets = Json::array();
    for (Target& target : m_replayer.Targets()) {
        Json one = {{"what", target.what}, {"object", target.object}};
        one.update(ToJson(target.contents));
        targets.push_back(std::move(one));
        m_shown.push_back({std::move(target.contents), target.place});
    }
    return targets;
}

Reply Service::Snapshot(const std::string& file)
{
    const std::string trouble = m_replayer.WriteSnapshot(file);
    return {trouble.empty() ? Json{{"frame", m_replayer.Frames()}} : Json{{"problem", trouble}}};
}

Reply Service::Pixels(std::size_t index) const
{
    if (index >= m_shown.size())
        return {{{"error", "the last answer has " + std::to_string(m_shown.size()) + " images, found index " +
                               std::to_string(index)}}};
    return ToReply(m_shown[index].contents);
}

/// As many bytes follow the request as the contents have that are replaced.
Reply Service::Put(std::size_t index, std::istream& input)
{
    const auto images = static_cast<std::size_t>(
        std::ranges::count_if(m_shown, [](const Shown& shown) { return shown.place.has_value(); }));
    if (index >= images)
        return {{{"error",
                  "the last action has " + std::to_string(images) + " images, found index " + std::to_string(index)}}};
    m_steps.Forget();
    Contents contents = m_shown[index].contents;
    if (!input.read(reinterpret_cast<char*>(contents.data.data()), static_cast<std::streamsize>(contents.data.size())))
        return {{{"error", "the bytes of the image are missing"}}};
    return {{{"isSame", WriteTarget(*m_shown[index].place, contents)}}};
}

Reply Service::Reference(std::size_t index) const
{
    const auto png = index < m_shown.size() ? m_shown[index].reference : std::vector<std::uint8_t>();
    return {{{"bytes", png.size()}}, png};
}

Reply Service::Inputs()
{
    Json inputs = Json::array();
    for (const Input& input : m_replayer.Inputs(WantsContents::Yes))
        inputs.push_back(ToJson(input));
    const bool hasPrograms = m_replayer.HasContext();
    return {{{"inputs", std::move(inputs)},
             {"programs", hasPrograms ? m_replayer.ChangedDraws().Programs().InUse() : std::vector<std::uint32_t>()}}};
}

Reply Service::Watch(const nlohmann::json& request)
{
    const std::string kind = request.value("kind", "");
    for (std::size_t i = 0; i < std::size(Kinds); ++i) {
        if (kind == Kinds[i]) {
            m_replayer.Watch({static_cast<Input::Kind>(i), request.value("object", 0U), request.value("name", "")});
            return {{{"kind", kind}}};
        }
    }
    return {{{"error", "expected kind uniform, texture or buffer, found \"" + kind + "\""}}};
}

Reply Service::Changes() const
{
    Json changes = Json::array();
    for (const Change& change : m_replayer.Changes())
        changes.push_back({{"frame", change.frame},
                           {"call", change.call},
                           {"function", change.function},
                           {"input", ToJson(change.input)}});
    return {{{"changes", std::move(changes)}}};
}

} // namespace Probe
