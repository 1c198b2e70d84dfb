#include "Probe/Replayer.h"

#include <algorithm>
#include <cstdio>

#include "Interfaces/Core.h"
#include "Playback/Names/GLResourceTable.h"

namespace Probe {

namespace {

using Data::CallId;
using Data::RecordId;

/// Calls that ask for numbers.
bool IsQuestion(std::string_view function)
{
    return function.starts_with("glGet") && !function.ends_with("Location") && function != "glGetError";
}

} // namespace

std::unique_ptr<Replayer> Replayer::Open(const std::string& path, const std::string& driver, std::string& error,
                                         Util::ExitStatus& status)
{
    status = Util::ExitStatus::Unreadable;
    std::unique_ptr<Data::CaptureSource> source = Data::CaptureSource::Open(path, error);
    if (!source)
        return nullptr;
    std::unique_ptr<Replayer> replayer(new Replayer(path, std::move(source)));
    status = Util::ExitStatus::NoDriver;
    replayer->m_replay = Replay::LiveReplay::Create(driver, replayer->m_diagnostics, error);
    if (!replayer->m_replay)
        return nullptr;
    replayer->m_replay->SetStateModel(&replayer->m_model);
    return replayer;
}

Replayer::Replayer(std::string path, std::unique_ptr<Data::CaptureSource> source)
    : m_source(std::move(source)),
      m_diagnostics(std::move(path), [](const std::string& line) { std::fprintf(stderr, "%s\n", line.c_str()); }),
      m_reader(*m_source, m_diagnostics)
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

Replayer::Stop Replayer::ToAction()
{
    m_answers.clear();
    m_pictures.clear();
    m_isStepping = m_wantsPictures = true;
    const Stop stop = Run(true);
    m_isStepping = m_wantsPictures = false;
    return stop;
}

Replayer::Stop Replayer::Run(bool stopsAtActions)
{
    while (m_reader.Next()) {
        if (m_chunks != m_reader.ChunksBegun()) {
            m_chunks = m_reader.ChunksBegun();
            m_replay->ForgetChunk();
        }
        const Data::RecordCursor& record = m_reader.Record();
        if (record.Is(RecordId::FrameEnd)) {
            ++m_frames;
            m_counter.BeginFrame();
            return Stop::FrameEnd;
        }
        const std::optional<CallId> call = m_source->CallOf(record.Header());
        if (!call) {
            Other();
            continue;
        }
        Play(*call);
        if (m_counter.Count(*call) && stopsAtActions) {
            m_action.number = m_counter.Last();
            return Stop::Action;
        }
    }
    return Stop::End;
}

void Replayer::Play(CallId call)
{
    const Data::RecordCursor& record = m_reader.Record();
    if (call == CallId::eglSwapBuffers && m_wantsPictures) {
        const Data::CallArguments arguments(call, record);
        ReadPicture("surface " + std::to_string(arguments.Unsigned(1)), 0);
    }
    const bool isAction = Data::ActionOf(call) != Data::ActionKind::None;
    const bool isKept = m_watched || (m_isStepping && (isAction || IsQuestion(NameOf(call))));
    if (isKept)
        m_record.assign(record.Bytes().begin(), record.Bytes().end());
    const bool isPlayed = m_replay->Call(call, record.Record());
    if (!isKept)
        return;
    const Data::CallArguments kept(call, Data::RecordView(m_record.data()));
    if (m_isStepping && isAction)
        m_action = {{},       Data::ActionOf(call), m_frames + 1, m_diagnostics.position.call,
                    m_thread, NameOf(call),         isPlayed};
    if (m_isStepping && IsQuestion(NameOf(call)))
        CompareAnswers(kept, Data::CallArguments(call, record));
    if (m_watched)
        CheckWatched(call, kept);
}

void Replayer::Other()
{
    const Data::RecordCursor& record = m_reader.Record();
    if (record.Header().id < Data::FirstBuiltInId)
        return;
    if (Data::ThreadRecord thread; record.Is(RecordId::Thread) && record.Read(thread)) {
        m_thread = thread.thread;
        m_replay->SetThread(thread.thread);
    } else if (Data::FrameHashRecord hash; record.Is(RecordId::FrameHash) && record.Read(hash)) {
        m_recordedHash = hash.hash;
    } else if (Data::FramePictureRecord picture; record.Is(RecordId::FramePicture) && record.Read(picture)) {
        if (picture.state == Data::PictureState::Hashed)
            m_recordedHash = picture.hash;
        const Playback::GLResourceTable& names = m_replay->Names();
        const bool isThere = picture.framebuffer == 0 || names.HasGLFramebuffer(picture.framebuffer);
        if (m_wantsPictures && picture.state != Data::PictureState::None && isThere)
            ReadPicture("framebuffer " + std::to_string(picture.framebuffer),
                        picture.framebuffer == 0 ? 0 : names.GetValueGLFramebuffer(picture.framebuffer));
    } else {
        m_replay->Other(record);
        if (m_watched && (record.Is(RecordId::UnmapBuffer) || record.Is(RecordId::FlushMappedBufferRange)))
            NoteWatched("glUnmapBuffer");
    }
}

void Replayer::ReadPicture(const std::string& object, std::optional<unsigned int> framebuffer)
{
    m_pictures.push_back({object, Probe::ReadPicture(*framebuffer), m_recordedHash});
    m_recordedHash.reset();
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

std::optional<Data::CallId> Replayer::KeptCall() const
{
    return m_record.empty() ? std::nullopt : m_source->CallOf(Data::RecordView(m_record.data()).Header());
}

std::vector<Target> Replayer::Targets()
{
    const auto call = KeptCall();
    return call ? ReadTargets({*call, Data::RecordView(m_record.data())}, m_model, m_replay->Names())
                : std::vector<Target>{};
}

std::vector<Input> Replayer::Inputs()
{
    const auto call = KeptCall();
    return call ? ReadInputs({*call, Data::RecordView(m_record.data())}, m_model, m_replay->Names())
                : std::vector<Input>{};
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
