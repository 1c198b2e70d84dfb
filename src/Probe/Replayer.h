#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Data/Capture/CaptureSource.h"
#include "Data/Diagnostics.h"
#include "Data/Records/Actions.h"
#include "Data/Records/RecordWalk.h"
#include "Data/Records/References.h"
#include "Data/State/StateModel.h"
#include "Probe/Actions/Inputs.h"
#include "Probe/Actions/Targets.h"
#include "Probe/Edits/Edits.h"
#include "Probe/Overlays/TestBuffers.h"
#include "Probe/Vertices/Vertices.h"
#include "Replay/LiveReplay.h"
#include "Replay/PictureReader.h"
#include "Util/ExitStatus.h"

namespace Trim {
class SnapshotMaker;
}

namespace Probe {

/// What a frame showed.
struct Picture {
    /// "surface 1" or "framebuffer 3"; captured names.
    std::string object;
    Contents contents;
    /// Of the recorded frame, where the capture has it.
    std::optional<std::uint64_t> recorded;
    /// What it is to show, as a PNG file; empty where the capture has none.
    std::vector<std::uint8_t> reference;
};

/// An answer of the driver's that is not the recorded one.
struct Answer {
    std::uint32_t call;
    std::string function;
    std::string parameter;
    std::vector<double> recorded;
    std::vector<double> live;
};

/// A call after which a watched input was another one.
struct Change {
    std::uint32_t frame;
    std::uint32_t call;
    std::string function;
    Input input;
};

/// A call that was replayed, for those who look at what it did.
struct PlayedAction {
    Data::ActionNumber number;
    Data::ActionKind kind = Data::ActionKind::None;
    std::uint32_t frame = 0;
    std::uint32_t call = 0;
    std::uint32_t thread = 0;
    std::string function;
    /// It reached the driver, and no error came of it.
    bool isPlayed = false;
    /// What it has drawn to, and what was recorded of that, where the capture has it.
    Replay::Picture drawn = {};
    std::optional<Data::ReferenceHashRecord> recorded = {};
};

/// Where a replay begins, and whether others are to begin where it comes by.
struct Beginning {
    /// A snapshot of the capture; empty for the capture's own start.
    std::string snapshot;
    bool makesSnapshots = false;
};

/// Replays a capture off screen, forwards, as far as it is told: to the end of a frame or to the next action.
class Replayer {
public:
    /// Null, with a reason and how it would end a program, when the capture cannot be read or there is no driver.
    static std::unique_ptr<Replayer> Open(const std::string& path, const std::string& driver,
                                          const Beginning& beginning, std::string& error, Util::ExitStatus& status);
    ~Replayer();
    Replayer(const Replayer&) = delete;
    Replayer& operator=(const Replayer&) = delete;

    enum class Stop : std::uint8_t { Action, FrameEnd, End };
    /// Replays to the end of the frame at work; its pictures are read where they are wanted.
    Stop ToFrameEnd(bool wantsPictures);
    /// Replays up to the next action of the frame at work and that one too, unless the frame ends before it. Answers
    /// that are not the recorded ones are noted. `before` is called in front of the action, when Targets are those of
    /// before it.
    Stop ToAction(const std::function<void()>& before = {});

    /// Replays up to a call and that one too; both numbers count from 1. FrameEnd when the frame has less calls, End
    /// when the capture ends before it or it is behind already.
    Stop ToCall(std::uint32_t frame, std::uint32_t call);

    /// Waits until the driver has drawn what it was told to; without a context there is nothing.
    void Finish() const;
    /// Writes a snapshot from which other replays can begin. Empty where that went well, else why not. After a frame's
    /// end only, and when nothing but ToFrameEnd has moved this replay.
    [[nodiscard]] std::string WriteSnapshot(const std::string& file);

    /// Whole frames that were replayed, with those that a snapshot stands for.
    [[nodiscard]] std::uint32_t Frames() const { return m_frames; }
    [[nodiscard]] std::uint32_t FrameCount() const { return m_source->FrameCount(); }
    /// Of the last ToFrameEnd, or since the last action.
    [[nodiscard]] std::vector<Picture>& Pictures() { return m_pictures; }
    /// The number of the call at hand in its frame.
    [[nodiscard]] std::uint32_t Call() const { return m_diagnostics.position.call; }
    /// Of the last ToAction or ToCall.
    [[nodiscard]] const PlayedAction& Action() const { return m_action; }
    [[nodiscard]] const std::vector<Answer>& Answers() const { return m_answers; }
    /// Calls of the frame at work that were refused or raised an error.
    [[nodiscard]] const std::vector<PlayedAction>& Failed() const { return m_failed; }
    /// Of the frame that ended last.
    [[nodiscard]] const std::vector<PlayedAction>& FailedOfFrame() const { return m_failedOfFrame; }
    [[nodiscard]] const Playback::GLResourceTable& Names() const { return m_replay->Names(); }
    /// The live name; 0 where the capture has no such texture at this place.
    [[nodiscard]] unsigned int TextureOf(std::uint32_t captured);
    /// That is drawn to, as Target names it; a context must be current.
    [[nodiscard]] std::string DrawFramebuffer();
    [[nodiscard]] bool HasContext() const { return m_model.HasContext(); }
    /// Of the last action.
    std::vector<Target> Targets();
    std::vector<Input> Inputs(WantsContents wantsContents);

