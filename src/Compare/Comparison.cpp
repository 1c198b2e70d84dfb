#include "Compare/Comparison.h"

#include <algorithm>

#include "Compare/ActionSearch.h"

namespace Compare {

using Json = nlohmann::ordered_json;

const FrameResult* Result::FirstWrong() const
{
    const auto wrong = std::ranges::find_if(frames, [](const FrameResult& frame) { return frame.difference.isOver; });
    return wrong != frames.end() ? &*wrong : nullptr;
}

void Result::AddFrame(FrameResult frame)
{
    if (!frame.difference.isOver || FirstWrong())
        frame.expected = frame.found = {};
    frames.push_back(std::move(frame));
}

void Result::AddNote(const std::string& note)
{
    if (std::ranges::find(notes, note) == notes.end())
        notes.push_back(note);
}

bool Result::IsEqual() const
{
    return !FirstWrong() && !action;
}

std::string CallPlace::Text() const
{
    return function + ", call " + std::to_string(call) + " of frame " + std::to_string(frame);
}

std::string ActionResult::Name() const
{
    return kind + " " + number + " (" + place.Text() + ")";
}

std::string ActionResult::Text() const
{
    return Name() + ", " + what + " of " + object + ": " + difference.Text();
}

std::string FrameResult::Text() const
{
    return "frame " + std::to_string(frame) + ", " + object + ": " + difference.Text();
}

std::string InputDifference::Text() const
{
    const bool isUniform = kind == "uniform";
    const std::string what = isUniform ? "uniform " + name + " of program " + std::to_string(object)
                                       : kind + " " + std::to_string(object) + " (" + name + ")";
    return what + ": expected " + expected + ", found " + found;
}

Util::Outcome Comparison::Run()
{
    if (Util::Outcome failure = m_sides.Start())
        return failure;
    if (Util::Outcome failure = CompareFrames())
        return failure;
    const FrameResult* const wrong = m_result.FirstWrong();
    ActionSearch search(m_request, m_sides, m_result);
    if (!m_request.b)
        return wrong ? search.FindRecorded(wrong->frame) : std::nullopt;
    if (wrong)
        return search.Find(wrong->frame);
    // Frames that the tolerance covers may hide a draw that it does not.
    if (m_request.isByDraw && !m_result.frames.empty())
        return search.Find(m_result.frames.front().frame);
    return std::nullopt;
}

Util::Outcome Comparison::CompareFrames()
{
    for (std::uint32_t frame = m_request.frames.first; frame <= m_request.frames.last; ++frame) {
        const SidePair::Answers answers = m_sides.Ask({{"do", "frame"}, {"frame", frame}, {"pictures", true}});
        if (!answers.AreThere())
            return m_sides.Trouble();
        const std::uint32_t frames = answers.expected["frames"];
        if (answers.expected["frame"] < frame || answers.found["frame"] < frame) {
            if (frame == m_request.frames.first)
                return Util::Failure{Util::ExitStatus::Usage, m_request.capture + ": has " + std::to_string(frames) +
                                                                  " frames, expected at least " +
                                                                  std::to_string(frame)};
            break;
        }
        if (m_request.b)
            CompareFrame(frame, answers);
        else
            CompareWithRecorded(frame, answers.found);
        m_progress(frame, frames);
        if (m_request.stopsAtFirst && m_result.FirstWrong())
            break;
    }
    return std::nullopt;
}

void Comparison::CompareFrame(std::uint32_t frame, const SidePair::Answers& answers)
{
    ++m_result.framesCompared;
    const Json& expected = answers.expected["pictures"];
    const Json& found = answers.found["pictures"];
    for (std::size_t i = 0; i < std::min(expected.size(), found.size()); ++i) {
        if (IsSameImage(expected[i], found[i]))
            continue;
        FrameResult result = {frame, expected[i]["object"], {}, {}, {}};
        result.difference = m_sides.Measure(i, result.expected, result.found);
        m_result.AddFrame(std::move(result));
    }
    if (expected.size() != found.size())
        m_result.AddFrame({frame,
                           "swaps",
                           Difference::Mismatch("expected " + std::to_string(expected.size()) + " pictures, found " +
                                                std::to_string(found.size())),
                           {},
                           {}});
}

void Comparison::CompareWithRecorded(std::uint32_t frame, const Json& answer)
{
    const Json& pictures = answer["pictures"];
    for (std::size_t i = 0; i < pictures.size(); ++i) {
        const Json& picture = pictures[i];
        if (!picture.contains("recorded"))
            continue;
        ++m_result.framesCompared;
        if (picture["recorded"] == picture.value("hash", ""))
            continue;
        FrameResult result = {frame, picture["object"], {}, {}, {}};
        const bool hasReference = picture.contains("hasReference");
        if (!hasReference && !m_request.tolerance.IsExact())
            m_result.AddNote("the tolerance counts only where the capture has reference pictures, which playback "
                             "-writehashes puts in with -referencepictures: of other frames the hash decides");
        if (hasReference)
            result.difference = m_sides.MeasureReference(i, result.expected, result.found);
        // A picture of bytes may be the same although the hash, of floats, is another one.
        if (!hasReference || (result.difference.most == 0 && m_request.tolerance.IsExact()))
            result.difference =
                Difference::Mismatch("expected hash " + picture["recorded"].get<std::string>() + ", found " +
                                     picture.value("hash", picture.value("problem", "nothing")));
        if (result.difference.isOver && !m_result.FirstWrong() && !result.found.IsWhole())
            result.found = m_sides.Found(i);
        m_result.AddFrame(std::move(result));
    }
}

} // namespace Compare
