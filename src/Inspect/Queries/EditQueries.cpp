// What is replayed otherwise than it was recorded.
#include "Inspect/Queries/Parameters.h"
#include "Inspect/Replay/Edit.h"

namespace Inspect {

Answer AnswerEdits(Inspector& inspector, const Parameters&)
{
    return {.body = Text({{"edits", ToJson(inspector.Replay().Edits())}})};
}

Answer SetEdits(Inspector& inspector, const Parameters& parameters, const std::string& body)
{
    inspector.Replay().SetEdits(ReadEdits(inspector, body), PlaceOf(inspector, parameters).frame);
    return AnswerEdits(inspector, parameters);
}

Replays::Version VersionOf(const Parameters& parameters)
{
    return TextOf(parameters, "edited", "1") == "0" ? Replays::Version::Recorded : Replays::Version::Edited;
}

} // namespace Inspect
