#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "Compare/Image.h"
#include "Compare/ProbeSide.h"
#include "Sides/Side.h"
#include "Tools/Info/StateText.h"
#include "Util/Failure.h"
#include "Util/FrameRange.h"

namespace Compare {

/// What is compared with what.
struct Request {
    std::string capture;
    /// What is expected; without a side B, what is found.
    Sides::Side a;
    /// What is found; nothing: side A is compared with the hashes of the recording.
    std::optional<Sides::Side> b;
    Tolerance tolerance;
    Util::FrameRange frames;
    /// Frames after the first one that differs are not replayed.
    bool stopsAtFirst = false;
};

/// What a frame showed on both sides.
struct FrameResult {
    std::uint32_t frame = 0;
    /// "surface 1" or "framebuffer 3".
    std::string object;
    Difference difference;
};

/// Something that a draw reads and that is not the same on both sides.
struct InputDifference {
    /// "uniform", "texture" or "buffer".
    std::string kind;
    /// Captured name of the program, texture or buffer.
    std::uint32_t object = 0;
    /// As Probe::Input has it.
    std::string name;
    std::string expected;
    std::string found;

    [[nodiscard]] std::string Text() const;
};

/// A call of a capture.
struct CallPlace {
    std::uint32_t frame = 0;
    std::uint32_t call = 0;
    std::string function;

    bool operator==(const CallPlace&) const = default;
    /// "glTexSubImage2D, call 12 of frame 3".
    [[nodiscard]] std::string Text() const;
};

/// An answer to the program that was not the same on both sides, or not the recorded one on one of them.
struct AnswerDifference {
    CallPlace place;
    std::string parameter;
    /// As JSON; empty where it was the recorded one.
    std::string recorded;
    std::string expected;
    std::string found;
};

/// The first action after which something that it writes to is another one.
struct WrongAction {
    CallPlace place;
    /// As playback-info --dump has it: "draw", "12".
    std::string kind;
    std::string number;
    std::uint32_t thread = 0;
    /// What differs, and how much: "colour 0" of "framebuffer 3".
    std::string what;
    std::string object;
    Difference difference;
    Image expected;
    Image found;
    /// Between the action in front, which was right, and this one.
    CallPlace lastRight;
    std::vector<Tools::StateDifference> state;
    std::vector<AnswerDifference> answers;
    std::vector<InputDifference> inputs;
    /// The call that made the first of the inputs another one.
    std::optional<CallPlace> cause;
    std::optional<InputDifference> causeInput;
};

struct Result {
    std::uint32_t framesCompared = 0;
    /// Frames that differ at all, tolerated ones too.
    std::vector<FrameResult> frames;
    std::optional<WrongAction> action;
    /// Why no action was found although a frame differs, and the like.
    std::vector<std::string> notes;

    /// The first frame that is further apart than tolerated; null without one.
    [[nodiscard]] const FrameResult* FirstWrong() const;
};

/// Compares two replays of a capture, each by a process of its own: frame by frame, then action by action in the first
/// frame that differs, then what that action reads.
class Comparison {
public:
    /// `progress` hears of each frame.
    Comparison(Request request, std::function<void(std::uint32_t frame, std::uint32_t frames)> progress)
        : m_request(std::move(request)), m_progress(std::move(progress))
    {
    }

    Util::Outcome Run();
    [[nodiscard]] const Result& Get() const { return m_result; }

private:
    using Json = nlohmann::ordered_json;
    struct Answers {
        Json expected;
        Json found;
        [[nodiscard]] bool AreThere() const { return expected.is_object() && found.is_object(); }
    };
    Util::Outcome StartSides();
    Answers AskBoth(const Json& request);
    [[nodiscard]] Util::Outcome Trouble() const;

    Util::Outcome CompareFrames();
    void CompareFrame(std::uint32_t frame, const Answers& answers);
    void CompareWithRecorded(std::uint32_t frame, const Json& answer);
    Difference MeasureImages(std::size_t index, Image& expected, Image& found);

    Util::Outcome FindAction(std::uint32_t frame);
    bool IsWrong(const Answers& answers, WrongAction& action);
    static void AddAnswers(const Answers& answers, std::uint32_t frame, std::vector<AnswerDifference>& all);
    void FindStateDifference(WrongAction& action);
    static std::vector<InputDifference> CompareInputs(const Answers& answers);
    Util::Outcome FindCause(WrongAction& action);

    Request m_request;
    std::function<void(std::uint32_t, std::uint32_t)> m_progress;
    std::unique_ptr<ProbeSide> m_a;
    /// Null where the recording is what is expected.
    std::unique_ptr<ProbeSide> m_b;
    Result m_result;
};

} // namespace Compare
