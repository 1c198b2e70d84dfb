#include "Compare/ActionSearch.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <variant>

#include "Data/Capture/CaptureSource.h"

namespace Compare {

namespace {

using Json = nlohmann::ordered_json;

/// What comes before the action of an answer is taken over from there.
void Describe(const Json& answer, WrongAction& action)
{
    action.place = {answer["frame"], answer["call"], answer["function"]};
    action.kind = answer["kind"];
    action.number = answer["number"];
    action.thread = answer["thread"];
}

/// Answers to the program that are not the same on both sides, or not recorded so.
void AddAnswers(const SidePair::Answers& answers, std::uint32_t frame, std::vector<AnswerDifference>& all)
{
    const auto find = [](const Json& of, const Json& like) -> const Json* {
        const auto found = std::ranges::find_if(of, [&](const Json& answer) {
            return answer["call"] == like["call"] && answer["parameter"] == like["parameter"];
        });
        return found != of.end() ? &*found : nullptr;
    };
    const Json& expected = answers.expected["answers"];
    const Json& found = answers.found["answers"];
    const auto add = [&](const Json& answer, const Json* a, const Json* b) {
        all.push_back({{frame, answer["call"], answer["function"]},
                       answer["parameter"],
                       answer["recorded"].dump(),
                       a ? (*a)["live"].dump() : "",
                       b ? (*b)["live"].dump() : ""});
    };
    for (const Json& answer : expected)
        if (const Json* const other = find(found, answer); !other || (*other)["live"] != answer["live"])
            add(answer, &answer, other);
    for (const Json& answer : found)
        if (!find(expected, answer))
            add(answer, nullptr, &answer);
}

std::vector<InputDifference> CompareInputs(const SidePair::Answers& answers)
{
    std::vector<InputDifference> differences;
    const Json& found = answers.found["inputs"];
    for (const Json& input : answers.expected["inputs"]) {
        const auto other = std::ranges::find_if(found, [&](const Json& candidate) {
            return candidate["kind"] == input["kind"] && candidate["name"] == input["name"];
        });
        if (other == found.end() || *other == input)
            continue;
        const char* const value = input.contains("values") ? "values" : "hash";
        differences.push_back(
            {input["kind"], input["object"], input["name"], input[value].dump(), (*other)[value].dump()});
    }
    return differences;
}

/// The first call after which what was watched is not the same on both sides.
std::optional<CallPlace> FirstOtherChange(const Json& expected, const Json& found)
{
    const auto placeOf = [](const Json& changes, std::size_t i) -> std::optional<CallPlace> {
        if (i >= changes.size())
            return std::nullopt;
        return CallPlace{changes[i]["frame"], changes[i]["call"], changes[i]["function"]};
    };
    for (std::size_t i = 0; i < std::max(expected.size(), found.size()); ++i) {
        if (i < expected.size() && i < found.size() && expected[i] == found[i])
            continue;
        // Where a side lacks a change, the call that made it on the other one is meant.
        const std::optional<CallPlace> a = placeOf(expected, i);
        const std::optional<CallPlace> b = placeOf(found, i);
        return a && (!b || !b->IsBefore(*a)) ? a : b;
    }
    return std::nullopt;
}

} // namespace

bool IsSameImage(const Json& expected, const Json& found)
{
    return expected.value("hash", "") == found.value("hash", "") &&
           expected.value("problem", "") == found.value("problem", "");
}

Util::Outcome ActionSearch::GoTo(std::uint32_t frame)
{
    if (Util::Outcome failure = m_sides.Start())
        return failure;
    return m_sides.Ask({{"do", "frame"}, {"frame", frame - 1}}).AreThere() ? std::nullopt : m_sides.Trouble();
}

Util::Outcome ActionSearch::Find(std::uint32_t frame)
{
    std::string number;
    if (m_request.isByDraw) {
        if (Util::Outcome failure = FindByDraw(frame, number))
            return failure;
        if (number.empty())
            return std::nullopt;
    }
    WrongAction action;
    bool isThere = false;
    if (Util::Outcome failure = GoTo(frame))
        return failure;
    if (Util::Outcome failure = StepTo(frame, number, action, isThere))
        return failure;
    if (!isThere) {
        m_result.notes.push_back("no draw, clear, blit, dispatch, copy or mipmap of frame " + std::to_string(frame) +
                                 " writes anything else by itself");
        return std::nullopt;
    }
    Util::Outcome failure = Explain(action);
    m_result.action = std::move(action);
    return failure;
}

Util::Outcome ActionSearch::FindRecorded(std::uint32_t frame)
{
    if (Util::Outcome failure = GoTo(frame))
        return failure;
    WrongAction action;
    bool hasHashes = false;
    Json found;
    do {
        action.lastRight = action.place;
        found = m_sides.Ask({{"do", "action"}}).found;
        if (!found.is_object())
            return m_sides.Trouble();
        if (!found.contains("number")) {
            m_result.AddNote(hasHashes ? "no draw, clear, blit, dispatch, copy or mipmap of frame " +
                                             std::to_string(frame) + " has drawn to anything else than recorded"
                                       : "the capture has hashes of whole frames only: playback-record --hash=draws, "
                                         "or a second side, finds the wrong draw");
            return std::nullopt;
        }
        Describe(found, action);
        hasHashes |= found.contains("recorded");
    } while (!found.contains("recorded") || found["recorded"] == found["drawn"]);
    const std::uint32_t framebuffer = found["framebuffer"];
    action.what = "colour";
    action.object = framebuffer == 0 ? "default framebuffer" : "framebuffer " + std::to_string(framebuffer);
    action.difference = Difference::Mismatch("expected " + found["recorded"].get<std::string>() + ", found " +
                                             found["drawn"].get<std::string>());
    FindStateDifference(action);
    m_result.action = std::move(action);
    return std::nullopt;
}

Util::Outcome ActionSearch::FindByDraw(std::uint32_t frame, std::string& number)
{
    if (Util::Outcome failure = GoTo(frame))
        return failure;
    for (;;) {
        const SidePair::Answers answers = m_sides.Ask({{"do", "action"}});
        if (!answers.AreThere())
            return m_sides.Trouble();
        if (!answers.expected.contains("number") || !answers.found.contains("number"))
            break;
        WrongAction action;
        Describe(answers.found, action);
        if (Judge(answers, action))
            m_result.actions.push_back(action);
    }
    const auto furthest = std::ranges::max_element(m_result.actions, {}, [](const ActionResult& action) {
        return std::pair(!action.difference.mismatch.empty(),
                         static_cast<double>(action.difference.pixels) * action.difference.most);
    });
    if (furthest != m_result.actions.end())
        number = furthest->number;
    return std::nullopt;
}

Util::Outcome ActionSearch::StepTo(std::uint32_t frame, const std::string& number, WrongAction& action, bool& isThere)
{
    action.lastRight = {frame, 0, ""};
    for (;;) {
        const SidePair::Answers answers = m_sides.Ask({{"do", "action"}});
        if (!answers.AreThere())
            return m_sides.Trouble();
        AddAnswers(answers, frame, action.answers);
        if (!answers.expected.contains("number") || !answers.found.contains("number"))
            return std::nullopt;
        Describe(answers.found, action);
        const bool isWrong = Judge(answers, action);
        if (isWrong && (number.empty() || number == action.number)) {
            isThere = true;
            return std::nullopt;
        }
        action.lastRight = action.place;
    }
}

/// Also gives side B what was expected, where its actions are to start from that.
bool ActionSearch::Judge(const SidePair::Answers& answers, WrongAction& action)
{
    const Json& expected = answers.expected["targets"];
    const Json& found = answers.found["targets"];
    bool isWrong = false;
    for (std::size_t i = 0; i < std::min(expected.size(), found.size()); ++i) {
        if (IsSameImage(expected[i], found[i]))
            continue;
        Image one;
        Image other;
        const Difference difference = m_sides.Measure(i, one, other);
        if ((m_request.isFromReference || m_request.isByDraw) && difference.mismatch.empty() &&
            !m_sides.PutExpected(i, one))
            m_result.AddNote(expected[i]["what"].get<std::string>() + " of " +
                             expected[i]["object"].get<std::string>() + " could not be given the expected contents");
        if (!difference.isOver || isWrong)
            continue;
        isWrong = true;
        action.difference = difference;
        action.expected = std::move(one);
        action.found = std::move(other);
        action.what = expected[i]["what"];
        action.object = expected[i]["object"];
    }
    if (isWrong || expected.size() == found.size())
        return isWrong;
    action.what = "images";
    action.object = (expected.size() > found.size() ? expected : found).back()["object"];
    action.difference = Difference::Mismatch("expected " + std::to_string(expected.size()) + " images, found " +
                                             std::to_string(found.size()));
    return true;
}

Util::Outcome ActionSearch::Explain(WrongAction& action)
{
    FindStateDifference(action);
    const SidePair::Answers inputs = m_sides.Ask({{"do", "inputs"}});
    if (!inputs.AreThere())
        return m_sides.Trouble();
    action.inputs = CompareInputs(inputs);
    return FindCause(action);
}

void ActionSearch::FindStateDifference(WrongAction& action) const
{
    if (action.lastRight.call == 0)
        return;
    const auto stateAt = [&](std::uint32_t call) -> std::optional<Tools::StateSnapshot> {
        std::string error;
        const auto source = Data::CaptureSource::Open(m_request.capture, error);
        if (!source)
            return std::nullopt;
        Data::Diagnostics quiet(m_request.capture, [](const std::string&) {});
        auto state = Tools::StateAt(*source, quiet, {action.place.frame, call});
        auto* const snapshot = std::get_if<Tools::StateSnapshot>(&state);
        return snapshot ? std::optional(std::move(*snapshot)) : std::nullopt;
    };
    const auto before = stateAt(action.lastRight.call);
    const auto after = stateAt(action.place.call);
    if (before && after)
        action.state = Tools::Compare(*before, *after);
}

/// Replays once more from the start for each input, until a call is found that made one of them another one.
Util::Outcome ActionSearch::FindCause(WrongAction& action)
{
    for (const InputDifference& input : action.inputs) {
        if (Util::Outcome failure = m_sides.Start())
            return failure;
        m_sides.Ask({{"do", "watch"}, {"kind", input.kind}, {"object", input.object}, {"name", input.name}});
        m_sides.Ask({{"do", "frame"}, {"frame", action.place.frame}});
        const SidePair::Answers answers = m_sides.Ask({{"do", "changes"}});
        if (!answers.AreThere())
            return m_sides.Trouble();
        const std::optional<CallPlace> place = FirstOtherChange(answers.expected["changes"], answers.found["changes"]);
        if (place && place->IsBefore(action.place)) {
            action.cause = place;
            action.causeInput = input;
            return std::nullopt;
        }
    }
    return std::nullopt;
}

} // namespace Compare
