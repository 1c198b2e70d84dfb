#include "Inspect/Queries/Query.h"

#include <optional>

#include "Inspect/Error.h"
#include "Inspect/Queries/Parameters.h"
#include "Util/Spelling.h"

namespace Inspect {

namespace {

struct Query {
    const char* name;
    Answer (*ask)(Inspector&, const Parameters&);
};

constexpr Query Queries[] = {
    {"capture", AnswerCapture},
    {"frames", AnswerFrames},
    {"actions", AnswerActions},
    {"calls", AnswerCalls},
    {"call", AnswerCall},
    {"state", AnswerState},
    {"resources", AnswerResources},
    {"targets", AnswerTargets},
    {"pixels", AnswerPixels},
    {"picture", AnswerPicture},
    {"pixel", AnswerPixel},
    {"inputs", AnswerInputs},
    {"vertices", AnswerVertices},
    {"texture", AnswerTexture},
    {"image", AnswerImage},
    {"buffer", AnswerBuffer},
    {"program", AnswerProgram},
    {"overlay", AnswerOverlay},
    {"show", AnswerShow},
    {"thumbnails", AnswerThumbnails},
    {"thumbnail", AnswerThumbnail},
    {"times", AnswerTimes},
    {"export", AnswerExport},
    {"uses", AnswerUses},
    {"earlier-uses", AnswerEarlierUses},
    {"unused", AnswerUnused},
    {"labels", AnswerLabels},
    {"difference", AnswerDifference},
    {"wrong", AnswerWrong},
    {"setters", AnswerSetters},
    {"edits", AnswerEdits},
    {"snapshots", AnswerSnapshots},
};

} // namespace

std::vector<std::string> QueryNames()
{
    std::vector<std::string> names;
    for (const Query& query : Queries)
        names.emplace_back(query.name);
    return names;
}

Answer Ask(Inspector& inspector, const std::string& name, const Parameters& parameters)
{
    std::vector<std::string_view> names;
    for (const Query& query : Queries) {
        if (name == query.name) {
            // Thumbnails are made while nobody waits for anything else.
            std::optional<Inspector::Asking> asking;
            if (!name.starts_with("thumbnail"))
                asking.emplace(inspector);
            return query.ask(inspector, parameters);
        }
        names.emplace_back(query.name);
    }
    throw Error(Error::Kind::Request, "there is no query \"" + name + "\"" + Util::Suggestion(name, names));
}

std::string TextOf(const Parameters& parameters, const std::string& name, const std::string& otherwise)
{
    const auto value = parameters.find(name);
    return value != parameters.end() ? value->second : otherwise;
}

std::uint32_t NumberOf(const Parameters& parameters, const std::string& name, std::uint32_t otherwise)
{
    const auto value = parameters.find(name);
    if (value == parameters.end())
        return otherwise;
    if (const auto number = ParseNumber(value->second))
        return *number;
    throw Error(Error::Kind::Request, name + " needs a number, found \"" + value->second + "\"");
}

std::uint32_t NumberOf(const Parameters& parameters, const std::string& name)
{
    if (!parameters.contains(name))
        throw Error(Error::Kind::Request, name + " is missing");
    return NumberOf(parameters, name, 0);
}

bool IsSet(const Parameters& parameters, const std::string& name)
{
    return TextOf(parameters, name, "0") != "0";
}

Replays& ReplayOf(Inspector& inspector, const Parameters& parameters)
{
    const std::string side = TextOf(parameters, "side", "a");
    if (side != "a" && side != "b")
        throw Error(Error::Kind::Request, "side needs a or b, found \"" + side + "\"");
    return side == "a" ? inspector.Replay() : inspector.Second();
}

Place PlaceOf(Inspector& inspector, const Parameters& parameters)
{
    const auto at = parameters.find("at");
    if (at == parameters.end())
        throw Error(Error::Kind::Request, "at is missing: a place such as 57:12");
    return inspector.Find(at->second);
}

} // namespace Inspect
