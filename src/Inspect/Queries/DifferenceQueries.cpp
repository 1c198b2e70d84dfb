// What two drivers make of the same call.
#include <algorithm>

#include "Compare/Image.h"
#include "Inspect/Error.h"
#include "Inspect/Formats/Picture.h"
#include "Inspect/Queries/Request.h"
#include "Util/ImageFile.h"

namespace Inspect {

namespace {

/// The same target of the other driver, which may have more of them.
std::size_t IndexOf(const Outcome& outcome, const Json& wanted)
{
    for (std::size_t i = 0; i < outcome.targets.size(); ++i)
        if (outcome.targets[i]["object"] == wanted["object"] && outcome.targets[i]["what"] == wanted["what"])
            return i;
    throw RequestError("the second driver has no " + wanted.value("what", "") + " of " + wanted.value("object", "") +
                       " there");
}

/// A target on both drivers: how far they are apart, or a picture of that.
Answer Difference(const Request& request)
{
    const Place place = request.At();
    const auto expected = request.inspector.Replay().At(place, Replays::Version::Recorded);
    const auto found = request.inspector.Second().replays.At(place, Replays::Version::Recorded);
    const std::size_t index = request.IndexIn(*expected);
    const Json& target = expected->targets[index];
    const std::size_t other = IndexOf(*found, target);
    const Compare::Image a = ImageOf(expected->Target(index));
    const Compare::Image b = ImageOf(found->Target(other));
    if (!a.IsWhole() || !b.IsWhole() || a.data.empty())
        throw RequestError(target.value("problem", "the image cannot be read"));
    const Compare::Tolerance tolerance = {.steps = static_cast<double>(request.Number("tolerance", 0))};
    if (request.OneOf("format", "json", "png") == "png") {
        if (a.kind != b.kind || a.data.size() != b.data.size())
            throw RequestError("the images have other sizes or kinds of pixels");
        const std::vector<std::uint8_t> png = Util::EncodePng(Compare::DifferencePicture(a, b, tolerance.steps));
        return {"image/png", {png.begin(), png.end()}};
    }
    const Compare::Difference difference = Compare::Measure(a, b, tolerance);
    return Json{{"at", request.NameOf(place)},
                {"object", target["object"]},
                {"what", target["what"]},
                {"indexOfB", other},
                {"a", target.value("hash", "")},
                {"b", found->targets[other].value("hash", "")},
                {"pixels", difference.pixels},
                {"of", difference.allPixels},
                {"most", difference.most},
                {"x", difference.x},
                {"y", difference.y},
                {"width", difference.width},
                {"height", difference.height},
                {"text", difference.Text()}};
}

/// The first draw that the drivers do not do alike; looked for in the background, so it may be asked again.
Answer Wrong(const Request& request)
{
    WrongSearch& search = request.inspector.Second().search;
    search.Begin({std::max(request.Number("from", 1), 1U), request.Number("tolerance", 0)});
    if (request.IsSet("wait"))
        search.Wait();
    const WrongSearch::Progress progress = search.Get();
    if (!progress.error.empty())
        throw ReplayError(progress.error);
    Json json = {{"isDone", progress.isDone}};
    if (!progress.isDone)
        json["progress"] = progress.text;
    else
        json["result"] = progress.result;
    if (progress.result.contains("firstWrong")) {
        const Json& action = progress.result["firstWrong"];
        json["at"] = request.NameOf({action.value("frame", 0U), action.value("call", 0U)});
    }
    return json;
}

} // namespace

std::span<const Query> DifferenceQueries()
{
    static constexpr Query All[] = {{"difference", Difference}, {"wrong", Wrong}};
    return All;
}

} // namespace Inspect
