// What is laid over pictures, or made of them.
#include "Inspect/Error.h"
#include "Inspect/Formats/Picture.h"
#include "Inspect/Queries/Parameters.h"

namespace Inspect {

/// The overlay of a draw: bytes that say what became of each pixel, or a picture of them.
Answer AnswerOverlay(Inspector& inspector, const Parameters& parameters)
{
    const Place place = PlaceOf(inspector, parameters);
    const std::string kind = TextOf(parameters, "kind", "touched");
    const ReplayAnswer answer =
        kind == "overdraw" ? inspector.Replay().AskFromStart(place, {{"do", "overdraw"}}, VersionOf(parameters))
                           : inspector.Replay().Ask(place, {{"do", "overlay"}, {"kind", kind}}, VersionOf(parameters));
    if (answer.json.contains("problem"))
        throw Error(Error::Kind::Request, inspector.NameOf(place) + " has no overlay \"" + kind +
                                              "\": " + answer.json["problem"].get<std::string>());
    if (TextOf(parameters, "format") == "png")
        return {"image/png", EncodeOverlay(kind, answer.json, answer.bytes)};
    Answer bytes = ToAnswer(answer.json, answer.bytes);
    if (answer.json.contains("note"))
        bytes.headers["Playback-Note"] = answer.json["note"].get<std::string>();
    return bytes;
}

/// An image that a call could write to, as a shader shows it.
Answer AnswerShow(Inspector& inspector, const Parameters& parameters)
{
    if (!parameters.contains("shader"))
        throw Error(Error::Kind::Request, "shader is missing: GLSL ES with vec4 show(ivec2 at)");
    const ReplayAnswer answer = inspector.Replay().Ask(
        PlaceOf(inspector, parameters),
        {{"do", "show"}, {"index", NumberOf(parameters, "index", 0)}, {"shader", TextOf(parameters, "shader")}},
        VersionOf(parameters));
    if (TextOf(parameters, "format") == "png" && !answer.json.contains("problem"))
        return {"image/png", EncodePicture(answer.json, answer.bytes)};
    return ToAnswer(answer.json, answer.bytes);
}

/// Which thumbnails there are: of the actions of a frame, or of frames where none is named.
Answer AnswerThumbnails(Inspector& inspector, const Parameters& parameters)
{
    const bool waits = IsSet(parameters, "wait");
    if (!parameters.contains("frame")) {
        if (waits)
            inspector.Index().Wait();
        const FrameIndex::Frames frames = inspector.Index().Get();
        const Thumbnails::Strip strip =
            inspector.Pictures().Frames(static_cast<std::uint32_t>(frames.frames.size()), waits);
        return {
            .body = Text(
                {{"pictures", strip.pictures}, {"isDone", strip.isDone && frames.isDone}, {"failed", strip.failed}})};
    }
    const std::uint32_t frame = NumberOf(parameters, "frame");
    const auto actions = inspector.Pictures().OfActions(inspector.Calls(frame)->frame, waits);
    Json json = {
        {"frame", frame}, {"isDone", actions->isDone}, {"failed", actions->failed}, {"actions", Json::array()}};
    for (const auto& [call, change] : actions->changes)
        json["actions"].push_back(
            {{"call", call}, {"x", change.x}, {"y", change.y}, {"width", change.width}, {"height", change.height}});
    return {.body = Text(json)};
}

/// One of them: of an action at a place, or of a frame.
Answer AnswerThumbnail(Inspector& inspector, const Parameters& parameters)
{
    const bool waits = IsSet(parameters, "wait");
    std::string png;
    if (parameters.contains("at")) {
        const Place place = PlaceOf(inspector, parameters);
        const auto actions = inspector.Pictures().OfActions(place.frame, waits);
        if (const auto change = actions->changes.find(place.call); change != actions->changes.end())
            png = change->second.png;
    } else {
        if (waits)
            AnswerThumbnails(inspector, {{"wait", "1"}});
        png = inspector.Pictures().OfFrame(NumberOf(parameters, "frame"));
    }
    if (png.empty())
        throw Error(Error::Kind::Request, "there is no thumbnail of that, or not yet");
    return {"image/png", std::move(png)};
}

/// What the actions of a frame cost, each alone.
Answer AnswerTimes(Inspector& inspector, const Parameters& parameters)
{
    const auto calls = inspector.Calls(NumberOf(parameters, "frame"));
    const Place last = {calls->frame, static_cast<std::uint32_t>(calls->calls.size())};
    Json answer = inspector.Replay().AskFromStart(last, {{"do", "times"}}, VersionOf(parameters)).json;
    Json json = {{"frame", calls->frame}, {"note", answer.value("note", "")}};
    for (Json& time : answer["times"])
        time["at"] = inspector.NameOf({calls->frame, time["call"].get<std::uint32_t>()});
    json["actions"] = std::move(answer["times"]);
    json["failed"] = std::move(answer["failed"]);
    return {.body = Text(json)};
}

} // namespace Inspect
