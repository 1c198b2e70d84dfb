// What the file itself answers.
#include <algorithm>
#include <cctype>
#include <filesystem>

#include "Data/State/StateTable.h"
#include "Inspect/Error.h"
#include "Inspect/Queries/Parameters.h"
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

std::string Lower(std::string text)
{
    std::ranges::transform(text, text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

} // namespace

Answer AnswerCapture(Inspector& inspector, const Parameters&)
{
    const Data::CaptureHeader& header = inspector.Header();
    Json json = {{"file", std::filesystem::path(inspector.Path()).filename().string()},
                 {"command", header.command},
                 {"width", header.surfaceWidth},
                 {"height", header.surfaceHeight},
                 {"recordedOn", {{"renderer", header.glRenderer}, {"version", header.glVersion}}},
                 {"startTimeUs", header.startTimeUs},
                 {"playback", PLAYBACK_VERSION}};
    if (const Sides::Side* const second = inspector.SecondSide())
        json["second"] = second->Description();
    json["others"] = inspector.Others();
    if (header.originFrame != 0)
        json["origin"] = {{"file", header.originFile}, {"frame", header.originFrame}};
    return {.body = Text(json)};
}

/// Labels of objects, by kind and name.
Answer AnswerLabels(Inspector& inspector, const Parameters& parameters)
{
    if (TextOf(parameters, "wait", "0") != "0")
        inspector.Index().Wait();
    Json labels = Json::object();
    for (const auto& [object, label] : inspector.Index().Labels())
        if (object.first != Data::noObject && !label.empty())
            labels[Data::Describe(object.first).name][std::to_string(object.second)] = label;
    return {.body = Text({{"labels", std::move(labels)}})};
}

/// Column by column, since there may be many.
Answer AnswerFrames(Inspector& inspector, const Parameters& parameters)
{
    if (IsSet(parameters, "wait"))
        inspector.Index().Wait();
    const FrameIndex::Frames all = inspector.Index().Get();
    const std::size_t first =
        std::min<std::size_t>(std::max(NumberOf(parameters, "first", 1), 1U) - 1, all.frames.size());
    Json json = {{"first", first + 1}, {"total", all.frames.size()}, {"isDone", all.isDone}, {"hasRest", all.hasRest}};
    if (!all.trouble.empty())
        json["trouble"] = all.trouble;
    for (const char* const column : {"calls", "draws", "actions", "uploadBytes", "timeUs"})
        json[column] = Json::array();
    for (std::size_t i = first; i < all.frames.size(); ++i) {
        const FrameNumbers& frame = all.frames[i];
        json["calls"].push_back(frame.calls);
        json["draws"].push_back(frame.draws);
        json["actions"].push_back(frame.actions);
        json["uploadBytes"].push_back(frame.uploadBytes);
        json["timeUs"].push_back(frame.timeUs);
    }
    return {.body = Text(json)};
}

Answer AnswerActions(Inspector& inspector, const Parameters& parameters)
{
    const auto calls = inspector.Calls(NumberOf(parameters, "frame"));
    Json json = {{"frame", calls->frame}, {"calls", calls->calls.size()}, {"tree", Json::array()}};
    for (const TreeNode& node : calls->tree)
        json["tree"].push_back(ToJson(inspector, *calls, node));
    return {.body = Text(json)};
}

/// One call with all of its arguments, and where in the program it came from.
Answer AnswerCall(Inspector& inspector, const Parameters& parameters)
{
    const Place place = PlaceOf(inspector, parameters);
    std::string error;
    const std::unique_ptr<Data::CaptureSource> source = Data::CaptureSource::Open(inspector.Path(), error);
    if (!source)
        throw Error(Error::Kind::Request, error);
    Data::Diagnostics diagnostics(inspector.Path(), nullptr);
    const Tools::DumpChoice choice = {.notation = Tools::Notation::Json,
                                      .frames = {place.frame, place.frame},
                                      .calls = "?*",
                                      .stacks = true,
                                      .debugFolders = TextOf(parameters, "debug")};
    Json json = {{"at", inspector.NameOf(place)}};
    const std::string begin =
        "{\"frame\":" + std::to_string(place.frame) + ",\"call\":" + std::to_string(place.call) + ",";
    Tools::Dump(*source, diagnostics, choice, [&](std::string_view text) {
        // What is no call has the number of the one in front of it.
        const Json line = text.starts_with(begin) ? Json::parse(text, nullptr, false) : Json();
        if (line.contains("name"))
            json.update(line);
        return !json.contains("name");
    });
    return {.body = Text(json)};
}

/// A part of the calls, of those that a filter lets through.
Answer AnswerCalls(Inspector& inspector, const Parameters& parameters)
{
    constexpr std::uint32_t MostRows = 10'000;
    const auto calls = inspector.Calls(NumberOf(parameters, "frame"));
    const std::uint32_t first = NumberOf(parameters, "first", 0);
    const std::uint32_t count = std::min(NumberOf(parameters, "count", MostRows), MostRows);
    const std::uint32_t around = NumberOf(parameters, "around", 0);
    const std::string filter = Lower(TextOf(parameters, "filter"));
    Json rows = Json::array();
    std::uint32_t total = 0;
    std::uint32_t index = 0;
    for (std::uint32_t i = 0; i < calls->calls.size(); ++i) {
        if (!filter.empty() && Lower(calls->calls[i].text).find(filter) == std::string::npos)
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
    return {.body = Text(json)};
}

} // namespace Inspect
