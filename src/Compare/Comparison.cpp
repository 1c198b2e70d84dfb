#include "Compare/Comparison.h"

#include <algorithm>

#include "Compare/Perceptual.h"

namespace Compare {

namespace {

using Json = nlohmann::ordered_json;

/// The image of an answer has the same contents on both sides.
bool IsSame(const Json& expected, const Json& found)
{
    return expected.value("hash", "") == found.value("hash", "") &&
           expected.value("problem", "") == found.value("problem", "");
}

} // namespace

const FrameResult* Result::FirstWrong() const
{
    const auto wrong = std::ranges::find_if(frames, [](const FrameResult& frame) { return frame.difference.isOver; });
    return wrong != frames.end() ? &*wrong : nullptr;
}

std::string CallPlace::Text() const
{
    return function + ", call " + std::to_string(call) + " of frame " + std::to_string(frame);
}

Util::Outcome Comparison::Run()
{
    if (Util::Outcome failure = StartSides())
        return failure;
    if (Util::Outcome failure = CompareFrames())
        return failure;
    const FrameResult* const wrong = m_result.FirstWrong();
    if (!wrong)
        return std::nullopt;
    if (!m_request.b) {
        m_result.notes.emplace_back(
            "the recording has hashes of whole frames only: a second side is needed to find the "
            "wrong draw");
        return std::nullopt;
    }
    return FindAction(wrong->frame);
}

Util::Outcome Comparison::StartSides()
{
    std::string error;
    m_a = ProbeSide::Start(m_request.a, m_request.capture, error);
    m_b = m_a && m_request.b ? ProbeSide::Start(*m_request.b, m_request.capture, error) : nullptr;
    return error.empty() ? Util::Outcome() : Util::Failure{Util::ExitStatus::NoDriver, error};
}

/// Both replay at the same time.
Comparison::Answers Comparison::AskBoth(const Json& request)
{
    m_a->Ask(request);
    if (m_b)
        m_b->Ask(request);
    Answers answers;
    answers.expected = m_a->Answer();
    answers.found = m_b ? m_b->Answer() : answers.expected;
    return answers;
}

Util::Outcome Comparison::Trouble() const
{
    const std::string& error = m_a->Error().empty() && m_b ? m_b->Error() : m_a->Error();
    return Util::Failure{Util::ExitStatus::NoDriver, error};
}

// Frames.

Util::Outcome Comparison::CompareFrames()
{
    for (std::uint32_t frame = m_request.frames.first; frame <= m_request.frames.last; ++frame) {
        const Answers answers = AskBoth({{"do", "frame"}, {"frame", frame}, {"pictures", true}});
        if (!answers.AreThere())
            return Trouble();
        const std::uint32_t frames = answers.expected["frames"];
        if (answers.expected["frame"] < frame || answers.found["frame"] < frame) {
            if (frame == m_request.frames.first)
                return Util::Failure{Util::ExitStatus::Usage, m_request.capture + ": has " + std::to_string(frames) +
                                                                  " frames, expected at least " +
                                                                  std::to_string(frame)};
            break;
        }
        if (m_b)
            CompareFrame(frame, answers);
        else
            CompareWithRecorded(frame, answers.found);
        m_progress(frame, frames);
        if (m_request.stopsAtFirst && m_result.FirstWrong())
            break;
    }
    return std::nullopt;
}

void Comparison::CompareFrame(std::uint32_t frame, const Answers& answers)
{
    ++m_result.framesCompared;
    const Json& expected = answers.expected["pictures"];
    const Json& found = answers.found["pictures"];
    for (std::size_t i = 0; i < std::min(expected.size(), found.size()); ++i) {
        if (IsSame(expected[i], found[i]))
            continue;
        Image one;
        Image other;
        m_result.frames.push_back({frame, expected[i]["object"], MeasureImages(i, one, other)});
    }
    if (expected.size() != found.size()) {
        FrameResult result = {frame, "swaps", {}};
        result.difference.mismatch =
            "expected " + std::to_string(expected.size()) + " pictures, found " + std::to_string(found.size());
        result.difference.isOver = true;
        m_result.frames.push_back(std::move(result));
    }
}

void Comparison::CompareWithRecorded(std::uint32_t frame, const Json& answer)
{
    for (const Json& picture : answer["pictures"]) {
        if (!picture.contains("recorded"))
            continue;
        ++m_result.framesCompared;
        if (picture["recorded"] == picture.value("hash", ""))
            continue;
        FrameResult result = {frame, picture["object"], {}};
        result.difference.mismatch = "expected hash " + picture["recorded"].get<std::string>() + ", found " +
                                     picture.value("hash", picture.value("problem", "nothing"));
        result.difference.isOver = true;
        m_result.frames.push_back(std::move(result));
    }
}

Difference Comparison::MeasureImages(std::size_t index, Image& expected, Image& found)
{
    expected = m_a->Pixels(index);
    found = m_b->Pixels(index);
    Difference difference = Measure(expected, found, m_request.tolerance);
    if (!difference.isOver || !m_request.tolerance.perceptual || !difference.mismatch.empty())
        return difference;
    std::string error;
    difference.perceptual = PerceptualDistance(ToPicture(expected), ToPicture(found), error);
    if (!error.empty() && std::ranges::find(m_result.notes, error) == m_result.notes.end())
        m_result.notes.push_back(error);
    difference.isOver = !difference.perceptual || *difference.perceptual > *m_request.tolerance.perceptual;
    return difference;
}

// Actions.

Util::Outcome Comparison::FindAction(std::uint32_t frame)
{
    if (Util::Outcome failure = StartSides())
        return failure;
    if (!AskBoth({{"do", "frame"}, {"frame", frame - 1}}).AreThere())
        return Trouble();
    WrongAction action;
    action.lastRight = {frame, 0, ""};
    for (;;) {
        const Answers answers = AskBoth({{"do", "action"}});
        if (!answers.AreThere())
            return Trouble();
        AddAnswers(answers, frame, action.answers);
        if (!answers.expected.contains("number") || !answers.found.contains("number")) {
            m_result.notes.push_back("no draw, clear, blit, dispatch, copy or mipmap of frame " +
                                     std::to_string(frame) + " writes anything else by itself");
            return std::nullopt;
        }
        action.place = {frame, answers.found["call"], answers.found["function"]};
        action.kind = answers.found["kind"];
        action.number = answers.found["number"];
        action.thread = answers.found["thread"];
        if (IsWrong(answers, action))
            break;
        action.lastRight = action.place;
    }
    FindStateDifference(action);
    const Answers inputs = AskBoth({{"do", "inputs"}});
    if (!inputs.AreThere())
        return Trouble();
    action.inputs = CompareInputs(inputs);
    Util::Outcome failure = FindCause(action);
    m_result.action = std::move(action);
    return failure;
}

bool Comparison::IsWrong(const Answers& answers, WrongAction& action)
{
    const Json& expected = answers.expected["targets"];
    const Json& found = answers.found["targets"];
    for (std::size_t i = 0; i < std::min(expected.size(), found.size()); ++i) {
        if (IsSame(expected[i], found[i]))
            continue;
        action.difference = MeasureImages(i, action.expected, action.found);
        if (!action.difference.isOver)
            continue;
        action.what = expected[i]["what"];
        action.object = expected[i]["object"];
        return true;
    }
    if (expected.size() == found.size())
        return false;
    action.what = "images";
    action.object = (expected.size() > found.size() ? expected : found).back()["object"];
    action.difference.mismatch =
        "expected " + std::to_string(expected.size()) + " images, found " + std::to_string(found.size());
    action.difference.isOver = true;
    return true;
}

void Comparison::AddAnswers(const Answers& answers, std::uint32_t frame, std::vector<AnswerDifference>& all)
{
    const auto find = [frame](const Json& of, const Json& like) -> const Json* {
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

void Comparison::FindStateDifference(WrongAction& action)
{
    if (action.lastRight.call == 0)
        return;
    std::string error;
    const auto stateAt = [&](std::uint32_t call) -> std::optional<Tools::StateSnapshot> {
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

// Inputs.

std::string InputDifference::Text() const
{
    const std::string owner = kind == "uniform" ? " of program " : " ";
    return kind + (kind == "uniform" ? " " + name : "") + owner + std::to_string(object) +
           (kind == "uniform" ? "" : " (" + name + ")") + ": expected " + expected + ", found " + found;
}

std::vector<InputDifference> Comparison::CompareInputs(const Answers& answers)
{
    std::vector<InputDifference> differences;
    const Json& expected = answers.expected["inputs"];
    const Json& found = answers.found["inputs"];
    for (const Json& input : expected) {
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

/// Replays once more from the start and looks for the first call after which the input is not the same.
Util::Outcome Comparison::FindCause(WrongAction& action)
{
    for (const InputDifference& input : action.inputs) {
        if (Util::Outcome failure = StartSides())
            return failure;
        AskBoth({{"do", "watch"}, {"kind", input.kind}, {"object", input.object}, {"name", input.name}});
        AskBoth({{"do", "frame"}, {"frame", action.place.frame}});
        const Answers answers = AskBoth({{"do", "changes"}});
        if (!answers.AreThere())
            return Trouble();
        const Json& expected = answers.expected["changes"];
        const Json& found = answers.found["changes"];
        for (std::size_t i = 0; i < std::max(expected.size(), found.size()); ++i) {
            const bool isOnBoth = i < expected.size() && i < found.size();
            if (isOnBoth && expected[i] == found[i])
                continue;
            const auto placeOf = [i](const Json& changes) -> std::optional<CallPlace> {
                if (i >= changes.size())
                    return std::nullopt;
                return CallPlace{changes[i]["frame"], changes[i]["call"], changes[i]["function"]};
            };
            const std::optional<CallPlace> a = placeOf(expected);
            const std::optional<CallPlace> b = placeOf(found);
            // Where a side lacks a change, the call that made it on the other one is meant.
            const bool isFirst = a && (!b || std::pair(a->frame, a->call) <= std::pair(b->frame, b->call));
            const CallPlace& place = isFirst ? *a : *b;
            if (std::pair(place.frame, place.call) < std::pair(action.place.frame, action.place.call)) {
                action.cause = place;
                action.causeInput = input;
                return std::nullopt;
            }
            break;
        }
    }
    return std::nullopt;
}

} // namespace Compare
