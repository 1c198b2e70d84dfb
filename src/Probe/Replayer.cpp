#include "Probe/Replayer.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "Interfaces/Core.h"
#include "Playback/Names/GLResourceTable.h"
#include "Probe/CrashNote.h"
#include "Replay/Driver/Driver.h"
#include "Trim/SnapshotMaker.h"

namespace Probe {

namespace {

using Data::CallId;
using Data::RecordId;

/// Of one frame.
constexpr std::size_t MostFailed = 1000;

/// Calls that ask for numbers.
bool IsQuestion(std::string_view function)
{
    return function.starts_with("glGet") && !function.ends_with("Location") && function != "glGetError";
}

} // namespace

std::unique_ptr<Replayer> Replayer::Open(const std::string& path, const std::string& driver, const Beginning& beginning,
                                         std::string& error, Util::ExitStatus& status)
{
    status = Util::ExitStatus::Unreadable;
    std::unique_ptr<Data::CaptureSource> source = beginning.snapshot.empty()
                                                      ? Data::CaptureSource::Open(path, error)
                                                      : Data::CaptureSource::OpenAt(beginning.snapshot, path, error);
    if (!source)
        return nullptr;
    std::unique_ptr<Replayer> replayer(new Replayer(path, std::move(source)));
    status = Util::ExitStatus::NoDriver;
    replayer->m_replay = Replay::LiveReplay::Create(driver, replayer->m_diagnostics, error);
    if (!replayer->m_replay)
        return nullptr;
    replayer->m_replay->SetStateModel(&replayer->m_model);
    replayer->m_edits = std::make_unique<Edits>(replayer->m_replay->Names(), replayer->m_model);
    if (beginning.makesSnapshots)
        replayer->m_snapshots = std::make_unique<Trim::SnapshotMaker>(path, beginning.snapshot);
    return replayer;
}

Replayer::Replayer(std::string path, std::unique_ptr<Data::CaptureSource> source)
    : m_source(std::move(source)),
      m_diagnostics(std::move(path), [](const std::string& line) { std::fprintf(stderr, "%s\n", line.c_str()); }),
      m_reader(*m_source, m_diagnostics), m_references(m_diagnostics), m_frames(m_source->FramesBefore())
{
}

Replayer::~Replayer() = default;

Replayer::Stop Replayer::ToFrameEnd(bool wantsPictures)
{
    m_wantsPictures = wantsPictures;
    m_pictures.clear();
    const Stop stop = Run(false);
    m_wantsPictures = false;
    return stop;
}

Replayer::Stop Replayer::ToAction(const std::function<void()>& before)
{
    m_answers.clear();
    m_pictures.clear();
    m_beforeAction = before;
    m_isStepping = m_wantsPictures = true;
    const Stop stop = Run(true);
    m_isStepping = m_wantsPictures = false;
    return stop;
}

Replayer::Stop Replayer::ToCall(std::uint32_t frame, std::uint32_t call)
{
    Data::Position at = m_diagnostics.position;
    // A call that was read ahead was not replayed yet.
    if (m_isAhead && m_reader.Record().Header().id < Data::FirstBuiltInId)
        --at.call;
    if (m_frames + 1 > frame || (m_frames + 1 == frame && at.frame + 1 == frame && at.call > call))
        return Stop::End;
    // It is there already.
    if (at.frame + 1 == frame && m_frames + 1 == frame && at.call == call && m_action.call == call)
        return Stop::Action;
    m_wantedFrame = frame;
    m_wantedCall = call;
    Stop stop = Stop::FrameEnd;
    while (stop == Stop::FrameEnd && m_frames < frame)
        stop = Run(false);
    m_wantedFrame = 0;
    return stop;
}

bool Replayer::IsWanted() const
{
    return m_wantedFrame == m_frames + 1 && m_wantedCall == m_diagnostics.position.call;
}

bool Replayer::IsInFrontOfKept() const
{
    return m_isStepping || (m_wantedFrame == m_frames + 1 && m_wantedCall == m_diagnostics.position.call + 1);
}

Replayer::Stop Replayer::Run(bool stopsAtActions)
{
    while (Next()) {
        const Data::RecordCursor& record = m_reader.Record();
        if (record.Is(RecordId::FrameEnd)) {
            Follow(std::nullopt, false);
            ++m_frames;
            m_counter.BeginFrame();
            m_failedOfFrame = std::exchange(m_failed, {});
            return Stop::FrameEnd;
        }
        const std::optional<CallId> call = m_source->CallOf(record.Header());
        if (!call) {
            Other();
            continue;
        }
        Play(*call);
        const bool isAction = m_counter.Count(*call).has_value();
        if ((isAction && stopsAtActions) || IsWanted()) {
            m_action.number = m_counter.Last();
            TakeActionHash();
            return Stop::Action;
        }
    }
    return Stop::End;
}

bool Replayer::Next()
{
    if (std::exchange(m_isAhead, false))
        return true;
    if (!m_reader.Next())
        return false;
    if (m_chunks != m_reader.ChunksBegun()) {
        m_chunks = m_reader.ChunksBegun();
        m_replay->ForgetChunk();
    }
    return true;
}

/// The hashes of an action stand right after it, at most with the thread in between with which a chunk begins. Another
/// thread is of what comes next, and would have its own context current.
void Replayer::TakeActionHash()
{
    while (Next()) {
        const Data::RecordCursor& record = m_reader.Record();
        const std::optional<Data::ReferenceHashRecord> hash = m_references.HashOf(record);
        const bool isOfAction = hash && hash->of == Data::ReferenceOf::Action;
        Data::ThreadRecord thread;
        const bool isSameThread = record.Is(RecordId::Thread) && record.Read(thread) && thread.thread == m_thread;
        if (!isOfAction && !isSameThread) {
            m_isAhead = true;
            break;
        }
        if (isOfAction && IsReference(hash->driver))
            m_action.recorded = hash;
        else if (!isOfAction)
            Other();
    }
    if (!m_action.recorded)
        return;
    if (const auto framebuffer = LiveFramebuffer(m_action.recorded->framebuffer))
        m_action.drawn = m_pictureReader.Read(*framebuffer);
}

std::optional<unsigned int> Replayer::LiveFramebuffer(std::uint32_t captured) const
{
    if (captured == 0)
        return 0;
    const Playback::GLResourceTable& names = m_replay->Names();
    return names.HasGLFramebuffer(captured) ? std::optional(names.GetValueGLFramebuffer(captured)) : std::nullopt;
}

bool Replayer::IsReference(std::uint32_t driver)
{
    if (const Data::DriverName live = m_reference ? Data::DriverName() : Replay::CurrentDriver(); live.IsKnown())
        m_reference = m_references.Choose(live);
    return driver == m_reference.value_or(0);
}

void Replayer::Play(CallId call)
{
    const Data::RecordCursor& record = m_reader.Record();
    if (call == CallId::eglSwapBuffers && m_wantsPictures) {
        const Data::CallArguments arguments(call, record);
        ReadPicture("surface " + std::to_string(arguments.Unsigned(1)), 0);
    }
    const Data::ActionKind kind = Data::ActionOf(call);
    const bool isAction = kind != Data::ActionKind::None;
    const bool isKept =
        m_watched || m_snapshots || IsWanted() || (m_isStepping && (isAction || IsQuestion(NameOf(call))));
    if (isKept) {
        m_record.assign(record.Bytes().begin(), record.Bytes().end());
        m_recordCall = m_diagnostics.position.call;
    }
    m_vertices = std::exchange(m_verticesToCome, {});
    m_tests.reset();
    if (IsWanted() && kind == Data::ActionKind::Draw && HasContext())
        m_tests.emplace();
    if (m_isStepping && isAction && m_beforeAction) {
        m_beforeAction();
        DeliverVertices();
    }
    CrashNote::Set(m_frames + 1, m_diagnostics.position.call, NameOf(call));
    const bool isPlayed = PlayLive(call, kind);
    Follow(call, isPlayed);
    const auto describe = [&]() -> PlayedAction {
        return {{}, kind, m_frames + 1, m_diagnostics.position.call, m_thread, NameOf(call), isPlayed};
    };
    if (!isPlayed && m_failed.size() < MostFailed && !m_edits->Skip(kind, m_diagnostics.position.call))
        m_failed.push_back(describe());
    if (!isKept)
        return;
    const Data::CallArguments kept(call, Data::RecordView(m_record.data()));
    if ((m_isStepping && isAction) || IsWanted())
        m_action = describe();
    if (m_isStepping && IsQuestion(NameOf(call)))
        CompareAnswers(kept, Data::CallArguments(call, record));
    if (m_watched)
        CheckWatched(call, kept);
}

bool Replayer::PlayLive(CallId call, Data::ActionKind kind)
{
    const Data::RecordCursor& record = m_reader.Record();
    if (Data::ProgramSources::Concerns(call))
        m_edits->Programs().Follow({call, record});
    const auto replay = [&] {
        const bool isStep = m_isStepping && kind != Data::ActionKind::None;
        if (isStep && m_beforeCall)
            m_beforeCall();
        const bool isPlayed = m_replay->Call(call, record.Record());
        if (isStep && m_afterCall)
            m_afterCall();
        return isPlayed;
    };
    const std::uint32_t number = m_diagnostics.position.call;
    return m_edits->Concern(kind, number) ? m_edits->Play(kind, number, replay) : replay();
}

void Replayer::Other()
{
    const Data::RecordCursor& record = m_reader.Record();
    Follow(std::nullopt, false);
    if (record.Header().id < Data::FirstBuiltInId)
        return;
    if (Data::ThreadRecord thread; record.Is(RecordId::Thread) && record.Read(thread)) {
        // Another context may be current there.
        if (thread.thread != m_thread)
            m_tests.reset();
        m_thread = thread.thread;
        m_replay->SetThread(thread.thread);
    } else if (Data::FrameHashRecord hash; record.Is(RecordId::FrameHash) && record.Read(hash)) {
        if (IsReference(0))
            m_recordedHash = hash.hash;
    } else if (m_references.Take(record)) {
        return;
    } else if (const auto picture = m_references.PictureOf(record)) {
        if (m_wantsPictures && IsReference(picture->driver))
            m_referencePicture.assign(picture->png.begin(), picture->png.end());
    } else if (const auto reference = m_references.HashOf(record)) {
        if (reference->of == Data::ReferenceOf::Frame && IsReference(reference->driver) &&
            reference->state == Data::PictureState::Hashed)
            m_recordedHash = reference->hash;
    } else if (Data::FramePictureRecord end; record.Is(RecordId::FramePicture) && record.Read(end)) {
        TakeFrameEnd(end);
    } else {
        if (record.Is(RecordId::VertexAttribData) && IsInFrontOfKept())
            m_verticesToCome.emplace_back(record.Bytes().begin(), record.Bytes().end());
        m_replay->Other(record);
        if (m_watched && (record.Is(RecordId::UnmapBuffer) || record.Is(RecordId::FlushMappedBufferRange)))
            NoteWatched("glUnmapBuffer");
    }
}

void Replayer::TakeFrameEnd(const Data::FramePictureRecord& picture)
{
    if (picture.state == Data::PictureState::Hashed && IsReference(0))
        m_recordedHash = picture.hash;
    const auto framebuffer = LiveFramebuffer(picture.framebuffer);
    if (m_wantsPictures && picture.state != Data::PictureState::None && framebuffer)
        ReadPicture("framebuffer " + std::to_string(picture.framebuffer), *framebuffer);
}

void Replayer::ReadPicture(const std::string& object, unsigned int framebuffer)
{
    m_pictures.push_back({object, Probe::ReadPicture(framebuffer), m_recordedHash, m_referencePicture});
    m_recordedHash.reset();
    m_referencePicture.clear();
}

void Replayer::CompareAnswers(const Data::CallArguments& recorded, const Data::CallArguments& live)
{
    const auto parameters = Data::ParametersOf(recorded.Call());
    for (std::size_t i = 0; i < parameters.size(); ++i) {
        const Data::ParameterDescription& parameter = parameters[i];
        if (!parameter.isOutput || parameter.form != Data::ParameterForm::Array ||
            std::ranges::equal(recorded.Contents(i), live.Contents(i)))
            continue;
        Answer answer = {m_diagnostics.position.call, NameOf(recorded.Call()), std::string(parameter.name), {}, {}};
        recorded.AddNumbers(i, answer.recorded);
        live.AddNumbers(i, answer.live);
        constexpr std::size_t Most = 64;
        answer.recorded.resize(std::min(answer.recorded.size(), Most));
        answer.live.resize(std::min(answer.live.size(), Most));
        m_answers.push_back(std::move(answer));
    }
}

void Replayer::CheckWatched(CallId call, const Data::CallArguments& arguments)
{
    if (MayChangeWatched(arguments))
        NoteWatched(NameOf(call));
}

/// Calls that surely do not are left out, since reading takes long.
bool Replayer::MayChangeWatched(const Data::CallArguments& arguments)
{
    const std::string_view function = NameOf(arguments.Call());
    const Data::ActionKind kind = Data::ActionOf(arguments.Call());
    const auto begins = [&](std::initializer_list<std::string_view> prefixes) {
        return std::ranges::any_of(prefixes, [&](std::string_view prefix) { return function.starts_with(prefix); });
    };
    if (!m_model.HasContext())
        return false;
    if (m_watched->kind == Input::Kind::Uniform)
        return begins({"glUniform", "glProgramUniform", "glLinkProgram", "glProgramBinary"});
    const bool isDispatch = kind == Data::ActionKind::Dispatch;
    if (m_watched->kind == Input::Kind::Buffer) {
        return isDispatch || kind == Data::ActionKind::Draw || begins({"glCopyBuffer"}) ||
               (begins({"glBufferData", "glBufferSubData", "glBufferStorage"}) &&
                m_model.Object(m_model.Bound(Data::State::Buffer, arguments.Unsigned(0))).name == m_watched->object);
    }
    if (begins({"glTexImage", "glTexSubImage", "glTexStorage", "glCompressedTex", "glCopyTex", "glGenerateMipmap",
                "glEGLImageTarget"}))
        return m_model.Object(m_model.BoundTexture(arguments.Unsigned(0))).name == m_watched->object;
    const bool isDrawing =
        kind == Data::ActionKind::Draw || kind == Data::ActionKind::Clear || kind == Data::ActionKind::Blit;
    return isDispatch || begins({"glCopyImage"}) ||
           (isDrawing && m_model.Object(m_model.Bound(Data::State::Framebuffer, 0, 1)).name != 0);
}

void Replayer::NoteWatched(const std::string& function)
{
    Input now = *m_watched;
    now.hash = 0;
    if (!ReadInput(now, m_replay->Names()))
        now.values.clear();
    if (now.hash == m_watched->hash && now.values == m_watched->values)
        return;
    m_watched = now;
    m_changes.push_back({m_frames + 1, m_diagnostics.position.call, function, std::move(now)});
}

} // namespace Probe
