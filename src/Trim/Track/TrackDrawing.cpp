// Calls on framebuffers, and all that write pixels without an upload: draws, clears, blits, copies, compute.
#include <algorithm>

#include <GLES2/gl2.h>
#include <GLES2/gl2ext.h>
#include <GLES3/gl32.h>

#include "Trim/Track/StateTracker.h"

namespace Trim {

namespace {

using Data::CallId;

std::uint32_t AspectsOf(std::uint32_t attachment)
{
    constexpr std::uint32_t color = 1;
    constexpr std::uint32_t depth = 2;
    constexpr std::uint32_t stencil = 4;
    if (attachment == GL_DEPTH_ATTACHMENT)
        return depth;
    return attachment == GL_STENCIL_ATTACHMENT ? stencil : color;
}

bool IsColorAttachment(std::uint32_t attachment)
{
    return attachment >= GL_COLOR_ATTACHMENT0 && attachment <= GL_COLOR_ATTACHMENT31;
}

/// One face of one level is all that a framebuffer attaches of such a texture.
bool IsSingleImage(std::uint32_t target)
{
    return target == 0 || target == GL_TEXTURE_2D ||
           (target >= GL_TEXTURE_CUBE_MAP_POSITIVE_X && target <= GL_TEXTURE_CUBE_MAP_NEGATIVE_Z);
}

} // namespace

std::vector<StateTracker::Target> StateTracker::Attachments(Owner framebuffer)
{
    enum Word : std::uint8_t { Level = 2, Face = 3 };
    std::vector<Target> targets;
    const Data::StateSlots& slots = m_state.Slots();
    for (const Slot slot : slots.Of(framebuffer)) {
        const Data::StateSlots::Value& value = slots.ValueOf(slot);
        if (slots.StateOf(slot) != State::Attachment || value.bound == 0)
            continue;
        const std::uint32_t attachment = slots.FirstOf(slot);
        const auto word = [&](Word number) { return static_cast<std::uint32_t>(value.words[number]); };
        const std::uint32_t face = word(Face) != 0 ? word(Face) : Object(value.bound).target;
        targets.push_back({attachment, {value.bound, face, word(Level)}, AspectsOf(attachment)});
    }
    return targets;
}

std::vector<StateTracker::Target> StateTracker::DrawTargets()
{
    if (const Owner framebuffer = BoundFramebuffer(true))
        return Attachments(framebuffer);
    if (const Owner surface = SurfaceOwner(m_threads[Thread()].draw))
        return {{GL_BACK, {surface, 0, 0}, AllAspects}};
    return {};
}

void StateTracker::ReadsContext()
{
    ReadsAll(Context().owner);
    ReadsObject(m_state.BoundVertexArray());
    ReadsObject(m_state.BoundTransformFeedback());
    for (const Slot slot : Context().bindings) {
        if (const Owner bound = m_state.Slots().ValueOf(slot).bound)
            ReadsObject(bound);
    }
    for (const auto& [key, owner] : Context().defaults) {
        if (key.first == ObjectKind::Texture)
            ReadsAll(owner);
    }
    if (BoundFramebuffer(true) == 0)
        ReadsAll(SurfaceOwner(m_threads[Thread()].draw));
}

void StateTracker::ReadsReadFramebuffer()
{
    Reads(FramebufferSlot(false));
    if (const Owner framebuffer = BoundFramebuffer(false))
        ReadsObject(framebuffer);
    else
        ReadsAll(SurfaceOwner(m_threads[Thread()].read));
}

void StateTracker::ChangesAllPixels(Owner texture)
{
    // One more, for images that nothing has written yet.
    Changes(SlotOf(texture, State::Pixels));
    for (const Slot slot : m_state.Slots().Of(texture)) {
        if (m_state.Slots().StateOf(slot) == State::Pixels)
            Changes(slot);
    }
}

void StateTracker::ChangesShaderOutput()
{
    const Data::StateSlots& slots = m_state.Slots();
    for (const Slot slot : Context().bindings) {
        const Owner object = slots.ValueOf(slot).bound;
        if (object == 0)
            continue;
        if (slots.StateOf(slot) == State::ImageTexture)
            ChangesAllPixels(object);
        else if (slots.StateOf(slot) == State::IndexedBuffer && slots.FirstOf(slot) != GL_UNIFORM_BUFFER)
            WritesBuffer(object);
    }
    if (Info().isCapturing) {
        for (const Owner buffer : Object(m_state.BoundTransformFeedback()).references)
            WritesBuffer(buffer);
    }
}

void StateTracker::WritesBuffer(Owner buffer)
{
    Object(buffer).isDrawn = true;
    Changes(SlotOf(buffer, State::Data));
}

void StateTracker::Draw()
{
    for (const Target& target : DrawTargets())
        Draws(target.image, target.aspects);
    for (const auto& [target, query] : Info().queries) {
        if (query != 0)
            Changes(SampleSlot(query));
    }
    ChangesShaderOutput();
    ReadsContext();
}

bool StateTracker::ClearsAll(const std::vector<Target>& targets, std::uint32_t aspects)
{
    if (Setting(State::Capability, GL_SCISSOR_TEST) != 0 || Setting(State::Capability, GL_RASTERIZER_DISCARD) != 0)
        return false;
    for (std::uint32_t i = 0; (aspects & Color) != 0 && i < Data::drawBuffers; ++i) {
        for (std::size_t channel = 0; channel < 4; ++channel) {
            if (Setting(State::ColorMask, 0, i, channel) == 0)
                return false;
        }
    }
    if ((aspects & Depth) != 0 && Setting(State::DepthMask) == 0)
        return false;
    for (const std::uint32_t face : {0, 1}) {
        constexpr std::uint32_t all = 0xFF;
        if ((aspects & Stencil) != 0 && (static_cast<std::uint32_t>(Setting(State::StencilMask, 0, face)) & all) != all)
            return false;
    }
    if (BoundFramebuffer(true) == 0)
        return true;
    // Only the area that all attachments have in common is cleared.
    return std::ranges::all_of(targets, [&](const Target& target) {
        const std::optional<ImageSize> size = SizeOf(target.image);
        return IsSingleImage(target.image.face) && size && size == SizeOf(targets.front().image) && size->width > 0 &&
               !Object(target.image.object).isAliased;
    });
}

void StateTracker::Clear(std::uint32_t aspects, std::optional<std::uint32_t> drawBuffer)
{
    const std::vector<Target> targets = DrawTargets();
    const Owner condition = m_state.Bound(State::ConditionalRender);
    const bool isWhole = condition == 0 && ClearsAll(targets, aspects);
    const Owner framebuffer = BoundFramebuffer(true);
    const Data::Words selected =
        m_state.WordsAt(SlotOf(framebuffer != 0 ? framebuffer : Context().owner, State::DrawBuffers));
    const Data::Words drawBuffers = selected.empty() ? Data::Words{GL_COLOR_ATTACHMENT0} : selected;
    // Which of the attachments the call clears: those that draws go to, or one of them.
    const auto isCleared = [&](std::uint32_t attachment) {
        if (!IsColorAttachment(attachment))
            return true;
        if (drawBuffer)
            return *drawBuffer < drawBuffers.size() && drawBuffers[*drawBuffer] == attachment;
        return std::ranges::find(drawBuffers, attachment) != drawBuffers.end();
    };
    for (const Target& target : targets) {
        const std::uint32_t cleared = target.aspects & aspects;
        if (!isWhole || !isCleared(target.attachment) || (framebuffer == 0 && !selected.empty())) {
            Draws(target.image, cleared);
            continue;
        }
        Object(target.image.object).drawn.insert(target.image.Place());
        for (const Aspects aspect : {Color, Depth, Stencil}) {
            if ((cleared & aspect) != 0)
                Replaces(PixelsOf(target.image, aspect));
        }
    }
    // Neither programs nor what they read have a part in it.
    ReadsAll(Context().owner);
    ReadsAll(condition);
    if (framebuffer != 0)
        ReadsFramebufferSetup(framebuffer);
}

void StateTracker::ReadsFramebufferSetup(Owner framebuffer)
{
    ReadsAll(framebuffer);
    for (const Target& target : Attachments(framebuffer)) {
        for (const Slot slot : m_state.Slots().Of(target.image.object)) {
            if (m_state.Slots().StateOf(slot) != State::Pixels)
                Reads(slot);
        }
    }
}

void StateTracker::CopyImage(const CallArguments& call)
{
    const auto object = [&](std::size_t name) {
        const bool isRenderbuffer = call.Unsigned(name + 1) == GL_RENDERBUFFER;
        return Find(isRenderbuffer ? ObjectKind::Renderbuffer : ObjectKind::Texture, call.Unsigned(name));
    };
    const Owner source = object(0);
    const Owner target = object(6);
    ChangesAllPixels(target);
    ReadsAll(source);
    ReadsAll(target);
}

bool StateTracker::TrackDrawing(const CallArguments& call)
{
    if (Data::EffectsOf(call.Call()).isDraw) {
        Draw();
        if (call.Call() == CallId::glDrawTransformFeedbackEXT ||
            call.Call() == CallId::glDrawTransformFeedbackInstancedEXT)
            ReadsObject(Find(ObjectKind::TransformFeedback, call.Unsigned(1)));
        return true;
    }
    switch (call.Call()) {
    case CallId::glDispatchCompute:
    case CallId::glDispatchComputeIndirect:
        ChangesShaderOutput();
        ReadsContext();
        return true;
    case CallId::glBeginTransformFeedback:
    case CallId::glEndTransformFeedback:
    case CallId::glPauseTransformFeedback:
    case CallId::glResumeTransformFeedback:
        // Kept, so that a draw that is kept is between the same calls.
        m_log.SetVerdict(Verdict::Keep);
        Info().isCapturing = call.Call() != CallId::glEndTransformFeedback;
        for (const State state : {State::Program, State::Pipeline, State::TransformFeedback}) {
            Reads(ContextSlot(state));
            ReadsObject(m_state.Bound(state));
        }
        ReadsObject(m_state.BoundTransformFeedback());
        return true;
    case CallId::glBlitFramebuffer:
        for (const Target& target : DrawTargets())
            Draws(target.image, target.aspects);
        ReadsContext();
        ReadsReadFramebuffer();
        return true;
    case CallId::glReadPixels:
    case CallId::glReadnPixels:
    case CallId::glReadnPixelsEXT:
        // Into a buffer, or only for the application.
        if (const Owner buffer = BoundBuffer(GL_PIXEL_PACK_BUFFER)) {
            WritesBuffer(buffer);
            ReadsContext();
            ReadsReadFramebuffer();
        }
        return true;
    case CallId::glCopyImageSubData:
        CopyImage(call);
        return true;
    default:
        return TrackClear(call);
    }
}

bool StateTracker::TrackClear(const CallArguments& call)
{
    switch (call.Call()) {
    case CallId::glClear: {
        const std::uint32_t mask = call.Unsigned(0);
        Clear(((mask & GL_COLOR_BUFFER_BIT) != 0 ? Color : 0u) | ((mask & GL_DEPTH_BUFFER_BIT) != 0 ? Depth : 0u) |
                  ((mask & GL_STENCIL_BUFFER_BIT) != 0 ? Stencil : 0u),
              std::nullopt);
        return true;
    }
    case CallId::glClearBufferfv:
    case CallId::glClearBufferiv:
    case CallId::glClearBufferuiv:
        if (call.Unsigned(0) == GL_COLOR)
            Clear(Color, call.Unsigned(1));
        else
            Clear(call.Unsigned(0) == GL_DEPTH ? Depth : Stencil, std::nullopt);
        return true;
    case CallId::glClearBufferfi:
        Clear(Depth | Stencil, std::nullopt);
        return true;
    default:
        return false;
    }
}

} // namespace Trim
