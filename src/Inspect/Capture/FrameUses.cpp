#include "Inspect/Capture/FrameUses.h"

#include <algorithm>
#include <deque>
#include <initializer_list>
#include <string_view>

#include "Data/GLEnums.h"
#include "Data/Records/Actions.h"
#include "Data/Records/CallDecoder.h"
#include "Data/Records/RecordWalk.h"
#include "Data/State/StateModel.h"
#include "Tools/Info/Notation.h"

#include <GLES3/gl32.h>

namespace Inspect {

namespace {

using Data::CallArguments;
using Data::CallId;
using Data::ObjectKind;
using Data::Owner;
using Data::Slot;
using Data::State;

/// Whether the name of a function begins with one of these.
bool Begins(std::string_view function, std::initializer_list<std::string_view> beginnings)
{
    return std::ranges::any_of(
        beginnings, [&](std::string_view begin) { return function.starts_with(begin); });
}

/// Takes note of what the call at hand does, before the model follows it.
class UseReader {
public:
    UseReader(Data::StateModel& model, FrameUses& uses) : m_model(model), m_uses(uses) {}

    void Note(const CallArguments& call, std::uint32_t number)
    {
        m_call = number;
        m_function = NameOf(call.Call());
        m_model.Begin();
        NoteObjects(call);
        if (!m_model.HasContext())
            return;
        NoteChanges(call);
        NoteUpload(call);
        switch (Data::ActionOf(call.Call())) {
        case Data::ActionKind::Draw:
            NoteFramebuffer(true, ObjectUse::Wrote);
            Add(m_model.BoundVertexArray(), ObjectUse::Read, "vertex array");
            NoteShaders();
            break;
        case Data::ActionKind::Dispatch:
            NoteShaders();
            break;
        case Data::ActionKind::Clear:
            NoteFramebuffer(true, ObjectUse::Wrote);
            break;
        case Data::ActionKind::Blit:
            NoteFramebuffer(false, ObjectUse::Read);
            NoteFramebuffer(true, ObjectUse::Wrote);
            break;
        case Data::ActionKind::Copy:
            NoteCopy(call);
            break;
        case Data::ActionKind::Mipmap:
            Add(m_model.BoundTexture(call.Unsigned(0)), ObjectUse::Wrote, "mipmaps");
            break;
        case Data::ActionKind::None:
            if (Begins(m_function, {"glReadPixels", "glReadnPixels"}))
                NoteFramebuffer(false, ObjectUse::Read);
            break;
        }
    }

private:
    void Add(Owner owner, ObjectUse::Does does, const std::string& as)
    {
        const Data::StateObject& object = m_model.Object(owner);
        if (owner != 0 && object.name != 0 && object.kind != Data::noObject)
            m_uses.Add({Data::Describe(object.kind).name, std::to_string(object.name)}, m_call, m_function, does, as);
    }

    void NoteObjects(const CallArguments& call)
    {
        const Data::ObjectEffect& effect = Data::EffectsOf(call.Call()).object;
        if (effect.action == Data::ObjectAction::None)
            return;
        const auto does = effect.action == Data::ObjectAction::Make ? ObjectUse::Made : ObjectUse::Deleted;
        call.ForEachName(effect.parameter, [&](std::uint32_t name) {
            if (name != 0)
                m_uses.Add({Data::Describe(effect.kind).name, std::to_string(name)}, m_call, m_function, does, {});
        });
    }

    void NoteChanges(const CallArguments& call)
    {
        for (const Data::StateChange& change : Data::ChangesOf(call.Call())) {
            if (!Data::StateModel::IsMet(change, call))
                continue;
            const Data::StatePlace place = m_model.PlaceOf(change, call);
            if (place.owner != 0 && place.owner != m_model.Context().owner)
                Add(place.owner, ObjectUse::Changed, "");
        }
    }

    /// Contents that a call gives to what is bound to its target.
    void NoteUpload(const CallArguments& call)
    {
        if (call.Count() == 0)
            return;
        const std::uint32_t target = call.Unsigned(0);
        if (Begins(m_function, {"glTexImage", "glTexSubImage", "glTexStorage", "glCompressedTex", "glCopyTex",
                                "glEGLImageTargetTex"}))
            Add(m_model.BoundTexture(target), ObjectUse::Wrote, LevelText(call));
        else if (Begins(m_function, {"glBufferData", "glBufferSubData", "glBufferStorage", "glMapBuffer",
                                     "glUnmapBuffer", "glFlushMappedBufferRange"}))
            Add(BoundBuffer(target), ObjectUse::Wrote, "");
        else if (Begins(m_function, {"glRenderbufferStorage", "glEGLImageTargetRenderbuffer"}))
            Add(m_model.Bound(State::Renderbuffer), ObjectUse::Wrote, "");
    }

    /// The level that an upload is for; empty for calls that have none.
    static std::string LevelText(const CallArguments& call)
    {
        const auto parameters = Data::ParametersOf(call.Call());
        const bool hasLevel = parameters.size() > 1 && std::string_view(parameters[1].name) == "level";
        return hasLevel ? "level " + std::to_string(call.Unsigned(1)) : "";
    }

    Owner BoundBuffer(std::uint32_t target)
    {
        return target == Data::Enum::ElementArrayBuffer
                   ? m_model.BoundAt(m_model.BoundVertexArray(), State::ElementBuffer)
                   : m_model.Bound(State::Buffer, target);
    }

    /// A framebuffer and what is attached to it.
    void NoteFramebuffer(bool isForDrawing, ObjectUse::Does does)
    {
        const Owner framebuffer = m_model.Bound(State::Framebuffer, 0, isForDrawing ? 1 : 0);
        if (m_model.Object(framebuffer).name == 0)
            return;
        Add(framebuffer, does, "");
        NoteBound(framebuffer, State::Attachment, does,
                  [](auto attachment, auto) { return Tools::EnumText(attachment); });
    }

