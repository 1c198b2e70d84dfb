#include "Tools/Info/StatisticsText.h"

#include "Data/Records/CallTable.h"
#include "Tools/Info/EnumNames.h"

namespace Tools {

namespace {

using Json = nlohmann::ordered_json;

std::uint64_t Sum(const CallCounts& counts)
{
    std::uint64_t sum = 0;
    for (const auto& [call, count] : counts)
        sum += count;
    return sum;
}

DrawCount Sum(const std::map<Data::CallId, DrawCount>& draws)
{
    DrawCount sum;
    for (const auto& [call, count] : draws)
        sum += count;
    return sum;
}

std::uint64_t Sum(const std::map<std::uint32_t, std::uint64_t>& counts)
{
    std::uint64_t sum = 0;
    for (const auto& [key, count] : counts)
        sum += count;
    return sum;
}

Json ToJson(const DrawCount& count)
{
    return {{"calls", count.calls},
            {"instances", count.instances},
            {"vertices", count.vertices},
            {"unknown", count.unknown}};
}

Json ByCall(const CallCounts& counts)
{
    Json json = Json::object();
    for (const auto& [call, count] : counts)
        json[NameOf(call)] = count;
    return json;
}

Json WithSum(const CallCounts& counts)
{
    return {{"calls", Sum(counts)}, {"byCall", ByCall(counts)}};
}

/// "vertex" of GL_VERTEX_SHADER; the number of a type that has no name.
std::string ShaderType(std::uint32_t type)
{
    const char* const found = GLEnumName(type);
    std::string name = found ? found : "";
    if (!name.starts_with("GL_") || !name.ends_with("_SHADER"))
        return std::to_string(type);
    name = name.substr(3, name.size() - 3 - 7);
    for (char& character : name)
        character = static_cast<char>(character == '_' ? ' ' : character - 'A' + 'a');
    return name;
}

Json ToJson(const FrameStatistics& frame)
{
    Json json;
    json["calls"] = frame.calls;
    json["draws"] = ToJson(Sum(frame.draws));
    json["draws"]["byCall"] = Json::object();
    for (const auto& [call, count] : frame.draws)
        json["draws"]["byCall"][NameOf(call)] = ToJson(count);
    json["dispatches"] = {
        {"calls", frame.dispatches.calls}, {"groups", frame.dispatches.groups}, {"unknown", frame.dispatches.unknown}};
    json["clears"] = WithSum(frame.clears);
    json["blits"] = WithSum(frame.blits);
    json["uploadedBytes"] = {{"buffers", frame.bufferBytes},
                             {"ofThemMapped", frame.mappedBytes},
                             {"textures", frame.textureBytes},
                             {"clientArrays", frame.clientArrayBytes}};
    json["waits"] = WithSum(frame.waits);
    json["readBacks"] = WithSum(frame.readBacks);
    json["readBacks"]["pixelBytes"] = frame.readBytes;
    json["readBacks"]["ofThemToBuffers"] = frame.bytesReadToBuffers;
    json["readBacks"]["mappedBytes"] = frame.bytesMappedToRead;
    json["shaders"] = {{"created", Sum(frame.shaders)}, {"compiled", frame.shadersCompiled}};
    json["shaders"]["byType"] = Json::object();
    for (const auto& [type, count] : frame.shaders)
        json["shaders"]["byType"][ShaderType(type)] = count;
    json["programs"] = {{"created", frame.programs}, {"linked", frame.programsLinked}};
    json["objects"] = Json::object();
    for (std::size_t kind = 0; kind < Data::objectKinds; ++kind)
        if (const Data::ObjectCount& count = frame.objects[kind]; count.most > 0)
            json["objects"][Data::objectDescriptions[kind].name] = {{"alive", count.alive}, {"most", count.most}};
    json["extensions"] = Json::object();
    for (const auto& [call, count] : frame.extensionCalls)
        json["extensions"][ExtensionOf(call)][NameOf(call)] = count;
    json["stateChanges"] = WithSum(frame.stateChanges);
    json["stateChanges"]["redundant"] = WithSum(frame.redundantChanges);
    return json;
}

void CsvLine(std::string& text, const std::string& part, const FrameStatistics& frame)
{
    const DrawCount draws = Sum(frame.draws);
    text += part;
    for (const std::uint64_t value : {frame.calls,
                                      draws.calls,
                                      draws.instances,
                                      draws.vertices,
                                      draws.unknown,
                                      frame.dispatches.calls,
                                      frame.dispatches.groups,
                                      Sum(frame.clears),
                                      Sum(frame.blits),
                                      frame.bufferBytes,
                                      frame.textureBytes,
                                      frame.clientArrayBytes,
                                      Sum(frame.waits),
                                      Sum(frame.readBacks),
                                      frame.readBytes,
                                      frame.bytesMappedToRead,
                                      Sum(frame.shaders),
                                      frame.programs,
                                      Sum(frame.extensionCalls),
                                      Sum(frame.stateChanges),
                                      Sum(frame.redundantChanges)})
        text += "," + std::to_string(value);
    for (const Data::ObjectCount& count : frame.objects)
        text += "," + std::to_string(count.alive);
    text += "\n";
}

} // namespace

nlohmann::ordered_json ToJson(const CaptureStatistics& statistics)
{
    Json json;
    json["refusedCalls"] = statistics.refusedCalls;
    json["total"] = ToJson(statistics.total);
    if (statistics.setup)
        json["setup"] = ToJson(*statistics.setup);
    json["firstFrame"] = statistics.firstFrame;
    json["frames"] = Json::array();
    for (const FrameStatistics& frame : statistics.frames)
        json["frames"].push_back(ToJson(frame));
    if (statistics.hasRest)
        json["rest"] = ToJson(statistics.rest);
    return json;
}

std::string ToCsv(const CaptureStatistics& statistics)
{
    std::string text =
        "frame,calls,draws,instances,vertices,unknownDraws,dispatches,workGroups,clears,blits,bufferBytes,"
        "textureBytes,clientArrayBytes,waits,readBacks,readPixelBytes,readMappedBytes,shaders,programs,extensionCalls,"
        "stateChanges,redundantStateChanges";
    for (std::size_t kind = 0; kind < Data::objectKinds; ++kind)
        text += std::string(",") + Data::objectDescriptions[kind].name + "Alive";
    text += "\n";
    if (statistics.setup)
        CsvLine(text, "setup", *statistics.setup);
    for (std::size_t i = 0; i < statistics.frames.size(); ++i)
        CsvLine(text, std::to_string(statistics.firstFrame + i), statistics.frames[i]);
    if (statistics.hasRest)
        CsvLine(text, "rest", statistics.rest);
    return text;
}

} // namespace Tools