    /// The last call as it was before the driver wrote to its record.
    [[nodiscard]] std::optional<Data::CallArguments> LastCall() const;
    /// What the tests of the last call compared with, where ToCall went to a draw; null otherwise.
    [[nodiscard]] const TestBuffers* Tests() const { return m_tests ? &*m_tests : nullptr; }
    /// Has the driver do the last call once more; before an action, the one that follows. False when nothing came of
    /// it.
    bool Redraw();
    /// Has `draw` do something in the place of that call, with the edits that are in force for it; answers what it
    /// does.
    bool AsEdited(const std::function<bool()>& draw);
    /// Gives the driver the vertices in client memory that came with that call, which a draw uses up.
    void DeliverVertices();

    /// Called in front of and after each action that ToAction stops at, nearer to the driver: what edits need for it is
    /// set. Not called for one that they leave out. Empty for nothing.
    void SetAroundCall(std::function<void()> before, std::function<void()> after)
    {
        m_beforeCall = std::move(before);
        m_afterCall = std::move(after);
    }

    /// Of the last call, where it is a draw.
    VertexTable Vertices(std::uint32_t first, std::uint32_t most);

    /// The same after the vertex shader.
    VertexTable ShadedVertices(const VertexRange& range);
    [[nodiscard]] Edits& ChangedDraws() { return *m_edits; }

    /// From now on notes each call after which the input is another one.
    void Watch(Input input) { m_watched = std::move(input); }
    [[nodiscard]] const std::vector<Change>& Changes() const { return m_changes; }

private:
    explicit Replayer(std::string path, std::unique_ptr<Data::CaptureSource> source);

    Stop Run(bool stopsAtActions);
    /// Tells who makes snapshots of the record at hand.
    void Follow(std::optional<Data::CallId> call, bool isPlayed);
    [[nodiscard]] bool IsWanted() const;
    /// The record at hand comes with a call that may be made again.
    [[nodiscard]] bool IsInFrontOfKept() const;
    /// Moves to the next record, unless the one at hand was not looked at yet.
    bool Next();
    void TakeActionHash();
    /// The hashes of this driver are those to compare with.
    bool IsReference(std::uint32_t driver);
    void Play(Data::CallId call);
    /// As it was recorded, or as the edits will have it.
    bool PlayLive(Data::CallId call, Data::ActionKind kind);
    void Other();
    void TakeFrameEnd(const Data::FramePictureRecord& picture);
    void ReadPicture(const std::string& object, unsigned int framebuffer);
    /// The live name of a framebuffer, 0 for the default one; nothing where there is no such framebuffer.
    [[nodiscard]] std::optional<unsigned int> LiveFramebuffer(std::uint32_t captured) const;
    void CompareAnswers(const Data::CallArguments& recorded, const Data::CallArguments& live);
    void CheckWatched(Data::CallId call, const Data::CallArguments& arguments);
    [[nodiscard]] bool MayChangeWatched(const Data::CallArguments& arguments);
    void NoteWatched(const std::string& function);

    std::unique_ptr<Data::CaptureSource> m_source;
    Data::Diagnostics m_diagnostics;
    Data::StateModel m_model;
    std::unique_ptr<Replay::LiveReplay> m_replay;
    std::unique_ptr<Edits> m_edits;
    /// Null where none are made.
    std::unique_ptr<Trim::SnapshotMaker> m_snapshots;
    Data::RecordReader m_reader;
    /// The record at hand was read ahead.
    bool m_isAhead = false;
    Data::References m_references;
    std::optional<std::uint32_t> m_reference;
    Replay::PictureReader m_pictureReader;
    std::size_t m_chunks = 0;
    std::uint32_t m_frames;
    std::uint32_t m_thread = 0;
    Data::ActionCounter m_counter;
    bool m_isStepping = false;
    /// Of ToCall; 0 while it is not at work.
    std::uint32_t m_wantedFrame = 0;
    std::uint32_t m_wantedCall = 0;
    bool m_wantsPictures = false;
    std::vector<Picture> m_pictures;
    std::optional<std::uint64_t> m_recordedHash;
    std::vector<std::uint8_t> m_referencePicture;
    PlayedAction m_action;
    std::vector<PlayedAction> m_failed;
    std::vector<PlayedAction> m_failedOfFrame;
    std::function<void()> m_beforeAction;
    std::function<void()> m_beforeCall;
    std::function<void()> m_afterCall;
    /// The record of a call as it was before the driver wrote to it.
    std::vector<std::uint8_t> m_record;
    std::uint32_t m_recordCall = 0;
    /// Records of vertices in client memory: of that call, and of the one to come.
    std::vector<std::vector<std::uint8_t>> m_vertices;
    std::vector<std::vector<std::uint8_t>> m_verticesToCome;
    std::optional<TestBuffers> m_tests;
    std::vector<Answer> m_answers;
    std::optional<Input> m_watched;
    std::vector<Change> m_changes;
};

} // namespace Probe
