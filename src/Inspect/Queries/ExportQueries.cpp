// What is taken out of a capture, as files of its own.
#include <fstream>
#include <iterator>

#include "Inspect/Error.h"
#include "Inspect/Queries/Request.h"
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
        throw ReplayError(error);
    if (trim->Wait() != 0)
        throw ReplayError(trim->Messages());
}

/// The last call where the frame has none.
Place LastAction(const FrameCalls& calls)
{
    const std::uint32_t action = calls.ActionUpTo(calls.Count());
    return {calls.frame, action != 0 ? action : calls.Count()};
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

/// A frame, or a call with what it depends on, as a capture of its own that has been replayed: its last action shows
/// what it does in the whole one.
Answer Export(const Request& request)
{
    Inspector& inspector = request.inspector;
    const Place place = request.At();
    const bool isCall = request.OneOf("what", "call", "frame") == "call";
    const auto calls = inspector.Calls(place.frame);
    if (isCall && !calls->IsAction(place.call))
        throw RequestError(request.NameOf(place) +
                           " is no draw, clear, blit, dispatch or copy, which could stand alone");
    const Util::TemporaryFolder folder;
    const std::string file = folder.File("part.glcap");
    const std::string frame = std::to_string(place.frame);
    if (isCall)
        Cut(inspector, {"--call", frame + ":" + std::to_string(place.call)}, file);
    else
        Cut(inspector, {"--frames", frame}, file);
    Inspector part({file, inspector.FirstSide()}, false, 0);
    const auto partCalls = part.Calls(1);
    const Place whole = isCall ? place : LastAction(*calls);
    if (HashesAt(part, LastAction(*partCalls)) != HashesAt(inspector, whole))
        throw ReplayError("cut out, " + request.NameOf(whole) + " shows something else than in the whole capture" +
                          (isCall ? "; the frame may be cut out instead" : ""));
    return {"application/octet-stream", ReadFile(file), {{"Playback-Calls", std::to_string(partCalls->Count())}}};
}

} // namespace

std::span<const Query> ExportQueries()
{
    static constexpr Query All[] = {{"export", Export}};
    return All;
}

} // namespace Inspect
