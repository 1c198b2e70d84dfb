// Calls on framebuffers, and all that write pixels without an upload: draws, clears, blits, copies, compute.
#include <algorithm>

#include <GLES2/gl2.h>
#include <GLES2/gl2ext.h>
#include <GLES3/gl32.h>

#include "Trim/StateTracker.h"

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

bool StateTracker::TrackFramebuffer(const CallArguments& call)
{
    switch (call.Call()) {
    case CallId::glFramebufferTexture2D:
    case CallId::glFramebufferTexture2DExternalTAVO:
    case CallId::glFramebufferTexture2DMultisampleEXT:
    case CallId::glFramebufferTexture3DOES:
        Attach(call, {Find(ObjectKind::Texture, call.Unsigned(3)), call.Unsigned(2), call.Unsigned(4)});
        return true;
    case CallId::glFramebufferRenderbuffer:
    case CallId::glFramebufferRenderbufferExternalTAVO:
        Attach(call, {Find(ObjectKind::Renderbuffer, call.Unsigned(3)), 0, 0});
        return true;
    case CallId::glFramebufferTexture:
    case CallId::glFramebufferTextureEXT:
    case CallId::glFramebufferTextureLayer:
    case CallId::glFramebufferTextureMultisampleMultiviewOVR:
    case CallId::glFramebufferTextureMultiviewOVR: {
        const Owner texture = Find(ObjectKind::Texture, call.Unsigned(2));
        Attach(call, {texture, m_objects[texture].target, call.Unsigned(3)});
        return true;
    }
    case CallId::glDrawBuffers: {
        const Owner framebuffer = Value(Piece::DrawFramebuffer);
        Replaces(m_slots.At(framebuffer != 0 ? framebuffer : m_context->owner, Piece::Setting,
                            static_cast<std::uint32_t>(call.Call())));
        Reads(ContextSlot(Piece::DrawFramebuffer));
        std::vector<std::uint32_t>& buffers = m_objects[framebuffer].drawBuffers;
        buffers.clear();
        for (std::int32_t i = 0; i < call.Signed(0); ++i)
            buffers.push_back(call.Element(1, static_cast<std::size_t>(i)));
        return true;
    }
    case CallId::glReadBuffer: {
        const Owner framebuffer = Value(Piece::ReadFramebuffer);
        Replaces(m_slots.At(framebuffer != 0 ? framebuffer : m_context->owner, Piece::Setting,
                            static_cast<std::uint32_t>(call.Call())));
        Reads(ContextSlot(Piece::ReadFramebuffer));
        return true;
    }
    default:
        return false;
    }
}

void StateTracker::Attach(const CallArguments& call, const Image& image)
{
    const bool isRead = call.Unsigned(0) == GL_READ_FRAMEBUFFER;
    const Piece binding = isRead ? Piece::ReadFramebuffer : Piece::DrawFramebuffer;
    Reads(ContextSlot(binding));
    const Owner framebuffer = Value(binding);
    if (framebuffer == 0)
        return;
    const auto attach = [&](std::uint32_t attachment) {
        Replaces(m_slots.At(framebuffer, Piece::Attachment, attachment));
        if (image.object != 0)
            m_objects[framebuffer].attachments[attachment] = image;
        else
            m_objects[framebuffer].attachments.erase(attachment);
    };
    if (call.Unsigned(1) == GL_DEPTH_STENCIL_ATTACHMENT) {
        attach(GL_DEPTH_ATTACHMENT);
        attach(GL_STENCIL_ATTACHMENT);
    } else {
        attach(call.Unsigned(1));
    }
    Exists(framebuffer);
    if (image.object != 0) {
        Refer(framebuffer, image.object);
        Exists(image.object);
    }
}

std::vector<StateTracker::Target> StateTracker::DrawTargets()
{
    std::vector<Target> targets;
    if (const Owner framebuffer = Value(Piece::DrawFramebuffer)) {
        for (const auto& [attachment, image] : m_objects[framebuffer].attachments)
            targets.push_back({attachment, image, AspectsOf(attachment)});
    } else if (const Owner surface = SurfaceOwner(m_threads[m_thread].draw)) {
        targets.push_back({GL_BACK, {surface, 0, 0}, AllAspects});
    }
    return targets;
}

void StateTracker::ReadsContext()
{
    ReadsAll(m_context->owner);
    ReadsObject(BoundVertexArray());
    ReadsObject(BoundTransformFeedback());
    for (const Slot slot : m_context->bindings) {
        if (const Owner bound = m_slots.Value(slot))
            ReadsObject(bound);
    }
    for (const auto& [target, texture] : m_context->defaultTextures)
        ReadsAll(texture);
    if (Value(Piece::DrawFramebuffer) == 0)
        ReadsAll(SurfaceOwner(m_threads[m_thread].draw));
}

void StateTracker::ReadsReadFramebuffer()
{
    Reads(ContextSlot(Piece::ReadFramebuffer));
    if (const Owner framebuffer = Value(Piece::ReadFramebuffer))
        ReadsObject(framebuffer);
    else
        ReadsAll(SurfaceOwner(m_threads[m_thread].read));
}

void StateTracker::ChangesAllPixels(Owner texture)
{
    // One more, for images that nothing has written yet.
    Changes(m_slots.At(texture, Piece::Pixels));
    for (const Slot slot : m_slots.Of(texture)) {
        if (m_slots.PieceOf(slot) == Piece::Pixels)
            Changes(slot);
    }
}

