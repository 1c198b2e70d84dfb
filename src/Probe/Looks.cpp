#include "Probe/Looks.h"

#include <algorithm>
#include <iterator>
#include <map>

#include "Playback/Names/GLResourceTable.h"
#include "Probe/Actions/ActionSteps.h"
#include "Probe/Actions/ActionTimes.h"
#include "Probe/Actions/History.h"
#include "Probe/Contents/DisplayShader.h"
#include "Probe/Contents/ObjectContents.h"
#include "Probe/Overlays/Overlay.h"
#include "Probe/Programs/Blocks.h"
#include "Replay/Driver/Programs.h"

namespace Probe {

namespace {

Reply Problem(const std::string& text)
{
    return {{{"problem", text}}};
}

Reply Go(Replayer& replayer, const nlohmann::json& request)
{
    const std::uint32_t frame = request.value("frame", 1U);
    const std::uint32_t call = request.value("call", 1U);
    if (replayer.ToCall(frame, call) != Replayer::Stop::Action)
        return Problem("call " + std::to_string(frame) + ":" + std::to_string(call) + " cannot be reached");
    return {DescribeCall(replayer)};
}

/// The images of a texture.
Reply Texture(Replayer& replayer, const nlohmann::json& request)
{
    const unsigned int texture = replayer.TextureOf(request.value("name", 0U));
    const unsigned int target = texture != 0 ? FindTarget(texture) : 0;
    if (target == 0)
        return Problem("the driver has no such texture in the current context");
    Json images = Json::array();
    for (const TextureImage& image : ImagesOf(texture, target)) {
        images.push_back(
            {{"what", image.Text()}, {"target", image.target}, {"level", image.level}, {"layer", image.layer}});
    }
    return {{{"target", target}, {"format", InternalFormatOf(texture, target)}, {"images", std::move(images)}}};
}

Reply Image(Replayer& replayer, const nlohmann::json& request)
{
    const unsigned int texture = replayer.TextureOf(request.value("name", 0U));
    const unsigned int target = texture != 0 ? FindTarget(texture) : 0;
    const std::vector<TextureImage> images = target != 0 ? ImagesOf(texture, target) : std::vector<TextureImage>{};
    const std::size_t index = request.value("index", std::size_t{0});
    if (index >= images.size())
        return Problem("the texture has " + std::to_string(images.size()) + " images");
    const Contents contents = ReadImage(texture, images[index]);
    return ToReply(request.contains("shader") ? ApplyDisplayShader(contents, request.value("shader", "")) : contents);
}

/// An image that the call could write to, as a shader shows it.
Reply Show(Replayer& replayer, const nlohmann::json& request)
{
    const std::size_t index = request.value("index", std::size_t{0});
    std::vector<Target> targets = replayer.Targets();
    if (index >= targets.size())
        return Problem("the call has " + std::to_string(targets.size()) + " images");
    return ToReply(ApplyDisplayShader(targets[index].contents, request.value("shader", "")));
}

Reply Buffer(Replayer& replayer, const nlohmann::json& request)
{
    const unsigned int buffer = replayer.Names().GetValueGLBuffer(request.value("name", 0U));
    if (buffer == 0)
        return Problem("the driver has no such buffer in the current context");
    Contents contents = ReadBuffer(buffer);
    const std::size_t size = contents.data.size();
    const std::size_t first = std::min(request.value("offset", std::size_t{0}), size);
    const std::size_t count = std::min(request.value("size", size), size - first);
    contents.data = {contents.data.begin() + static_cast<std::ptrdiff_t>(first),
                     contents.data.begin() + static_cast<std::ptrdiff_t>(first + count)};
    Reply reply = ToReply(std::move(contents));
    reply.json["size"] = size;
    reply.json["offset"] = first;
    return reply;
}

Json ToJson(const Replay::ActiveVariable& variable)
{
    return {{"name", variable.name}, {"type", variable.type}, {"count", variable.count}};
}

Json ToJson(const ProgramBlock& block)
{
    Json variables = Json::array();
    for (const BlockVariable& variable : block.variables)
        variables.push_back({{"name", variable.name},
                             {"type", variable.type},
                             {"count", variable.count},
                             {"offset", variable.offset},
                             {"arrayStride", variable.arrayStride},
                             {"matrixStride", variable.matrixStride},
                             {"isRowMajor", variable.isRowMajor}});
    return {{"name", block.name},
            {"isStorage", block.isStorage},
            {"binding", block.binding},
            {"bytes", block.bytes},
            {"variables", std::move(variables)}};
}

/// Tells of uniforms that lie in a block where, and what they hold.
void AddContents(Json& uniforms, const ProgramBlock& block)
{
    const BlockContents contents(block);
    for (const BlockVariable& variable : block.variables)
        for (Json& one : uniforms)
            // Blocks of an array have the same uniforms, which then belong to the first one.
            if (one["name"] == variable.name && !one.contains("block"))
                one.update({{"block", block.name},
                            {"offset", contents.PlaceOf(variable)},
                            {"values", contents.ValuesOf(variable)}});
}

Reply Program(Replayer& replayer, const nlohmann::json& request)
{
    const unsigned int program = replayer.Names().GetValueGLProgram(request.value("name", 0U));
    if (program == 0)
        return Problem("the driver has no such program in the current context");
    Json json = {{"isLinked", Replay::IsLinked(program)}, {"log", Replay::ProgramLog(program)}};
    if (!Replay::IsLinked(program))
        return {json};
    json["attributes"] = Json::array();
    for (const auto& [attribute, location] : Replay::ActiveAttributes(program)) {
        json["attributes"].push_back(ToJson(attribute));
        json["attributes"].back()["location"] = location;
    }
    json["uniforms"] = Json::array();
    for (const Replay::ActiveVariable& uniform : Replay::ActiveUniforms(program)) {
        json["uniforms"].push_back(ToJson(uniform));
        if (const auto values = Replay::ValuesOf(program, uniform))
            json["uniforms"].back()["values"] = *values;
    }
    Json blocks = Json::array();
    for (const ProgramBlock& block : BlocksOf(program)) {
        blocks.push_back(ToJson(block));
        if (!block.isStorage)
            AddContents(json["uniforms"], block);
    }
    json["blocks"] = std::move(blocks);
    return {json};
}

/// Of what a vertex shader gives.
Json OutputJson(const VertexArray& array)
{
    return {{"name", array.name}, {"size", array.size}, {"type", array.type}, {"isInteger", array.isInteger}};
}

Json ToJson(const VertexArray& array)
{
    return {{"location", array.location},
            {"name", array.name},
            {"size", array.size},
            {"type", array.type},
            {"isNormalized", array.isNormalized},
            {"isInteger", array.isInteger},
            {"stride", array.stride},
            {"offset", array.offset},
            {"buffer", array.buffer},
            {"divisor", array.divisor}};
}

/// Of a draw: what its vertex shader reads, or where "shaded" is true, what it gives.
Reply Vertices(Replayer& replayer, const nlohmann::json& request)
{
    const VertexRange range = {request.value("first", 0U), request.value("count", 0U), request.value("instance", 0U)};
    const bool isShaded = request.value("shaded", false);
    const VertexTable table = isShaded ? replayer.ShadedVertices(range) : replayer.Vertices(range.first, range.count);
    if (!table.problem.empty())
        return Problem(table.problem);
    Json json = {{"count", table.count}, {"arrays", Json::array()}, {"rows", Json::array()}};
    for (const VertexArray& array : table.arrays)
        json["arrays"].push_back(isShaded ? OutputJson(array) : ToJson(array));
    for (const VertexTable::Row& row : table.rows)
        json["rows"].push_back({{"index", row.index}, {"values", row.values}});
    return {json};
}

/// A pixel of a framebuffer after each action from here to a call.
Reply History(Replayer& replayer, const nlohmann::json& request)
{
    const PixelPlace place = {request.value("object", ""), request.value("what", ""), request.value("x", 0U),
                              request.value("y", 0U)};
    Json writes = Json::array();
    for (const PixelWrite& write : PixelHistory(replayer, place, request.value("call", 0U)))
        writes.push_back({{"call", write.call},
                          {"function", write.function},
                          {"kind", NameOf(write.kind)},
                          {"isChanged", write.before != write.after},
                          {"before", write.before},
                          {"after", write.after},
                          {"obstacle", write.obstacle}});
    return {{{"writes", std::move(writes)}}};
}

/// Of all actions from here to the end of the frame.
Reply Times(Replayer& replayer, const nlohmann::json& /*request*/)
{
    const FrameTimes times = TimeActions(replayer);
    Json json = {{"times", Json::array()}, {"note", times.note}};
    for (const ActionTime& time : times.actions)
        json["times"].push_back({{"call", time.call},
                                 {"gpuMs", time.gpuMs ? Json(*time.gpuMs) : Json()},
                                 {"cpuMs", time.cpuMs},
                                 {"doneMs", time.doneMs}});
    json["failed"] = FailedOf(replayer.FailedOfFrame());
    return {std::move(json)};
}

Reply ToReply(Overlay overlay)
{
    Reply reply = Probe::ToReply(std::move(overlay.pixels));
    if (!overlay.note.empty())
        reply.json["note"] = std::move(overlay.note);
    return reply;
}

Reply OverlayOfDraw(Replayer& replayer, const nlohmann::json& request)
{
    return ToReply(OverlayOf(replayer, request.value("kind", "")));
}

Reply OverlayOfPass(Replayer& replayer, const nlohmann::json& request)
{
    return ToReply(Overdraw(replayer, request.value("call", 0U)));
}

/// Which textures and buffers each action from here to a call reads.
Reply Uses(Replayer& replayer, const nlohmann::json& request)
{
    const std::uint32_t last = request.value("call", 0U);
    Json all = Json::array();
    while (replayer.ToAction() == Replayer::Stop::Action && replayer.Action().call <= last) {
        if (!replayer.HasContext())
            continue;
        Json reads = Json::array();
        for (const Input& input : replayer.Inputs(WantsContents::No))
            if (input.kind != Input::Kind::Uniform)
                reads.push_back({{"kind", input.kind == Input::Kind::Texture ? "textures" : "buffers"},
                                 {"name", input.object},
                                 {"as", input.name}});
        all.push_back({{"call", replayer.Action().call}, {"reads", std::move(reads)}});
    }
    return {{{"uses", std::move(all)}}};
}

/// From here on these edits, each with "kind" and, for one call of the frame alone, "call"; shaders have "program",
/// "type" and "source". "faults" have the number of the "edit", the shader "type", or 0 for linking, and the "log".
Reply TakeEdits(Replayer& replayer, const nlohmann::json& request)
{
    // In the order of Edit::Kind.
    constexpr std::string_view Kinds[] = {"shader", "skip", "scissor", "textures", "simple", "no-blending"};
    std::vector<Edit> edits;
    for (const nlohmann::json& json : request.value("edits", nlohmann::json::array())) {
        const std::string name = json.value("kind", "");
        const auto* const kind = std::ranges::find(Kinds, name);
        if (kind == std::end(Kinds))
            return Problem("there is no edit \"" + name + "\"");
        Edit edit = {static_cast<Edit::Kind>(kind - std::begin(Kinds)), json.value("call", 0U)};
        edit.shader = {json.value("program", 0U), {json.value("type", 0U), json.value("source", "")}};
        edits.push_back(std::move(edit));
    }
    Json faults = Json::array();
    for (const Edits::Fault& fault : replayer.ChangedDraws().Set(std::move(edits)))
        faults.push_back({{"edit", fault.edit}, {"type", fault.what.type}, {"log", fault.what.log}});
    return {{{"faults", std::move(faults)}}};
}

/// A request, and whether it needs a context that is current.
struct Answerer {
    Reply (*answer)(Replayer& replayer, const nlohmann::json& request);
    bool needsContext;
};

const std::map<std::string_view, Answerer> Answerers = {
    {"go", {Go, false}},
    {"texture", {Texture, true}},
    {"image", {Image, true}},
    {"buffer", {Buffer, true}},
    {"program", {Program, true}},
    {"vertices", {Vertices, false}},
    {"history", {History, true}},
    {"edits", {TakeEdits, false}},
    {"overlay", {OverlayOfDraw, true}},
    {"overdraw", {OverlayOfPass, false}},
    {"times", {Times, false}},
    {"show", {Show, true}},
    {"uses", {Uses, false}},
};

} // namespace

std::optional<Reply> Look(Replayer& replayer, std::string_view what, const nlohmann::json& request)
{
    const auto found = Answerers.find(what);
    if (found == Answerers.end())
        return std::nullopt;
    const Answerer& answerer = found->second;
    return answerer.needsContext && !replayer.HasContext() ? Problem("no context is current")
                                                           : answerer.answer(replayer, request);
}

} // namespace Probe
