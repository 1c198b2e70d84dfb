// What is taken out of a capture, as files of its own.
#include <algorithm>
#include <fstream>
#include <iterator>

#include "Inspect/Error.h"
#include "Inspect/Formats/MeshFile.h"
#include "Inspect/Formats/TextureFile.h"
#include "Inspect/Queries/Parameters.h"
#include "Sides/Child.h"
#include "Util/TemporaryFolder.h"

namespace Inspect {

namespace {

/// Runs playback-trim.
void Cut(Inspector& inspector, const std::vector<std::string>& part, const std::string& file)
{
    std::vector<std::string> command = {Sides::ProgramBesideThis("playback-trim"), "-o", file};
    command.insert(command.end(), part.begin(), part.end());
    command.insert(command.end(), {"--", inspector.Path()});
    std::string error;
    const auto trim = Sides::Child::Start(command, {}, error);
    if (!trim)
        throw Error(Error::Kind::Replay, error);
    if (trim->Wait() != 0)
        throw Error(Error::Kind::Replay, trim->Messages());
}

/// The last action at or in front of a call; the place itself where there is none.
Place LastAction(const FrameCalls& calls, std::uint32_t frame, std::uint32_t call)
{
    std::uint32_t action = call;
    while (action > 0 && calls.calls[action - 1].kind == Data::ActionKind::None)
        --action;
    return {frame, action > 0 ? action : call};
}

std::vector<std::string> HashesAt(Inspector& inspector, const Place& place)
{
    std::vector<std::string> hashes;
    const auto outcome = inspector.Replay().At(place, Replays::Version::Recorded);
    for (const Json& target : outcome->targets)
        hashes.push_back(target.value("what", "") + " " + target.value("hash", ""));
    return hashes;
}

std::string ReadFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace

/// A frame, or a call with what it depends on, as a capture of its own that has been replayed: its last action shows
/// what it does in the whole one.
Answer AnswerExport(Inspector& inspector, const Parameters& parameters)
{
    const Place place = PlaceOf(inspector, parameters);
    const std::string what = TextOf(parameters, "what", "call");
    if (what != "call" && what != "frame")
        throw Error(Error::Kind::Request, "what needs call or frame, found \"" + what + "\"");
    const auto calls = inspector.Calls(place.frame);
    const bool isCall = what == "call";
    if (isCall && calls->calls[place.call - 1].kind == Data::ActionKind::None)
        throw Error(Error::Kind::Request,
                    inspector.NameOf(place) + " is no draw, clear, blit, dispatch or copy, which could stand alone");
    const Util::TemporaryFolder folder;
    const std::string file = folder.File("part.glcap");
    const std::string frame = std::to_string(place.frame);
    if (isCall)
        Cut(inspector, {"--call", frame + ":" + std::to_string(place.call)}, file);
    else
        Cut(inspector, {"--frames", frame}, file);
    Inspector part({file, inspector.FirstSide()}, false, 0);
    const auto partCalls = part.Calls(1);
    const auto count = static_cast<std::uint32_t>(partCalls->calls.size());
    const Place whole =
        isCall ? place : LastAction(*calls, place.frame, static_cast<std::uint32_t>(calls->calls.size()));
    if (HashesAt(part, LastAction(*partCalls, 1, count)) != HashesAt(inspector, whole))
        throw Error(Error::Kind::Replay, "cut out, " + inspector.NameOf(whole) + " shows something else than in the " +
                                             "whole capture" + (isCall ? "; the frame may be cut out instead" : ""));
    return {"application/octet-stream", ReadFile(file), {{"Playback-Calls", std::to_string(count)}}};
}

/// All images of a texture as a KTX file.
Answer ExportTexture(const std::function<ReplayAnswer(std::size_t index)>& imageOf, const Json& texture)
{
    TextureImages all = {texture.value("target", 0U), texture.value("format", 0U), {}};
    for (std::size_t i = 0; i < texture["images"].size(); ++i) {
        ReplayAnswer answer = imageOf(i);
        all.images.push_back(
            {texture["images"][i].value("level", 0U),
             {Compare::FindPixelKind(answer.json.value("components", "")), answer.json.value("width", 0U),
              answer.json.value("height", 0U), std::move(answer.bytes)}});
    }
    return {"image/ktx", ToKtx(all)};
}

/// All vertices of a draw as a file of `format`.
Answer ExportMesh(Inspector& inspector, const Place& place, const std::string& format,
                  const std::function<Json(std::uint32_t first)>& rowsFrom)
{
    if (format != "obj" && format != "gltf")
        throw Error(Error::Kind::Request, "format needs obj or gltf, found \"" + format + "\"");
    Json all = rowsFrom(0);
    Json& rows = all["rows"];
    while (rows.size() < all.value("count", std::size_t{0})) {
        Json more = rowsFrom(static_cast<std::uint32_t>(rows.size()));
        if (more["rows"].empty())
            break;
        std::ranges::move(more["rows"], std::back_inserter(rows));
    }
    const std::string text = inspector.Calls(place.frame)->calls[place.call - 1].text;
    constexpr std::string_view Mode = "mode=";
    const std::size_t begin = text.find(Mode) + Mode.size();
    const Mesh mesh = ToMesh(all, std::string_view(text).substr(begin, text.find_first_of(",)", begin) - begin));
    return format == "obj" ? Answer{"model/obj", ToObj(mesh)} : Answer{"model/gltf+json", ToGltf(mesh)};
}

} // namespace Inspect
