// What a replay on the driver has drawn, from where it began, and what is drawn otherwise than it was recorded.
#include "Inspect/Error.h"
#include "Inspect/Formats/Picture.h"
#include "Inspect/Queries/Request.h"

namespace Inspect {

namespace {

/// What the call left behind, which somebody looks at.
std::shared_ptr<const Outcome> OutcomeAt(const Request& request)
{
    const Place place = request.At();
    request.inspector.Select(place.frame);
    return request.Replay().At(place, request.Version());
}

Answer Targets(const Request& request)
{
    const Place place = request.At();
    const auto outcome = OutcomeAt(request);
    return Json{{"at", request.NameOf(place)},
                {"call", place.call},
                {"function", outcome->call.value("function", "")},
                {"isPlayed", outcome->call.value("isPlayed", true)},
                {"hasSnapshot", request.inspector.Replay().AllSnapshots().At(place.frame) != nullptr},
                {"failed", outcome->call.value("failed", Json::array())},
                {"targets", outcome->targets}};
}

/// From where in the capture replays can begin.
Answer KeptSnapshots(const Request& request)
{
    const Snapshots::Progress progress = request.inspector.Replay().AllSnapshots().Get();
    Json json = {{"frames", progress.frames},
                 {"bytes", progress.bytes},
                 {"mostBytes", progress.mostBytes},
                 {"framesDone", progress.framesDone},
                 {"isDone", progress.isDone}};
    if (!progress.trouble.empty())
        json["trouble"] = progress.trouble;
    return json;
}

ReplayAnswer Target(const Request& request)
{
    const auto outcome = OutcomeAt(request);
    return outcome->Target(request.IndexIn(*outcome));
}

Answer Pixels(const Request& request)
{
    return Contents(Target(request));
}

Answer Picture(const Request& request)
{
    return {"image/png", EncodePicture(Target(request))};
}

/// All actions of the frame up to the place on the image of a target, and what became of one of its pixels.
Answer Pixel(const Request& request)
{
    const Place place = request.At();
    const auto outcome = OutcomeAt(request);
    const Json& target = outcome->targets[request.IndexIn(*outcome)];
    const std::uint32_t x = request.Number("x");
    const std::uint32_t y = request.Number("y");
    if (x >= target.value("width", 0U) || y >= target.value("height", 0U))
        throw RequestError("the image has no pixel " + std::to_string(x) + "," + std::to_string(y) +
                           ", counted from its lower left corner");
    const Json history = {
        {"do", "history"}, {"object", target["object"]}, {"what", target["what"]}, {"x", x}, {"y", y}};
    Json writes = request.Replay().AskFromStart(place, history, request.Version()).json.value("writes", Json::array());
    for (Json& write : writes)
        write["at"] = request.NameOf({place.frame, write["call"].get<std::uint32_t>()});
    return Json{
        {"at", request.NameOf(place)}, {"object", target["object"]}, {"what", target["what"]}, {"x", x}, {"y", y},
        {"actions", std::move(writes)}};
}

Answer Edits(const Request& request)
{
    return Json{{"edits", ToJson(request.inspector.Replay().Edits())}};
}

} // namespace

Answer SetEdits(Inspector& inspector, const Parameters& parameters, const std::string& body)
{
    const Request request(inspector, parameters);
    inspector.Replay().SetEdits(ReadEdits(inspector, body), request.At().frame);
    return Edits(request);
}

std::span<const Query> ReplayQueries()
{
    static constexpr Query All[] = {{"targets", Targets}, {"snapshots", KeptSnapshots},
                                    {"pixels", Pixels},   {"picture", Picture},
                                    {"pixel", Pixel},     {"edits", Edits}};
    return All;
}

} // namespace Inspect
