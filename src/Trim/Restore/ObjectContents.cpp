#include "Trim/Restore/ObjectContents.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>

#include "Playback/Names/GLResourceTable.h"
#include "Trim/Restore/LiveImage.h"

namespace Trim {

namespace {

using Data::CallId;
using Calls = std::vector<OutputCall>;

/// Names for objects that exist only during a restore. Drivers count from 1, and no application comes that far.
constexpr std::uint32_t TemporaryName = 0x7FFFFFF0;

std::span<const std::uint8_t> BytesOf(const std::uint32_t& name)
{
    return {reinterpret_cast<const std::uint8_t*>(&name), sizeof name};
}

/// Reads objects and tries what restores them.
class ObjectReader {
public:
    ObjectReader(StateTracker& tracker, Replay::LiveCalls& live, Trial trial)
        : m_tracker(tracker), m_live(live), m_trial(trial)
    {
    }

    void Read(Owner owner, const ObjectInfo& object);

    ObjectContents Take() { return std::move(m_contents); }

private:
    void ReadTexture(Owner owner, const ObjectInfo& object);
    void ReadRenderbuffer(Owner owner, const ObjectInfo& object);
    void ReadBuffer(Owner owner, const ObjectInfo& object);
    /// Replays calls; false when one fails.
    bool Play(const Calls& calls)
    {
        return std::ranges::all_of(
            calls, [this](OutputCall call) { return m_live.Call(call.id, call.record.data()); });
    }
    /// As the capture has it.
    [[nodiscard]] std::uint32_t NameOf(Owner owner) { return m_tracker.Model().Object(owner).name; }
    /// Calls that restore these slots.
    void Keep(Calls calls, std::span<const Slot> slots);
    /// Reads an image and finds the calls that restore it: `makeCalls` gives them for its pixels. False when it cannot
    /// be read or they do not.
    template <class MakeCalls> bool ReadImage(const LiveImage& live, MakeCalls makeCalls, Calls& calls);

