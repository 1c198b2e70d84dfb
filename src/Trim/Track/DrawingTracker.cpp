#include "Trim/Track/DrawingTracker.h"

#include <algorithm>

#include <GLES2/gl2.h>
#include <GLES2/gl2ext.h>
#include <GLES3/gl32.h>

namespace Trim {

namespace {

using Data::CallId;

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

void DrawingTracker::ReadsContext()
{
    m_tracked.ReadsAll(m_tracked.Context().owner);
    ReadsArrays();
    m_tracked.ReadsObject(m_tracked.Model().BoundTransformFeedback());
    for (const Slot slot : m_tracked.Context().bindings)
        if (const Owner bound = m_tracked.Slots().ValueOf(slot).bound; bound != 0 && MayBeRead(slot)) {
            if (m_programReads && m_tracked.Slots().StateOf(slot) == State::Framebuffer)
                ReadsBound(bound);
            else
                m_tracked.ReadsObject(bound);
        }
    for (const auto& [key, owner] : m_tracked.Context().defaults)
        if (key.first == ObjectKind::Texture)
            m_tracked.ReadsAll(owner);
    if (m_tracked.BoundFramebuffer(true) == 0)
        m_tracked.ReadsAll(m_egl.DrawSurface());
}

/// Where it is known what the program samples, other bindings are known to have no part in a draw either.
bool DrawingTracker::MayBeRead(Slot binding) const
{
    if (!m_programReads)
        return true;
    const Data::StateSlots& slots = m_tracked.Slots();
    const std::uint32_t first = slots.FirstOf(binding);
    switch (slots.StateOf(binding)) {
    case State::Texture:
        return m_programReads->units.contains({first, slots.SecondOf(binding)}) ||
               m_programReads->units.contains({first, 0});
    case State::Sampler: {
        const auto unit = m_programReads->units.lower_bound({first, 0});
        return unit != m_programReads->units.end() && unit->first == first;
    }
    case State::Buffer:
        return first == GL_DRAW_INDIRECT_BUFFER || first == GL_DISPATCH_INDIRECT_BUFFER;
    case State::Renderbuffer:
    case State::VertexArray: // see ReadsArrays
        return false;
    case State::Framebuffer:
        return slots.SecondOf(binding) == 1; // the one for drawing
    default:
        return true;
    }
}

/// An object, and those that are bound in it now.
void DrawingTracker::ReadsBound(Owner container)
{
    m_tracked.ReadsAll(container);
    for (const Slot slot : m_tracked.Slots().Of(container))
        m_tracked.ReadsAll(m_tracked.Slots().ValueOf(slot).bound);
}

void DrawingTracker::ReadsArrays()
{
    Data::StateModel& model = m_tracked.Model();
    const Owner array = model.BoundVertexArray();
    if (!m_programReads)
        return m_tracked.ReadsObject(array);
    m_tracked.ReadsAll(array);
    m_tracked.ReadsAll(model.BoundAt(array, State::ElementBuffer));
    for (const std::uint32_t attribute : m_programReads->attributes) {
        const Slot binding = m_tracked.SlotOf(array, State::AttribBinding, attribute);
        const Data::Words words = model.WordsAt(binding);
        const std::uint32_t place = words.empty() ? attribute : static_cast<std::uint32_t>(words.front());
        if (model.Word(array, State::AttribEnabled, attribute) != 0)
            m_tracked.ReadsAll(model.BoundAt(array, State::BindingBuffer, place));
    }
}

void DrawingTracker::ChangesShaderOutput()
{
    const Data::StateSlots& slots = m_tracked.Slots();
    for (const Slot slot : m_tracked.Context().bindings) {
        const Owner object = slots.ValueOf(slot).bound;
        if (object == 0)
            continue;
        if (slots.StateOf(slot) == State::ImageTexture)
            m_images.ChangesAll(object);
        else if (slots.StateOf(slot) == State::IndexedBuffer && slots.FirstOf(slot) != GL_UNIFORM_BUFFER)
            WritesBuffer(object);
    }
    if (m_tracked.Info().isCapturing)
        for (const Owner buffer : m_tracked.Object(m_tracked.Model().BoundTransformFeedback()).references)
            WritesBuffer(buffer);
}

void DrawingTracker::WritesBuffer(Owner buffer)
{
    m_tracked.Object(buffer).isDrawn = true;
    m_tracked.Changes(m_tracked.SlotOf(buffer, State::Data));
}

void DrawingTracker::Draw()
{
    for (const FramebufferImage& target : m_framebuffers.DrawTargets())
        m_images.Draws(target.image, target.aspects);
    for (const auto& [target, query] : m_tracked.Info().queries)
        if (query != 0)
            m_tracked.Changes(m_tracked.SampleSlot(query));
    ChangesShaderOutput();
    ReadsContext();
}

bool DrawingTracker::ClearsAll(const std::vector<FramebufferImage>& targets, std::uint32_t aspects)
{
    if (m_tracked.Setting(State::Capability, GL_SCISSOR_TEST) != 0 ||
        m_tracked.Setting(State::Capability, GL_RASTERIZER_DISCARD) != 0)
        return false;
    for (std::uint32_t i = 0; (aspects & Color) != 0 && i < Data::DrawBuffers; ++i) {
        for (std::size_t channel = 0; channel < 4; ++channel)
            if (m_tracked.Setting(State::ColorMask, 0, i, channel) == 0)
                return false;
    }
    if ((aspects & Depth) != 0 && m_tracked.Setting(State::DepthMask) == 0)
        return false;
    for (const std::uint32_t face : {0, 1}) {
        constexpr std::uint32_t All = 0xFF;
        if ((aspects & Stencil) != 0 &&
            (static_cast<std::uint32_t>(m_tracked.Setting(State::StencilMask, 0, face)) & All) != All)
            return false;
    }
    if (m_tracked.BoundFramebuffer(true) == 0)
        return true;
    // Only the area that all attachments have in common is cleared.
    return std::ranges::all_of(targets, [&](const FramebufferImage& target) {
        const std::optional<ImageSize> size = m_images.SizeOf(target.image);
        return IsSingleImage(target.image.face) && size && size == m_images.SizeOf(targets.front().image) &&
               size->width > 0 && !m_tracked.Object(target.image.object).isAliased;
    });
}

void DrawingTracker::Clear(std::uint32_t aspects, std::optional<std::uint32_t> drawBuffer)
{
    const std::vector<FramebufferImage> targets = m_framebuffers.DrawTargets();
    const Owner condition = m_tracked.Model().Bound(State::ConditionalRender);
    const bool isWhole = condition == 0 && ClearsAll(targets, aspects);
    const Owner framebuffer = m_tracked.BoundFramebuffer(true);
    const Data::Words selected = m_tracked.Model().WordsAt(
        m_tracked.SlotOf(framebuffer != 0 ? framebuffer : m_tracked.Context().owner, State::DrawBuffers));
    const Data::Words drawBuffers = selected.empty() ? Data::Words{GL_COLOR_ATTACHMENT0} : selected;
    // Which of the attachments the call clears: those that draws go to, or one of them.
    const auto isCleared = [&](std::uint32_t attachment) {
        if (!IsColorAttachment(attachment))
            return true;
        if (drawBuffer)
            return *drawBuffer < drawBuffers.size() && drawBuffers[*drawBuffer] == attachment;
        return std::ranges::find(drawBuffers, attachment) != drawBuffers.end();
    };
    for (const FramebufferImage& target : targets) {
        const std::uint32_t cleared = target.aspects & aspects;
        if (!isWhole || !isCleared(target.attachment) || (framebuffer == 0 && !selected.empty())) {
            m_images.Draws(target.image, cleared);
            continue;
        }
        m_tracked.Object(target.image.object).drawn.insert(target.image.Place());
        for (const Aspects aspect : {Color, Depth, Stencil})
            if ((cleared & aspect) != 0)
                m_tracked.Replaces(m_images.SlotOf(target.image, aspect));
    }
    // Neither programs nor what they read have a part in it.
    m_tracked.ReadsAll(m_tracked.Context().owner);
    m_tracked.ReadsAll(condition);
    if (framebuffer != 0)
        m_framebuffers.ReadsSetup(framebuffer);
}

void DrawingTracker::CopyImage(const CallArguments& call)
{
    const auto object = [&](std::size_t name) {
        const bool isRenderbuffer = call.Unsigned(name + 1) == GL_RENDERBUFFER;
        return m_tracked.Find(isRenderbuffer ? ObjectKind::Renderbuffer : ObjectKind::Texture, call.Unsigned(name));
    };
    const Owner source = object(0);
    const Owner target = object(6);
    m_images.ChangesAll(target);
    m_tracked.ReadsAll(source);
    m_tracked.ReadsAll(target);
}

bool DrawingTracker::Track(const CallArguments& call)
{
    if (Data::EffectsOf(call.Call()).isDraw) {
        Draw();
        if (call.Call() == CallId::glDrawTransformFeedbackEXT ||
            call.Call() == CallId::glDrawTransformFeedbackInstancedEXT)
            m_tracked.ReadsObject(m_tracked.Find(ObjectKind::TransformFeedback, call.Unsigned(1)));
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
        m_tracked.Log().SetVerdict(Verdict::Keep);
        m_tracked.Info().isCapturing = call.Call() != CallId::glEndTransformFeedback;
        for (const State state : {State::Program, State::Pipeline, State::TransformFeedback}) {
            m_tracked.Reads(m_tracked.ContextSlot(state));
            m_tracked.ReadsObject(m_tracked.Model().Bound(state));
        }
        m_tracked.ReadsObject(m_tracked.Model().BoundTransformFeedback());
        return true;
    case CallId::glBlitFramebuffer:
        for (const FramebufferImage& target : m_framebuffers.DrawTargets())
            m_images.Draws(target.image, target.aspects);
        ReadsContext();
        m_framebuffers.ReadsReadFramebuffer();
        return true;
    case CallId::glReadPixels:
    case CallId::glReadnPixels:
    case CallId::glReadnPixelsEXT:
        // Into a buffer, or only for the application.
        if (const Owner buffer = m_tracked.BoundBuffer(GL_PIXEL_PACK_BUFFER)) {
            WritesBuffer(buffer);
            ReadsContext();
            m_framebuffers.ReadsReadFramebuffer();
        }
        return true;
    case CallId::glCopyImageSubData:
        CopyImage(call);
        return true;
    default:
        return TrackClear(call);
    }
}

bool DrawingTracker::TrackClear(const CallArguments& call)
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
