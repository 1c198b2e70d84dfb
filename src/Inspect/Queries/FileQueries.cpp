// What the file itself answers.
#include <algorithm>

#include "Inspect/Error.h"
#include "Inspect/Queries/Request.h"
#include "Tools/Info/Dump.h"

namespace Inspect {

namespace {

constexpr const char* NodeNames[] = {"pass", "group", "marker", "action"};

Json ToJson(const CallRow& row, std::uint32_t call)
{
    Json json = {{"call", call}, {"text", row.text}, {"thread", row.thread}, {"context", row.context}};
    if (row.kind != Data::ActionKind::None) {
        json["number"] = row.number.Text();
        json["kind"] = NameOf(row.kind);
    }
    return json;
}

Json ToJson(const Inspector& inspector, const FrameCalls& calls, const TreeNode& node)
{
    Json json = {{"type", NodeNames[static_cast<std::size_t>(node.kind)]}, {"depth", node.depth}};
    std::string label;
    switch (node.kind) {
    case TreeNode::Kind::Pass:
        json["call"] = node.call;
        json["framebuffer"] = node.object;
        json["context"] = node.context;
        label = inspector.Index().LabelOf(Data::ObjectKind::Framebuffer, node.object);
        break;
    case TreeNode::Kind::Action:
        json.update(ToJson(calls.calls[node.call - 1], node.call));
        json["program"] = node.object;
        label = inspector.Index().LabelOf(Data::ObjectKind::Program, node.object);
        break;
    default:
        json["call"] = node.call;
        json["text"] = node.text;
        break;
    }
    if (!label.empty())
        json["label"] = label;
    return json;
}

Answer Capture(const Request& request)
{
    Inspector& inspector = request.inspector;
    const Data::CaptureHeader& header = inspector.Header();
    Json json = {{"file", inspector.FileName()},
                 {"command", header.command},
                 {"width", header.surfaceWidth},
                 {"height", header.surfaceHeight},
                 {"recordedOn", {{"renderer", header.glRenderer}, {"version", header.glVersion}}},
                 {"startTimeUs", header.startTimeUs},
                 {"playback", PLAYBACK_VERSION}};
    if (inspector.HasSecond())
        json["second"] = inspector.Second().side.Description();
    json["others"] = inspector.Others();
    if (header.originFrame != 0)
        json["origin"] = {{"file", header.originFile}, {"frame", header.originFrame}};
    return json;
}

/// Labels of objects, by kind and name.
Answer Labels(const Request& request)
{
    const FrameIndex& index = request.inspector.Index();
    if (request.IsSet("wait"))
        index.Wait();
    Json labels = Json::object();
    for (const auto& [object, label] : index.Labels())
        if (object.first != Data::noObject && !label.empty())
            labels[Data::Describe(object.first).name][std::to_string(object.second)] = label;
    return Json{{"labels", std::move(labels)}};
}

/// Column by column, since there may be many.
Answer Frames(const Request& request)
{
    const FrameIndex& index = request.inspector.Index();
    if (request.IsSet("wait"))
        index.Wait();
    const FrameIndex::Frames all = index.Get();
    const std::size_t first = std::min<std::size_t>(std::max(request.Number("first", 1), 1U) - 1, all.frames.size());
    Json json = {{"first", first + 1}, {"total", all.frames.size()}, {"isDone", all.isDone}, {"hasRest", all.hasRest}};
    if (!all.trouble.empty())
        json["trouble"] = all.trouble;
    const auto add = [&](const char* column, auto number) {
        json[column] = Json::array();
        for (std::size_t i = first; i < all.frames.size(); ++i)
            json[column].push_back(all.frames[i].*number);
    };
    add("calls", &FrameNumbers::calls);
    add("draws", &FrameNumbers::draws);
    add("actions", &FrameNumbers::actions);
    add("uploadBytes", &FrameNumbers::uploadBytes);
    add("timeUs", &FrameNumbers::timeUs);
    return json;
}

Answer Actions(const Request& request)
{
    const auto calls = request.inspector.Calls(request.Number("frame"));
    Json json = {{"frame", calls->frame}, {"calls", calls->calls.size()}, {"tree", Json::array()}};
    for (const TreeNode& node : calls->tree)
        json["tree"].push_back(ToJson(request.inspector, *calls, node));
    return json;
}

/// One call with all of its arguments, and where in the program it came from.
Answer Call(const Request& request)
{
    const Place place = request.At();
    const std::unique_ptr<Data::CaptureSource> source = OpenCapture(request.inspector.Path());
    Data::Diagnostics diagnostics(request.inspector.Path(), nullptr);
    const Tools::DumpChoice choice = {.notation = Tools::Notation::Json,
                                      .frames = {place.frame, place.frame},
                                      .calls = "?*",
                                      .stacks = true,
                                      .debugFolders = request.Text("debug")};
    Json json = {{"at", request.NameOf(place)}};
    const std::string begin =
        "{\"frame\":" + std::to_string(place.frame) + ",\"call\":" + std::to_string(place.call) + ",";
    Tools::Dump(*source, diagnostics, choice, [&](std::string_view text) {
        // What is no call has the number of the one in front of it.
        const Json line = text.starts_with(begin) ? Json::parse(text, nullptr, false) : Json();
        if (line.contains("name"))
            json.update(line);
        return !json.contains("name");
    });
    return json;
}

/// A part of the calls, of those that a filter lets through.
Answer Calls(const Request& request)
{
    const auto calls = request.inspector.Calls(request.Number("frame"));
    const std::uint32_t first = request.Number("first", 0);
    const std::uint32_t count = std::min(request.Number("count", MostRows), MostRows);
    const std::uint32_t around = request.Number("around", 0);
    const std::string filter = Util::String::ToLower(request.Text("filter"));
    Json rows = Json::array();
    std::uint32_t total = 0;
    std::uint32_t index = 0;
    for (std::uint32_t i = 0; i < calls->calls.size(); ++i) {
        if (!filter.empty() && Util::String::ToLower(calls->calls[i].text).find(filter) == std::string::npos)
            continue;
        index = i + 1 <= around ? total : index;
        if (total >= first && total - first < count)
            rows.push_back(ToJson(calls->calls[i], i + 1));
        ++total;
    }
    Json json = {{"frame", calls->frame}, {"first", first}, {"total", total}};
    if (around != 0)
        json["indexOfCall"] = index;
    json["rows"] = std::move(rows);
    return json;
}

} // namespace

std::span<const Query> FileQueries()
{
    static constexpr Query All[] = {{"capture", Capture}, {"labels", Labels}, {"frames", Frames},
                                    {"actions", Actions}, {"call", Call},     {"calls", Calls}};
    return All;
}

} // namespace Inspect
