// Calls that make, delete, bind and name objects.
#include <algorithm>

#include <GLES2/gl2.h>
#include <GLES2/gl2ext.h>
#include <GLES3/gl32.h>

#include "Trim/StateTracker.h"

namespace Trim {

namespace {

using Data::CallId;

/// Calls that make and delete objects of a kind by names in memory.
struct NameCalls {
    ObjectKind kind;
    CallId generate;
    CallId remove;
};

constexpr NameCalls nameCalls[] = {
    {ObjectKind::Texture, CallId::glGenTextures, CallId::glDeleteTextures},
    {ObjectKind::Buffer, CallId::glGenBuffers, CallId::glDeleteBuffers},
    {ObjectKind::Framebuffer, CallId::glGenFramebuffers, CallId::glDeleteFramebuffers},
    {ObjectKind::Renderbuffer, CallId::glGenRenderbuffers, CallId::glDeleteRenderbuffers},
    {ObjectKind::Sampler, CallId::glGenSamplers, CallId::glDeleteSamplers},
    {ObjectKind::Query, CallId::glGenQueries, CallId::glDeleteQueries},
    {ObjectKind::Query, CallId::glGenQueriesEXT, CallId::glDeleteQueriesEXT},
    {ObjectKind::VertexArray, CallId::glGenVertexArrays, CallId::glDeleteVertexArrays},
    {ObjectKind::VertexArray, CallId::glGenVertexArraysOES, CallId::glDeleteVertexArraysOES},
    {ObjectKind::TransformFeedback, CallId::glGenTransformFeedbacks, CallId::glDeleteTransformFeedbacks},
    {ObjectKind::Pipeline, CallId::glGenProgramPipelines, CallId::glDeleteProgramPipelines},
};

/// What debug labels call a kind.
struct LabeledKind {
    std::uint32_t identifier;
    ObjectKind kind;
};

constexpr LabeledKind labeledKinds[] = {
    {GL_TEXTURE, ObjectKind::Texture},
    {GL_BUFFER, ObjectKind::Buffer},
    {GL_BUFFER_OBJECT_EXT, ObjectKind::Buffer},
    {GL_SHADER, ObjectKind::Shader},
    {GL_SHADER_OBJECT_EXT, ObjectKind::Shader},
    {GL_PROGRAM, ObjectKind::Program},
    {GL_PROGRAM_OBJECT_EXT, ObjectKind::Program},
    {GL_RENDERBUFFER, ObjectKind::Renderbuffer},
    {GL_SAMPLER, ObjectKind::Sampler},
    {GL_FRAMEBUFFER, ObjectKind::Framebuffer},
    {GL_VERTEX_ARRAY, ObjectKind::VertexArray},
    {GL_VERTEX_ARRAY_OBJECT_EXT, ObjectKind::VertexArray},
    {GL_QUERY, ObjectKind::Query},
    {GL_QUERY_OBJECT_EXT, ObjectKind::Query},
    {GL_TRANSFORM_FEEDBACK, ObjectKind::TransformFeedback},
    {GL_PROGRAM_PIPELINE, ObjectKind::Pipeline},
    {GL_PROGRAM_PIPELINE_OBJECT_EXT, ObjectKind::Pipeline},
};

} // namespace

bool StateTracker::TrackObject(const CallArguments& call)
{
    for (const NameCalls& calls : nameCalls) {
        if (call.Call() == calls.generate || call.Call() == calls.remove) {
            for (std::int32_t i = 0; i < call.Signed(0); ++i) {
                const std::uint32_t name = call.Element(1, static_cast<std::size_t>(i));
                call.Call() == calls.generate ? Create(calls.kind, name) : Delete(calls.kind, name);
            }
            return true;
        }
    }
    const auto label = [this](Owner owner) {
        if (owner != 0) {
            Replaces(m_slots.At(owner, Piece::Label));
            Exists(owner);
        }
    };
    switch (call.Call()) {
    case CallId::glFenceSync:
        Create(ObjectKind::Sync, call.Returned());
        return true;
    case CallId::glDeleteSync:
        Delete(ObjectKind::Sync, call.Unsigned(0));
        return true;

    case CallId::glObjectLabel:
    case CallId::glObjectLabelKHR:
    case CallId::glLabelObjectEXT: {
        const auto* const labeled = std::ranges::find(labeledKinds, call.Unsigned(0), &LabeledKind::identifier);
        if (labeled != std::end(labeledKinds))
            label(Find(labeled->kind, call.Unsigned(1)));
        return true;
    }
    case CallId::glObjectPtrLabel:
    case CallId::glObjectPtrLabelKHR:
        label(Find(ObjectKind::Sync, call.Unsigned(0)));
        return true;

    case CallId::glBeginQuery:
    case CallId::glBeginQueryEXT:
        if (const Owner query = Find(ObjectKind::Query, call.Unsigned(1))) {
            Replaces(m_slots.At(query, Piece::QueryResult));
            Exists(query);
            m_slots.Value(ContextSlot(Piece::QueryResult, call.Unsigned(0))) = query;
        }
        return true;
    case CallId::glEndQuery:
    case CallId::glEndQueryEXT:
        if (const Owner query = Value(Piece::QueryResult, call.Unsigned(0))) {
            Changes(m_slots.At(query, Piece::QueryResult));
            Reads(m_slots.At(query, Piece::QueryResult));
        }
        return true;
    case CallId::glQueryCounterEXT:
        if (const Owner query = Find(ObjectKind::Query, call.Unsigned(0))) {
            Replaces(m_slots.At(query, Piece::QueryResult));
            Exists(query);
        }
        return true;
    default:
        return false;
    }
}

void StateTracker::Bind(Slot slot, ObjectKind kind, std::uint32_t name)
{
    const Owner owner = Find(kind, name);
    Replaces(slot);
    m_slots.Value(slot) = owner;
    if (m_slots.OwnerOf(slot) == m_context->owner)
        m_context->bindings.insert(slot);
    if (owner == 0)
        return;
    Exists(owner);
    if (!m_objects[owner].wasBound) {
        m_objects[owner].wasBound = true;
        // Kept with the object, even when something else is bound before it is used.
        Changes(m_slots.At(owner, Piece::Object));
    }
}

bool StateTracker::TrackBinding(const CallArguments& call)
{
    switch (call.Call()) {
    case CallId::glActiveTexture:
        Replaces(ContextSlot(Piece::ActiveUnit));
        m_slots.Value(ContextSlot(Piece::ActiveUnit)) = call.Unsigned(0) - GL_TEXTURE0;
        return true;
    case CallId::glBindTexture: {
        Bind(ContextSlot(Piece::TextureBinding, Value(Piece::ActiveUnit), call.Unsigned(0)), ObjectKind::Texture,
             call.Unsigned(1));
        Reads(ContextSlot(Piece::ActiveUnit));
        if (const Owner texture = Find(ObjectKind::Texture, call.Unsigned(1)))
            m_objects[texture].target = call.Unsigned(0);
        return true;
    }
    case CallId::glBindSampler:
        Bind(ContextSlot(Piece::SamplerBinding, call.Unsigned(0)), ObjectKind::Sampler, call.Unsigned(1));
        return true;
    case CallId::glBindImageTexture:
        Bind(ContextSlot(Piece::ImageBinding, call.Unsigned(0)), ObjectKind::Texture, call.Unsigned(1));
        return true;
    case CallId::glBindBuffer:
        Bind(BufferSlot(call.Unsigned(0)), ObjectKind::Buffer, call.Unsigned(1));
        if (call.Unsigned(0) == GL_ELEMENT_ARRAY_BUFFER) {
            Reads(ContextSlot(Piece::VertexArray));
            Refer(BoundVertexArray(), Find(ObjectKind::Buffer, call.Unsigned(1)));
        }
        return true;
    case CallId::glBindBufferBase:
    case CallId::glBindBufferRange:
        // Binds to the target itself as well.
        Bind(IndexedBufferSlot(call.Unsigned(0), call.Unsigned(1)), ObjectKind::Buffer, call.Unsigned(2));
        Bind(BufferSlot(call.Unsigned(0)), ObjectKind::Buffer, call.Unsigned(2));
        if (call.Unsigned(0) == GL_TRANSFORM_FEEDBACK_BUFFER) {
            Reads(ContextSlot(Piece::TransformFeedback));
            Refer(BoundTransformFeedback(), Find(ObjectKind::Buffer, call.Unsigned(2)));
        }
        return true;
    case CallId::glBindFramebuffer:
        if (call.Unsigned(0) != GL_READ_FRAMEBUFFER)
            Bind(ContextSlot(Piece::DrawFramebuffer), ObjectKind::Framebuffer, call.Unsigned(1));
        if (call.Unsigned(0) != GL_DRAW_FRAMEBUFFER)
            Bind(ContextSlot(Piece::ReadFramebuffer), ObjectKind::Framebuffer, call.Unsigned(1));
        return true;
    case CallId::glBindRenderbuffer:
        Bind(ContextSlot(Piece::Renderbuffer), ObjectKind::Renderbuffer, call.Unsigned(1));
        return true;
    case CallId::glBindVertexArray:
    case CallId::glBindVertexArrayOES:
        Bind(ContextSlot(Piece::VertexArray), ObjectKind::VertexArray, call.Unsigned(0));
        return true;
    case CallId::glBindTransformFeedback:
        Bind(ContextSlot(Piece::TransformFeedback), ObjectKind::TransformFeedback, call.Unsigned(1));
        return true;
    case CallId::glBindProgramPipeline:
        Bind(ContextSlot(Piece::Pipeline), ObjectKind::Pipeline, call.Unsigned(0));
        return true;
    case CallId::glUseProgram: {
        const Owner before = Value(Piece::Program);
        Bind(ContextSlot(Piece::Program), ObjectKind::Program, call.Unsigned(0));
        if (before != 0 && m_objects[before].isDeleted)
            EndUnusedProgram(before);
        return true;
    }
    default:
        return false;
    }
}

Slot StateTracker::BufferSlot(std::uint32_t target)
{
    return m_slots.At(target == GL_ELEMENT_ARRAY_BUFFER ? BoundVertexArray() : m_context->owner, Piece::BufferBinding,
                      target);
}

Slot StateTracker::IndexedBufferSlot(std::uint32_t target, std::uint32_t index)
{
    return m_slots.At(target == GL_TRANSFORM_FEEDBACK_BUFFER ? BoundTransformFeedback() : m_context->owner,
                      Piece::IndexedBinding, target, index);
}

Owner StateTracker::BoundVertexArray()
{
    const Owner bound = Value(Piece::VertexArray);
    return bound != 0 ? bound : m_context->defaultVertexArray;
}

Owner StateTracker::BoundTransformFeedback()
{
    const Owner bound = Value(Piece::TransformFeedback);
    return bound != 0 ? bound : m_context->defaultTransformFeedback;
}

} // namespace Trim
