// What a replay on the driver answers.
#include <algorithm>

#include "Inspect/Error.h"
#include "Inspect/Formats/Picture.h"
#include "Inspect/Queries/Parameters.h"
#include "Tools/Info/Notation.h"

namespace Inspect {

namespace {

/// The target that "index" names.
std::size_t IndexOf(const Outcome& outcome, const Parameters& parameters)
{
    const std::size_t index = NumberOf(parameters, "index", 0);
    if (index < outcome.contents.size())
        return index;
    throw Error(Error::Kind::Request, "index needs a number below " + std::to_string(outcome.contents.size()) +
                                          ", found " + std::to_string(index));
}

/// What the call at a place of a frame left behind, which somebody looks at.
std::shared_ptr<const Outcome> OutcomeAt(Inspector& inspector, const Parameters& parameters, const Place& place)
{
    inspector.Select(place.frame);
    return ReplayOf(inspector, parameters).At(place, VersionOf(parameters));
}

} // namespace

Answer ToAnswer(const Json& json, const std::vector<std::uint8_t>& bytes)
{
    if (json.contains("problem") && bytes.empty())
        throw Error(Error::Kind::Request, json["problem"].get<std::string>());
    return {"application/octet-stream",
            std::string(bytes.begin(), bytes.end()),
            {{"Playback-Components", json.value("components", "")},
             {"Playback-Width", std::to_string(json.value("width", 0U))},
             {"Playback-Height", std::to_string(json.value("height", 0U))}}};
}

ReplayAnswer AskAbout(Inspector& inspector, const Parameters& parameters, const char* what, Json more)
{
    more["do"] = what;
    more["name"] = NumberOf(parameters, "name");
    ReplayAnswer answer =
        ReplayOf(inspector, parameters).Ask(PlaceOf(inspector, parameters), more, VersionOf(parameters));
    if (answer.json.contains("problem") && answer.bytes.empty())
        throw Error(Error::Kind::Request, std::string(what) + " " + TextOf(parameters, "name") + ": " +
                                              answer.json["problem"].get<std::string>());
    return answer;
}

Answer AnswerTargets(Inspector& inspector, const Parameters& parameters)
{
    const Place place = PlaceOf(inspector, parameters);
    const auto outcome = OutcomeAt(inspector, parameters, place);
    Json json = {{"at", inspector.NameOf(place)},
                 {"call", place.call},
                 {"function", outcome->call.value("function", "")},
                 {"isPlayed", outcome->call.value("isPlayed", true)},
                 {"hasSnapshot", inspector.Replay().AllSnapshots().At(place.frame) != nullptr},
                 {"failed", outcome->call.value("failed", Json::array())},
                 {"targets", outcome->targets}};
    return {.body = Text(json)};
}

/// From where in the capture replays can begin.
Answer AnswerSnapshots(Inspector& inspector, const Parameters&)
{
    const Snapshots::Progress progress = inspector.Replay().AllSnapshots().Get();
    Json json = {{"frames", progress.frames},
                 {"bytes", progress.bytes},
                 {"mostBytes", progress.mostBytes},
                 {"framesDone", progress.framesDone},
                 {"isDone", progress.isDone}};
    if (!progress.trouble.empty())
        json["trouble"] = progress.trouble;
    return {.body = Text(json)};
}

Answer AnswerPixels(Inspector& inspector, const Parameters& parameters)
{
    const auto outcome = OutcomeAt(inspector, parameters, PlaceOf(inspector, parameters));
    const std::size_t index = IndexOf(*outcome, parameters);
    return ToAnswer(outcome->targets[index], outcome->contents[index]);
}

Answer AnswerPicture(Inspector& inspector, const Parameters& parameters)
{
    const auto outcome = OutcomeAt(inspector, parameters, PlaceOf(inspector, parameters));
    const std::size_t index = IndexOf(*outcome, parameters);
    return {"image/png", EncodePicture(outcome->targets[index], outcome->contents[index])};
}

/// All actions of the frame up to the place on the image of a target, and what became of one of its pixels.
Answer AnswerPixel(Inspector& inspector, const Parameters& parameters)
{
    const Place place = PlaceOf(inspector, parameters);
    const auto outcome = OutcomeAt(inspector, parameters, place);
    const Json& target = outcome->targets[IndexOf(*outcome, parameters)];
    const std::uint32_t x = NumberOf(parameters, "x");
    const std::uint32_t y = NumberOf(parameters, "y");
    if (x >= target.value("width", 0U) || y >= target.value("height", 0U))
        throw Error(Error::Kind::Request, "the image has no pixel " + std::to_string(x) + "," + std::to_string(y) +
                                              ", counted from its lower left corner");
    const Json request = {
        {"do", "history"}, {"object", target["object"]}, {"what", target["what"]}, {"x", x}, {"y", y}};
    Json writes = ReplayOf(inspector, parameters)
                      .AskFromStart(place, request, VersionOf(parameters))
                      .json.value("writes", Json::array());
    for (Json& write : writes)
        write["at"] = inspector.NameOf({place.frame, write["call"].get<std::uint32_t>()});
    return {.body = Text({{"at", inspector.NameOf(place)},
                          {"object", target["object"]},
                          {"what", target["what"]},
                          {"x", x},
                          {"y", y},
                          {"actions", std::move(writes)}})};
}

Answer AnswerInputs(Inspector& inspector, const Parameters& parameters)
{
    const Place place = PlaceOf(inspector, parameters);
    Json json = {{"at", inspector.NameOf(place)}};
    json.update(ReplayOf(inspector, parameters).Ask(place, {{"do", "inputs"}}, VersionOf(parameters)).json);
    return {.body = Text(json)};
}

Answer AnswerVertices(Inspector& inspector, const Parameters& parameters)
{
    constexpr std::uint32_t MostRows = 10'000;
    const Place place = PlaceOf(inspector, parameters);
    const auto rows = [&](std::uint32_t first, std::uint32_t count) {
        Json json = ReplayOf(inspector, parameters)
                        .Ask(place,
                             {{"do", "vertices"},
                              {"first", first},
                              {"count", count},
                              {"shaded", NumberOf(parameters, "shaded", 0) != 0},
                              {"instance", NumberOf(parameters, "instance", 0)}},
                             VersionOf(parameters))
                        .json;
        if (json.contains("problem"))
            throw Error(Error::Kind::Request, inspector.NameOf(place) + ": " + json["problem"].get<std::string>());
        return json;
    };
    if (parameters.contains("format"))
        return ExportMesh(inspector, place, TextOf(parameters, "format"),
                          [&](std::uint32_t first) { return rows(first, MostRows); });
    Json json = rows(NumberOf(parameters, "first", 0), std::min(NumberOf(parameters, "count", MostRows), MostRows));
    for (Json& array : json["arrays"])
        array["type"] = Tools::EnumText(array["type"].get<std::uint32_t>());
    return {.body = Text(json)};
}

Answer AnswerTexture(Inspector& inspector, const Parameters& parameters)
{
    Json json = AskAbout(inspector, parameters, "texture").json;
    const std::string format = TextOf(parameters, "format", "json");
    if (format == "ktx")
        return ExportTexture(
            [&](std::size_t index) {
                return AskAbout(inspector, parameters, "image", {{"index", index}});
            },
            json);
    if (format != "json")
        throw Error(Error::Kind::Request, "format needs json or ktx, found \"" + format + "\"");
    json["format"] = Tools::EnumText(json.value("format", 0U));
    return {.body = Text(json)};
}

Answer AnswerImage(Inspector& inspector, const Parameters& parameters)
{
    Json request = {{"index", NumberOf(parameters, "index", 0)}};
    if (parameters.contains("shader"))
        request["shader"] = TextOf(parameters, "shader");
    const bool isPicture = TextOf(parameters, "format") == "png";
    try {
        const ReplayAnswer answer = AskAbout(inspector, parameters, "image", std::move(request));
        return isPicture ? Answer{"image/png", EncodePicture(answer.json, answer.bytes)}
                         : ToAnswer(answer.json, answer.bytes);
    } catch (const Error& error) {
        if (error.What() != Error::Kind::Request || !isPicture || !parameters.contains("placeholder"))
            throw;
        return {"image/png", EncodeNothing()};
    }
}

/// With its sources as they were recorded, and as they are edited.
Answer AnswerProgram(Inspector& inspector, const Parameters& parameters)
{
    Json json = AskAbout(inspector, parameters, "program").json;
    const std::uint32_t program = NumberOf(parameters, "name");
    const std::vector<Edit> edits = inspector.Replay().Edits();
    json["shaders"] = Json::array();
    for (const Data::ShaderSource& shader : inspector.Index().SourcesOf(program, PlaceOf(inspector, parameters))) {
        json["shaders"].push_back({{"shader", shader.shader},
                                   {"type", Tools::EnumText(shader.type)},
                                   {"source", shader.source ? *shader.source : std::string()}});
        for (const Edit& edit : edits)
            if (edit.program == program && edit.type == shader.type)
                json["shaders"].back()["edited"] = edit.source;
    }
    return {.body = Text(json)};
}

} // namespace Inspect
