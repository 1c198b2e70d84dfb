// What a comparison is asked for, and what came of it.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Compare/Image.h"
#include "Sides/Side.h"
#include "Tools/Info/StateText.h"
#include "Util/FrameRange.h"

namespace Compare {

/// What is compared with what.
struct Request {
    std::string capture;
    /// What is expected; without a side B, what is found.
    Sides::Side a;
    /// What is found; nothing: side A is compared with the hashes of the recording.
    std::optional<Sides::Side> b;
    /// Nothing is replayed: `capture` is a folder of pictures that are expected, and this one has those that are found.
    std::string foundFolder = {};
    Tolerance tolerance;
    Util::FrameRange frames;
    /// Frames after the first one that differs are not replayed.
    bool stopsAtFirst = false;
    /// Each action of B starts from what A has: differences that grow out of tolerated ones do not count.
    bool isFromReference = false;
    /// The same, and all actions of the frame are judged, each for itself.
    bool isByDraw = false;
    /// How long all of it may take; nothing: as long as it takes.
    std::optional<std::chrono::seconds> timeLimit;
};

/// What a frame showed on both sides.
struct FrameResult {
    std::uint32_t frame = 0;
    /// "surface 1" or "framebuffer 3".
    std::string object;
    Difference difference;
    /// Of the first frame that is further apart than tolerated.
    Image expected;
    Image found;

    [[nodiscard]] std::string Text() const;
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

    [[nodiscard]] bool IsBefore(const CallPlace& other) const
    {
        return frame != other.frame ? frame < other.frame : call < other.call;
    }
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

/// An action that writes something else.
struct ActionResult {
    CallPlace place;
    /// As playback-info --dump has it: "draw", "12".
    std::string kind;
    std::string number;
    /// What differs, and how much: "colour 0" of "framebuffer 3".
    std::string what;
    std::string object;
    Difference difference;

    /// "draw 12 (glDrawArrays, call 40 of frame 3)".
    [[nodiscard]] std::string Name() const;
    /// The same with the difference.
    [[nodiscard]] std::string Text() const;
};

/// The first action after which something that it writes to is another one.
struct WrongAction : ActionResult {
    std::uint32_t thread = 0;
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
    /// Of the frame that was gone through by draw, those that differ by themselves.
    std::vector<ActionResult> actions;
    std::optional<WrongAction> action;
    /// Why no action was found although a frame differs, and the like.
    std::vector<std::string> notes;

    /// The first frame that is further apart than tolerated; null without one.
    [[nodiscard]] const FrameResult* FirstWrong() const;
    /// Nothing is further apart than tolerated.
    [[nodiscard]] bool IsEqual() const;
    /// Without its images, unless it is the first wrong one: only that is shown.
    void AddFrame(FrameResult frame);
    /// Once each.
    void AddNote(const std::string& note);
};

} // namespace Compare