void StateTracker::ChangesShaderOutput()
{
    for (const Slot slot : m_context->bindings) {
        const Owner object = m_slots.Value(slot);
        if (object == 0)
            continue;
        if (m_slots.PieceOf(slot) == Piece::ImageBinding) {
            ChangesAllPixels(object);
        } else if (m_slots.PieceOf(slot) == Piece::IndexedBinding && m_objects[object].kind == ObjectKind::Buffer &&
                   m_slots.FirstOf(slot) != GL_UNIFORM_BUFFER) {
            WritesBuffer(object);
        }
    }
    if (m_context->isCapturing) {
        for (const Owner buffer : m_objects[BoundTransformFeedback()].references)
            WritesBuffer(buffer);
    }
}

void StateTracker::WritesBuffer(Owner buffer)
{
    m_objects[buffer].isDrawn = true;
    Changes(m_slots.At(buffer, Piece::Data));
}

void StateTracker::Draw()
{
    for (const Target& target : DrawTargets())
        Draws(target.image, target.aspects);
    ChangesShaderOutput();
    ReadsContext();
}

bool StateTracker::ClearsAll(const std::vector<Target>& targets, std::uint32_t aspects)
{
    const auto isWritten = [this](CallId mask, std::uint32_t key) {
        return m_slots.Value(SettingSlot(mask, key)) == 0;
    };
    if (IsEnabled(GL_SCISSOR_TEST) || IsEnabled(GL_RASTERIZER_DISCARD))
        return false;
    if ((aspects & Color) != 0 && (!isWritten(CallId::glColorMask, 0) || m_context->hasIndexedMasks))
        return false;
    if ((aspects & Depth) != 0 && !isWritten(CallId::glDepthMask, 0))
        return false;
    if ((aspects & Stencil) != 0 &&
        !(isWritten(CallId::glStencilMask, GL_FRONT) && isWritten(CallId::glStencilMask, GL_BACK)))
        return false;
    if (Value(Piece::DrawFramebuffer) == 0)
        return true;
    // Only the area that all attachments have in common is cleared.
    return std::ranges::all_of(targets, [&](const Target& target) {
        const std::optional<ImageSize> size = SizeOf(target.image);
        return IsSingleImage(target.image.face) && size && size == SizeOf(targets.front().image) && size->width > 0 &&
               !m_objects[target.image.object].isAliased;
    });
}

void StateTracker::Clear(std::uint32_t aspects, std::optional<std::uint32_t> drawBuffer)
{
    const std::vector<Target> targets = DrawTargets();
    const bool isWhole = ClearsAll(targets, aspects);
    const Owner framebuffer = Value(Piece::DrawFramebuffer);
    const std::vector<std::uint32_t>& selected = m_objects[framebuffer].drawBuffers;
    const std::vector<std::uint32_t> first{GL_COLOR_ATTACHMENT0};
    const std::vector<std::uint32_t>& drawBuffers = selected.empty() ? first : selected;
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
        m_objects[target.image.object].drawn.insert(target.image.Place());
        for (const Aspects aspect : {Color, Depth, Stencil}) {
            if ((cleared & aspect) != 0)
                Replaces(PixelsOf(target.image, aspect));
        }
    }
    // Neither programs nor what they read have a part in it.
    ReadsAll(m_context->owner);
    if (framebuffer != 0)
        ReadsFramebufferSetup(framebuffer);
}

void StateTracker::ReadsFramebufferSetup(Owner framebuffer)
{
    ReadsAll(framebuffer);
    for (const auto& [attachment, image] : m_objects[framebuffer].attachments) {
        for (const Slot slot : m_slots.Of(image.object)) {
            if (m_slots.PieceOf(slot) != Piece::Pixels)
                Reads(slot);
        }
    }
}

bool StateTracker::TrackDrawing(const CallArguments& call)
{
    switch (call.Call()) {
    case CallId::glDrawArrays:
    case CallId::glDrawArraysIndirect:
    case CallId::glDrawArraysInstanced:
    case CallId::glDrawElements:
    case CallId::glDrawElementsBaseVertex:
    case CallId::glDrawElementsIndirect:
    case CallId::glDrawElementsInstanced:
    case CallId::glDrawElementsInstancedBaseVertex:
    case CallId::glDrawRangeElements:
    case CallId::glDrawRangeElementsBaseVertex:
        Draw();
        return true;
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
        m_context->isCapturing = call.Call() != CallId::glEndTransformFeedback;
        for (const Piece piece : {Piece::Program, Piece::Pipeline, Piece::TransformFeedback}) {
            Reads(ContextSlot(piece));
            ReadsObject(Value(piece));
        }
        ReadsObject(BoundTransformFeedback());
        return true;
    case CallId::glBlitFramebuffer:
        for (const Target& target : DrawTargets())
            Draws(target.image, target.aspects);
        ReadsContext();
        ReadsReadFramebuffer();
        return true;
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
    case CallId::glCopyImageSubData: {
        const auto object = [&](std::size_t name) {
            const bool isRenderbuffer = call.Unsigned(name + 1) == GL_RENDERBUFFER;
            return Find(isRenderbuffer ? ObjectKind::Renderbuffer : ObjectKind::Texture, call.Unsigned(name));
        };
        const Owner source = object(0);
        const Owner target = object(6);
        ChangesAllPixels(target);
        ReadsAll(source);
        ReadsAll(target);
        return true;
    }
    default:
        return false;
    }
}

} // namespace Trim
