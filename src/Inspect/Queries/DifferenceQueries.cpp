// What two drivers make of the same call.
#include <algorithm>

#include "Compare/Image.h"
#include "Inspect/Error.h"
#include "Inspect/Queries/Parameters.h"
#include "Util/ImageFile.h"

namespace Inspect {

namespace {

Compare::Image ImageOf(const Outcome& outcome, std::size_t index)
{
    const Json& target = outcome.targets[index];
    return {Compare::FindPixelKind(target.value("components", "")), target.value("width", 0U),
            target.value("height", 0U), outcome.contents[index]};
}

/// The same target of the other driver, which may have more of them.
std::size_t Find(const Outcome& outcome, const Json& wanted)
{
    for (std::size_t i = 0; i < outcome.targets.size(); ++i)
        if (outcome.targets[i]["object"] == wanted["object"] && outcome.targets[i]["what"] == wanted["what"])
            return i;
    throw Error(Error::Kind::Request, "the second driver has no " + wanted.value("what", "") + " of " +
                                          wanted.value("object", "") + " there");
}

} // namespace

/// A target on both drivers: how far they are apart, or a picture of that.
Answer AnswerDifference(Inspector& inspector, const Parameters& parameters)
{
    const Place place = PlaceOf(inspector, parameters);
    const auto expected = inspector.Replay().At(place, Replays::Version::Recorded);
    const auto found = inspector.Second().At(place, Replays::Version::Recorded);
    const std::size_t index = NumberOf(parameters, "index", 0);
    if (index >= expected->contents.size())
        throw Error(Error::Kind::Request, "index needs a number below " + std::to_string(expected->contents.size()) +
                                              ", found " + std::to_string(index));
    const Json& target = expected->targets[index];
    const std::size_t other = Find(*found, target);
    const Compare::Image a = ImageOf(*expected, index);
    const Compare::Image b = ImageOf(*found, other);
    if (!a.IsWhole() || !b.IsWhole() || a.data.empty())
        throw Error(Error::Kind::Request, target.value("problem", "the image cannot be read"));
    const Compare::Tolerance tolerance = {.steps = static_cast<double>(NumberOf(parameters, "tolerance", 0))};
    const std::string format = TextOf(parameters, "format", "json");
    const bool isComparable = a.kind == b.kind && a.data.size() == b.data.size();
    if (format == "png" && isComparable) {
        const std::vector<std::uint8_t> png = Util::EncodePng(Compare::DifferencePicture(a, b, tolerance.steps));
        return {"image/png", {png.begin(), png.end()}};
    }
    if (format != "json")
        throw Error(Error::Kind::Request, isComparable ? "format needs json or png, found \"" + format + "\""
                                                       : "the images have other sizes or kinds of pixels");
    const Compare::Difference difference = Compare::Measure(a, b, tolerance);
    return {.body = Text({{"at", inspector.NameOf(place)},
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
                          {"text", difference.Text()}})};
}

/// The first draw that the drivers do not do alike; looked for in the background, so it may be asked again.
Answer AnswerWrong(Inspector& inspector, const Parameters& parameters)
{
    WrongSearch& search = inspector.Search();
    search.Begin({std::max(NumberOf(parameters, "from", 1), 1U), NumberOf(parameters, "tolerance", 0)});
    if (TextOf(parameters, "wait", "0") != "0")
        search.Wait();
    const WrongSearch::Progress progress = search.Get();
    if (!progress.error.empty())
        throw Error(Error::Kind::Replay, progress.error);
    Json json = {{"isDone", progress.isDone}};
    if (!progress.isDone)
        json["progress"] = progress.text;
    else
        json["result"] = progress.result;
    if (progress.result.contains("firstWrong")) {
        const Json& action = progress.result["firstWrong"];
        json["at"] = inspector.NameOf({action.value("frame", 0U), action.value("call", 0U)});
    }
    return {.body = Text(json)};
}

} // namespace Inspect
