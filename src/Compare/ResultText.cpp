#include "Compare/ResultText.h"

#include <algorithm>

#include "Interfaces/Util.h"
#include "Util/ImageFile.h"

namespace Compare {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t MostLines = 12;

std::string Plural(std::size_t count, const char* what)
{
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

/// The first lines of a list, with a line that says how many there are besides.
template <class List, class Text> void AddList(std::string& text, const char* heading, const List& list, Text textOf)
{
    if (list.empty())
        return;
    text += std::string(heading) + "\n";
    for (std::size_t i = 0; i < std::min(list.size(), MostLines); ++i)
        text += "  " + textOf(list[i]) + "\n";
    if (list.size() > MostLines)
        text += "  and " + std::to_string(list.size() - MostLines) + " more\n";
}

std::string AnswerText(const AnswerDifference& answer)
{
    const auto orRecorded = [&](const std::string& live) { return live.empty() ? answer.recorded : live; };
    return answer.place.Text() + ", " + answer.parameter + ": recorded " + answer.recorded + ", expected " +
           orRecorded(answer.expected) + ", found " + orRecorded(answer.found);
}

std::string StateText(const Tools::StateDifference& difference)
{
    const auto& [kind, name] = difference.object;
    return (kind.empty() ? "" : kind + " " + name + ": ") + difference.state + ": " + difference.before.dump() +
           " -> " + difference.after.dump();
}

void AddAction(std::string& text, const WrongAction& action)
{
    if (action.cause)
        text += "caused by " + action.cause->Text() + ": " + action.causeInput->Text() + "\n";
    text += "wrong: " + action.Name() + "\n";
    text += "  " + action.what + " of " + action.object + ", thread " + std::to_string(action.thread) + ": " +
            action.difference.Text() + "\n";
    AddList(text, "What it reads and that differs:", action.inputs, [](const auto& input) { return input.Text(); });
    if (action.lastRight.call != 0)
        text += "last right: " + action.lastRight.Text() + "\n";
    AddList(text, "State that was set between them:", action.state, StateText);
    AddList(text, "Answers to the program that differ:", action.answers, AnswerText);
}

Json ToJson(const CallPlace& place)
{
    return {{"frame", place.frame}, {"call", place.call}, {"function", place.function}};
}

Json ToJson(const Difference& difference)
{
    Json json = {{"pixels", difference.pixels}, {"of", difference.allPixels},
                 {"most", difference.most},     {"x", difference.x},
                 {"y", difference.y},           {"width", difference.width},
                 {"height", difference.height}, {"tolerated", !difference.isOver}};
    if (difference.perceptual)
        json["butteraugli"] = *difference.perceptual;
    if (!difference.mismatch.empty())
        json["mismatch"] = difference.mismatch;
    return json;
}

Json ToJson(const InputDifference& input)
{
    return {{"kind", input.kind},
            {"object", input.object},
            {"name", input.name},
            {"expected", input.expected},
            {"found", input.found}};
}

Json ToJson(const ActionResult& action)
{
    Json json = ToJson(action.place);
    json.update(Json{{"kind", action.kind},
                     {"number", action.number},
                     {"what", action.what},
                     {"object", action.object},
                     {"difference", ToJson(action.difference)}});
    return json;
}

Json ToJson(const WrongAction& action)
{
    Json json = ToJson(static_cast<const ActionResult&>(action));
    json.update(Json{
        {"thread", action.thread}, {"lastRight", ToJson(action.lastRight)}, {"state", Tools::ToJson(action.state)}});
    for (const InputDifference& input : action.inputs)
        json["inputs"].push_back(ToJson(input));
    for (const AnswerDifference& answer : action.answers)
        json["answers"].push_back({{"place", ToJson(answer.place)},
                                   {"parameter", answer.parameter},
                                   {"recorded", answer.recorded},
                                   {"expected", answer.expected},
                                   {"found", answer.found}});
    if (action.cause) {
        json["cause"] = ToJson(*action.cause);
        json["causeInput"] = ToJson(*action.causeInput);
    }
    return json;
}

/// What is expected and found, for people; nothing is found by name where the recording is what is expected.
std::pair<std::string, std::string> NamesOf(const Request& request)
{
    if (!request.foundFolder.empty())
        return {request.capture, request.foundFolder};
    return {request.a.Description(), request.b ? request.b->Description() : ""};
}

} // namespace

std::string ToText(const Result& result, const Request& request)
{
    const FrameResult* const wrong = result.FirstWrong();
    const auto over = static_cast<std::size_t>(
        std::ranges::count_if(result.frames, [](const FrameResult& frame) { return frame.difference.isOver; }));
    std::string text = (result.IsEqual() ? "equal: " : "different: ") +
                       Plural(result.framesCompared, request.foundFolder.empty() ? "frame" : "picture") + " compared";
    if (wrong)
        text += ", " + std::to_string(over) + " different, the first one is frame " + std::to_string(wrong->frame);
    if (result.frames.size() > over)
        text += ", " + std::to_string(result.frames.size() - over) + " within the tolerance";
    text += "\n";
    const auto [expected, found] = NamesOf(request);
    text += "A (expected" + std::string(found.empty() ? ": as recorded; found" : "") + "): " + expected + "\n";
    if (!found.empty())
        text += "B (found): " + found + "\n";
    if (wrong)
        text += wrong->Text() + "\n";
    if (result.action)
        AddAction(text, *result.action);
    AddList(text, "By themselves, these differ:", result.actions,
            [](const ActionResult& action) { return action.Text(); });
    for (const std::string& note : result.notes)
        text += note + "\n";
    return text;
}

nlohmann::ordered_json ToJson(const Result& result, const Request& request)
{
    const auto [expected, found] = NamesOf(request);
    Json json = {{"verdict", result.IsEqual() ? "equal" : "different"},
                 {"capture", request.capture},
                 {"a", expected},
                 {"b", found.empty() ? Json() : Json(found)},
                 {"framesCompared", result.framesCompared},
                 {"frames", Json::array()}};
    for (const FrameResult& frame : result.frames)
        json["frames"].push_back(
            {{"frame", frame.frame}, {"object", frame.object}, {"difference", ToJson(frame.difference)}});
    if (result.action)
        json["firstWrong"] = ToJson(*result.action);
    for (const ActionResult& action : result.actions)
        json["actions"].push_back(ToJson(action));
    json["notes"] = result.notes;
    return json;
}

std::string WritePictures(const WrongAction& action, const Tolerance& tolerance, const std::string& folder)
{
    if (!Util::Path::CreateFolder(folder))
        return folder + ": cannot be made";
    std::string error;
    for (const auto& [name, picture] : PicturesOf(action.expected, action.found, tolerance))
        if (error.empty())
            error = Util::WriteImageFile(folder + "/" + name + ".png", Util::ImageFormat::Png, picture);
    return error;
}

} // namespace Compare
