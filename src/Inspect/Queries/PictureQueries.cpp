// What is laid over pictures, or made of them.
#include "Inspect/Error.h"
#include "Inspect/Formats/Picture.h"
#include "Inspect/Queries/Request.h"

namespace Inspect {

namespace {

/// The overlay of a draw: bytes that say what became of each pixel, or a picture of them.
Answer Overlay(const Request& request)
{
    const Place place = request.At();
    const std::string kind = request.Text("kind", "touched");
    Replays& replay = request.inspector.Replay();
    const ReplayAnswer answer = kind == "overdraw"
                                    ? replay.AskFromStart(place, {{"do", "overdraw"}}, request.Version())
                                    : replay.Ask(place, {{"do", "overlay"}, {"kind", kind}}, request.Version());
    if (answer.json.contains("problem"))
        throw RequestError(request.NameOf(place) + " has no overlay \"" + kind +
                           "\": " + answer.json["problem"].get<std::string>());
    if (request.Text("format") == "png")
        return {"image/png", EncodeOverlay(kind, answer)};
    Answer bytes = Contents(answer);
    if (answer.json.contains("note"))
        bytes.headers["Playback-Note"] = answer.json["note"].get<std::string>();
    return bytes;
}

/// An image that a call could write to, as a shader shows it.
Answer Show(const Request& request)
{
    if (!request.Has("shader"))
        throw RequestError("shader is missing: GLSL ES with vec4 show(ivec2 at)");
    const Json show = {{"do", "show"}, {"index", request.Number("index", 0)}, {"shader", request.Text("shader")}};
    return request.ContentsOrPicture(request.inspector.Replay().Ask(request.At(), show, request.Version()));
}

/// Of frames.
Json Strip(Inspector& inspector, bool waits)
{
    if (waits)
        inspector.Index().Wait();
    const FrameIndex::Frames frames = inspector.Index().Get();
    const Thumbnails::Strip strip =
        inspector.Pictures().Frames(static_cast<std::uint32_t>(frames.frames.size()), waits);
    return {{"pictures", strip.pictures}, {"isDone", strip.isDone && frames.isDone}, {"failed", strip.failed}};
}

/// Which thumbnails there are: of the actions of a frame, or of frames where none is named.
Answer AllThumbnails(const Request& request)
{
    Inspector& inspector = request.inspector;
    const bool waits = request.IsSet("wait");
    if (!request.Has("frame"))
        return Strip(inspector, waits);
    const std::uint32_t frame = request.Number("frame");
    const auto actions = inspector.Pictures().OfActions(inspector.Calls(frame)->frame, waits);
    Json json = {
        {"frame", frame}, {"isDone", actions->isDone}, {"failed", actions->failed}, {"actions", Json::array()}};
    for (const auto& [call, change] : actions->changes)
        json["actions"].push_back(
            {{"call", call}, {"x", change.x}, {"y", change.y}, {"width", change.width}, {"height", change.height}});
    return json;
}

/// One of them: of an action at a place, or of a frame.
Answer Thumbnail(const Request& request)
{
    Thumbnails& pictures = request.inspector.Pictures();
    const bool waits = request.IsSet("wait");
    std::string png;
    if (request.Has("at")) {
        const Place place = request.At();
        const auto actions = pictures.OfActions(place.frame, waits);
        if (const auto change = actions->changes.find(place.call); change != actions->changes.end())
            png = change->second.png;
    } else {
        if (waits)
            Strip(request.inspector, true);
        png = pictures.OfFrame(request.Number("frame"));
    }
    if (png.empty())
        throw RequestError("there is no thumbnail of that, or not yet");
    return {"image/png", std::move(png)};
}

/// What the actions of a frame cost, each alone.
Answer Times(const Request& request)
{
    const auto calls = request.inspector.Calls(request.Number("frame"));
    Json answer = request.inspector.Replay()
                      .AskFromStart({calls->frame, calls->Count()}, {{"do", "times"}}, request.Version())
                      .json;
    for (Json& time : answer["times"])
        time["at"] = request.NameOf({calls->frame, time["call"].get<std::uint32_t>()});
    return Json{{"frame", calls->frame},
                {"note", answer.value("note", "")},
                {"actions", std::move(answer["times"])},
                {"failed", std::move(answer["failed"])}};
}

} // namespace

std::span<const Query> PictureQueries()
{
    static constexpr Query All[] = {{"overlay", Overlay},
                                    {"show", Show},
                                    {"thumbnails", AllThumbnails},
                                    {"thumbnail", Thumbnail},
                                    {"times", Times}};
    return All;
}

} // namespace Inspect