    /// What is bound in all slots of a state of an owner, as what `textOf` says; where that is empty, not.
    template <class Text> void NoteBound(Owner owner, State state, int does, Text textOf)
    {
        // Notes make no slots, but asking for what is not there does.
        const std::vector<Slot> all = m_model.Slots().Of(owner);
        const Data::StateSlots& slots = m_model.Slots();
        for (const Slot slot : all)
            if (slots.StateOf(slot) == state)
                if (const std::string text = textOf(slots.FirstOf(slot), slots.SecondOf(slot)); !text.empty())
                    Add(slots.ValueOf(slot).bound, static_cast<ObjectUse::Does>(does), text);
    }

    /// Programs, and what they may read and write though no sampler names it.
    void NoteShaders()
    {
        const Owner context = m_model.Context().owner;
        Add(m_model.Bound(State::Program), ObjectUse::Read, "program");
        Add(m_model.Bound(State::Pipeline), ObjectUse::Read, "pipeline");
        constexpr int Both = ObjectUse::Read | ObjectUse::Wrote;
        NoteBound(
            context, State::ImageTexture, Both, [](auto unit, auto) { return "image " + std::to_string(unit); });
        NoteBound(context, State::IndexedBuffer, Both, [](auto target, auto index) {
            return target != Data::Enum::UniformBuffer ? Tools::EnumText(target) + " " + std::to_string(index)
                                                       : std::string();
        });
    }

    void NoteCopy(const CallArguments& call)
    {
        switch (call.Call()) {
        case CallId::glCopyBufferSubData:
            Add(BoundBuffer(call.Unsigned(0)), ObjectUse::Read, "source");
            Add(BoundBuffer(call.Unsigned(1)), ObjectUse::Wrote, "");
            break;
        case CallId::glCopyImageSubData:
        case CallId::glCopyImageSubDataEXT:
            Add(CopiedObject(call, 0), ObjectUse::Read, "source");
            Add(CopiedObject(call, 6), ObjectUse::Wrote, "");
            break;
        default:
            NoteFramebuffer(false, ObjectUse::Read);
            break;
        }
    }

    Owner CopiedObject(const CallArguments& call, std::size_t name)
    {
        const bool isRenderbuffer = call.Unsigned(name + 1) == GL_RENDERBUFFER;
        return m_model.Known(isRenderbuffer ? ObjectKind::Renderbuffer : ObjectKind::Texture, call.Unsigned(name));
    }

    Data::StateModel& m_model;
    FrameUses& m_uses;
    std::uint32_t m_call = 0;
    std::string m_function;
};

/// Shows each call up to the end of a frame to `visit(reader, call, position)`, in front of its effects.
template <class Visit>
void FollowCalls(Data::CaptureSource& source, const std::string& path, std::uint32_t frame, FrameUses& uses,
                 Visit visit)
{
    Data::Diagnostics diagnostics(path, nullptr);
    Data::Diagnostics quiet(path, nullptr);
    Data::CallDecoder calls(quiet);
    Data::StateModel model;
    calls.SetStateModel(&model);
    UseReader reader(model, uses);
    const auto follow = [&](const Data::RecordCursor& record) {
        if (Data::ThreadRecord thread; record.Is(Data::RecordId::Thread) && record.Read(thread))
            calls.SetThread(thread.thread);
        if (record.Header().id >= Data::FirstBuiltInId)
            return;
        const std::optional<CallId> call = source.CallOf(record.Header());
        if (!call)
            return;
        visit(reader, CallArguments(*call, record), diagnostics.position);
        calls.Decode(*call, record.Record());
    };
    Data::WalkRecords(source, diagnostics, follow, frame);
}

} // namespace

void FrameUses::Add(const Object& object, std::uint32_t call, const std::string& function, ObjectUse::Does does,
                    const std::string& as)
{
    std::vector<ObjectUse>& uses = m_uses[object];
    // What is added by another source comes later.
    auto use = std::ranges::lower_bound(uses, call, {}, &ObjectUse::call);
    if (use == uses.end() || use->call != call)
        use = uses.insert(use, {call, function});
    use->does = static_cast<std::uint8_t>(use->does | does);
    if (!as.empty() && std::ranges::find(use->as, as) == use->as.end())
        use->as.push_back(as);
}

FrameUses ReadFrameUses(Data::CaptureSource& source, const std::string& path, std::uint32_t frame)
{
    FrameUses uses;
    FollowCalls(source, path, frame, uses, [&](UseReader& reader, const CallArguments& call, const Data::Position& at) {
        if (at.frame + 1 == frame)
            reader.Note(call, at.call);
    });
    return uses;
}

std::vector<EarlierUse> ReadEarlierUses(Data::CaptureSource& source, const std::string& path, std::uint32_t frame,
                                        const FrameUses::Object& object, std::size_t most)
{
    std::deque<EarlierUse> latest;
    FrameUses uses;
    FollowCalls(source, path, frame, uses, [&](UseReader& reader, const CallArguments& call, const Data::Position& at) {
        if (at.frame + 1 >= frame)
            return;
        uses = {};
        reader.Note(call, at.call);
        const auto found = uses.All().find(object);
        if (found == uses.All().end() || found->second.front().does == ObjectUse::Read)
            return;
        latest.push_back({at.frame + 1, found->second.front()});
        if (latest.size() > most)
            latest.pop_front();
    });
    return {latest.begin(), latest.end()};
}

} // namespace Inspect
