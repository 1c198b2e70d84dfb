#include "Inspect/Queries/Request.h"

#include "Inspect/Error.h"
#include "Inspect/Formats/Picture.h"

namespace Inspect {

std::string Request::Text(const std::string& name, const std::string& otherwise) const
{
    const auto value = m_parameters.find(name);
    return value != m_parameters.end() ? value->second : otherwise;
}

std::uint32_t Request::Number(const std::string& name, std::uint32_t otherwise) const
{
    return Has(name) ? Number(name) : otherwise;
}

std::uint32_t Request::Number(const std::string& name) const
{
    if (!Has(name))
        throw RequestError(name + " is missing");
    if (const auto number = ParseNumber(Text(name)))
        return *number;
    throw RequestError(name + " needs a number, found \"" + Text(name) + "\"");
}

std::string Request::OneOf(const std::string& name, const std::string& first, const std::string& second) const
{
    std::string word = Text(name, first);
    if (word != first && word != second)
        throw RequestError(name + " needs " + first + " or " + second + ", found \"" + word + "\"");
    return word;
}

Place Request::At() const
{
    if (!Has("at"))
        throw RequestError("at is missing: a place such as 57:12");
    return inspector.Find(Text("at"));
}

Replays::Version Request::Version() const
{
    return Text("edited", "1") == "0" ? Replays::Version::Recorded : Replays::Version::Edited;
}

Replays& Request::Replay() const
{
    return OneOf("side", "a", "b") == "a" ? inspector.Replay() : inspector.Second().replays;
}

std::size_t Request::IndexIn(const Outcome& outcome) const
{
    const std::size_t index = Number("index", 0);
    if (index < outcome.contents.size())
        return index;
    throw RequestError("index needs a number below " + std::to_string(outcome.contents.size()) + ", found " +
                       std::to_string(index));
}

ReplayAnswer Request::AskAbout(const char* what, Json more) const
{
    more["do"] = what;
    more["name"] = Number("name");
    ReplayAnswer answer = Ask(more);
    if (answer.json.contains("problem") && answer.bytes.empty())
        throw RequestError(std::string(what) + " " + Text("name") + ": " + answer.json["problem"].get<std::string>());
    return answer;
}

Json Request::AskVertices(Json part) const
{
    part["do"] = "vertices";
    Json answer = Ask(part).json;
    if (answer.contains("problem"))
        throw RequestError(NameOf(At()) + ": " + answer["problem"].get<std::string>());
    return answer;
}

Answer Request::ContentsOrPicture(const ReplayAnswer& answer) const
{
    return Text("format") == "png" ? Answer("image/png", EncodePicture(answer)) : Contents(answer);
}

Answer Contents(const ReplayAnswer& answer)
{
    const auto& [json, bytes] = answer;
    if (json.contains("problem") && bytes.empty())
        throw RequestError(json["problem"].get<std::string>());
    return {"application/octet-stream",
            std::string(bytes.begin(), bytes.end()),
            {{"Playback-Components", json.value("components", "")},
             {"Playback-Width", std::to_string(json.value("width", 0U))},
             {"Playback-Height", std::to_string(json.value("height", 0U))}}};
}

std::uint32_t ProgramIn(const Tools::StateSnapshot& state)
{
    const auto context = state.objects.find({});
    if (context == state.objects.end())
        return 0;
    const auto program = context->second.find("GL_CURRENT_PROGRAM");
    return program != context->second.end() && program->second.is_number() ? program->second.get<std::uint32_t>() : 0;
}

} // namespace Inspect