    StateTracker& m_tracker;
    Replay::LiveCalls& m_live;
    Trial m_trial;
    ObjectContents m_contents;
};

void ObjectReader::Keep(Calls calls, std::span<const Slot> slots)
{
    std::ranges::move(calls, std::back_inserter(m_contents.calls));
    std::ranges::copy(slots, std::back_inserter(m_contents.slots));
}

template <class MakeCalls> bool ObjectReader::ReadImage(const LiveImage& live, MakeCalls makeCalls, Calls& calls)
{
    std::vector<std::uint8_t> pixels;
    if (!live.IsReadable() || !live.Read(pixels))
        return false;
    const Calls restore = makeCalls(live.Packed(pixels));
    if (m_trial == Trial::None) {
        std::ranges::copy(restore, std::back_inserter(calls));
        return true;
    }
    std::vector<std::uint8_t> others = live.Packed(pixels);
    for (std::uint8_t& byte : others)
        byte = static_cast<std::uint8_t>(~byte);
    if ((m_trial == Trial::Thorough && !Play(makeCalls(others))) || !Play(restore))
        return false;
    std::vector<std::uint8_t> again;
    if (!live.Read(again) || again != pixels) {
        m_contents.isSpoilt = true;
        return false;
    }
    std::ranges::copy(restore, std::back_inserter(calls));
    return true;
}

void ObjectReader::Read(Owner owner, const ObjectInfo& object)
{
    const ObjectKind kind = m_tracker.Model().Object(owner).kind;
    if (kind == ObjectKind::Texture && !object.drawn.empty())
        ReadTexture(owner, object);
    else if (kind == ObjectKind::Renderbuffer && !object.drawn.empty())
        ReadRenderbuffer(owner, object);
    else if (kind == ObjectKind::Buffer && object.isDrawn && object.bytes > 0)
        ReadBuffer(owner, object);
}

void ObjectReader::ReadTexture(Owner owner, const ObjectInfo& object)
{
    if (object.isAliased || (object.target != GL_TEXTURE_2D && object.target != GL_TEXTURE_CUBE_MAP))
        return;
    const GLuint texture = m_live.Names().GetValueGLTexture(NameOf(owner));
    const OutputCall bind = MakeCall(CallId::glBindTexture, {object.target, NameOf(owner)});
    Play({bind});
    std::set<ImagePlace> places = object.drawn;
    Calls calls{bind};
    if (object.hasMipmaps) {
        // All levels, since the call that gives them memory writes them too.
        calls.push_back(MakeCall(CallId::glGenerateMipmap, {object.target}));
        for (const auto& [place, size] : object.sizes)
            for (Image image{owner, place.first, 0}; LiveImage::SizeOf(image).width > 0; ++image.level)
                places.insert(image.Place());
    }
    std::vector<Slot> slots;
    for (const auto& [face, level] : places) {
        const Image image{owner, face, level};
        const LiveImage live(image, texture);
        const auto upload = [&](std::span<const std::uint8_t> pixels) {
            return Calls{
                MakeCall(CallId::glTexSubImage2D, {image.face, image.level, 0, 0, live.Size().width, live.Size().height,
                                                   live.Upload().format, live.Upload().type, pixels})};
        };
        if (ReadImage(live, upload, calls))
            std::ranges::copy(m_tracker.PixelSlots(image), std::back_inserter(slots));
        else if (object.hasMipmaps)
            return;
    }
    if (object.hasMipmaps)
        slots.push_back(m_tracker.Model().Slots().At(owner, State::Mipmaps));
    if (!slots.empty())
        Keep(std::move(calls), slots);
}

void ObjectReader::ReadRenderbuffer(Owner owner, const ObjectInfo& object)
{
    if (object.isAliased)
        return;
    const GLuint renderbuffer = m_live.Names().GetValueGLRenderbuffer(NameOf(owner));
    GL().glBindRenderbuffer(GL_RENDERBUFFER, renderbuffer);
    GLint format = 0;
    GL().glGetRenderbufferParameteriv(GL_RENDERBUFFER, GL_RENDERBUFFER_INTERNAL_FORMAT, &format);
    const Image image{owner, 0, 0};
    const LiveImage live(image, renderbuffer);
    const std::int32_t width = live.Size().width;
    const std::int32_t height = live.Size().height;
    // Nothing uploads to a renderbuffer: the pixels come from a texture of the same format.
    const std::span<const std::uint8_t> name = BytesOf(TemporaryName);
    const auto copy = [&](std::span<const std::uint8_t> pixels) {
        const std::uint32_t otherName = TemporaryName + 1;
        const std::span<const std::uint8_t> other = BytesOf(otherName);
        return Calls{
            MakeCall(CallId::glGenTextures, {1, name}),
            MakeCall(CallId::glBindTexture, {GL_TEXTURE_2D, TemporaryName}),
            MakeCall(CallId::glTexImage2D,
                     {GL_TEXTURE_2D, 0, format, width, height, 0, live.Upload().format, live.Upload().type, pixels}),
            MakeCall(CallId::glGenFramebuffers, {1, name}),
            MakeCall(CallId::glBindFramebuffer, {GL_READ_FRAMEBUFFER, TemporaryName}),
            MakeCall(CallId::glFramebufferTexture2D,
                     {GL_READ_FRAMEBUFFER, live.Attachment(), GL_TEXTURE_2D, TemporaryName, 0}),
            MakeCall(CallId::glGenFramebuffers, {1, other}),
            MakeCall(CallId::glBindFramebuffer, {GL_DRAW_FRAMEBUFFER, otherName}),
            MakeCall(CallId::glFramebufferRenderbuffer,
                     {GL_DRAW_FRAMEBUFFER, live.Attachment(), GL_RENDERBUFFER, NameOf(owner)}),
            MakeCall(CallId::glBlitFramebuffer,
                     {0, 0, width, height, 0, 0, width, height, live.BlitMask(), GL_NEAREST}),
            MakeCall(CallId::glDeleteFramebuffers, {1, other}),
            MakeCall(CallId::glDeleteFramebuffers, {1, name}),
            MakeCall(CallId::glDeleteTextures, {1, name}),
        };
    };
    Calls calls;
    if (ReadImage(live, copy, calls))
        Keep(std::move(calls), m_tracker.PixelSlots(image));
}

void ObjectReader::ReadBuffer(Owner owner, const ObjectInfo& object)
{
    const auto& gl = GL();
    const auto size = static_cast<GLsizeiptr>(object.bytes);
    const OutputCall bind = MakeCall(CallId::glBindBuffer, {GL_ARRAY_BUFFER, NameOf(owner)});
    Play({bind});
    // A buffer that the application has mapped cannot be mapped again.
    const void* const mapped = gl.glMapBufferRange(GL_ARRAY_BUFFER, 0, size, GL_MAP_READ_BIT);
    if (!mapped) {
        Core::TakeErrors(GL());
        return;
    }
    const std::vector<std::uint8_t> bytes(static_cast<const std::uint8_t*>(mapped),
                                          static_cast<const std::uint8_t*>(mapped) + size);
    gl.glUnmapBuffer(GL_ARRAY_BUFFER);
    Calls calls{bind, MakeCall(CallId::glBufferSubData, {GL_ARRAY_BUFFER, 0, size, std::span(bytes)})};
    // Some buffers take no uploads.
    if (Play(calls))
        Keep(std::move(calls), std::array{m_tracker.Model().Slots().At(owner, State::Data)});
}

} // namespace

ObjectContents ReadObjectContents(StateTracker& tracker, const Data::StateContext& context,
                                  const std::function<bool(Owner)>& isWanted, Replay::LiveCalls& live, Trial trial)
{
    // Without it, drawing is replayed.
    if (!CanReadContents())
        return {};
    const PackedTransfers transfers;
    GL().glDisable(GL_SCISSOR_TEST);
    ObjectReader reader(tracker, live, trial);
    for (const auto& [key, owner] : context.group->objects.owners)
        if (isWanted(owner))
            reader.Read(owner, tracker.Object(owner));
    return reader.Take();
}

ObjectContents ReadObject(StateTracker& tracker, Owner owner, const ObjectInfo& info, Replay::LiveCalls& live)
{
    const PackedTransfers transfers;
    ObjectReader reader(tracker, live, Trial::None);
    reader.Read(owner, info);
    return reader.Take();
}

void WriteObjectContents(RecordOutput& output, StateTracker& tracker, const Data::StateContext& context,
                         const ObjectContents& contents)
{
    if (contents.calls.empty())
        return;
    for (const OutputCall& call : contents.calls)
        output.Write(call);
    const Data::StateModel& state = tracker.Model();
    const auto nameAt = [&](State binding, std::uint32_t first = 0, std::uint32_t second = 0) {
        return state.Object(state.BoundIn(context, binding, first, second)).name;
    };
    const std::uint32_t unit = state.UnitOf(context);
    for (const std::uint32_t target : {GL_TEXTURE_2D, GL_TEXTURE_CUBE_MAP})
        output.Write(MakeCall(CallId::glBindTexture, {target, nameAt(State::Texture, unit, target)}));
    output.Write(MakeCall(CallId::glBindBuffer, {GL_ARRAY_BUFFER, nameAt(State::Buffer, GL_ARRAY_BUFFER)}));
    output.Write(MakeCall(CallId::glBindFramebuffer, {GL_READ_FRAMEBUFFER, nameAt(State::Framebuffer, 0, 0)}));
    output.Write(MakeCall(CallId::glBindFramebuffer, {GL_DRAW_FRAMEBUFFER, 0}));
}

} // namespace Trim
