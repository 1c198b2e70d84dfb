#include "Trim/Track/StateTracker.h"

namespace Trim {

Verdict VerdictOf(Data::RecordId id)
{
    using Data::RecordId;
    switch (id) {
    case RecordId::Note:
    case RecordId::WindowSize:
    case RecordId::EGLImageCreate:
    case RecordId::ConfigAttribs:
    case RecordId::SurfaceAttribs:
    case RecordId::MultisampleTexture:
    case RecordId::ReferenceDriver:
        return Verdict::Keep;
    case RecordId::EGLImageContent:
        return Verdict::IfUsed;
    default:
        return Verdict::Drop;
    }
}

void StateTracker::Call(const CallArguments& call)
{
    EffectLog& log = m_tracked.Log();
    Data::StateModel& model = m_tracked.Model();
    log.Begin();
    model.Begin();
    if (IsEGL(call.Call())) {
        if (!m_egl.Track(call))
            log.SetVerdict(Verdict::Keep);
        return;
    }
    // Without a context a call does nothing.
    if (!model.HasContext())
        return;
    const bool hasObjects = m_objects.Track(call);
    const bool isDescribed = m_changes.Track(call) || hasObjects;
    const bool isFixedFunction = m_fixedFunctions.Track(call);
    const bool isKnown = m_drawing.Track(call) || m_buffers.Track(call) || m_textures.Track(call) ||
                         m_programs.Track(call) || m_spans.Track(call) || isFixedFunction || isDescribed;
    for (const Owner owner : model.MadeUp())
        m_tracked.Replaces(m_tracked.SlotOf(owner, State::Object));
    if (!isKnown)
        log.SetVerdict(Verdict::KeepAll);
}

void StateTracker::Upload(const CallArguments& call)
{
    Call(call);
    m_tracked.Log().Clear();
    Data::StateModel& model = m_tracked.Model();
    if (call.Call() == Data::CallId::glTexSubImage2D)
        Object(model.BoundTexture(call.Unsigned(0))).drawn.insert({call.Unsigned(0), call.Unsigned(1)});
    else if (call.Call() == Data::CallId::glBufferSubData)
        Object(model.Bound(State::Buffer, call.Unsigned(0))).isDrawn = true;
}

void StateTracker::FailedCall(const CallArguments& call)
{
    if (IsEGL(call.Call()))
        Call(call);
    else
        m_tracked.Log().Begin();
}

void StateTracker::BuiltIn(const Data::RecordView& record, Verdict verdict)
{
    using Data::RecordId;
    Data::MappedDataRecord mapped;
    Data::DefaultBufferRecord contents;
    Data::EGLImageRecord image;
    const auto id = static_cast<RecordId>(record.Header().id);
    m_tracked.Log().Begin();
    if ((id == RecordId::FlushMappedBufferRange || id == RecordId::UnmapBuffer) && record.Read(mapped))
        m_buffers.MappedData(mapped);
    else if ((id == RecordId::DefaultColor || id == RecordId::DefaultDepth || id == RecordId::DefaultStencil) &&
             record.Read(contents))
        Object(m_egl.SurfaceOwner(contents.surface)).drawn.insert(ImagePlace{});
    else if (id == RecordId::EGLImageContent && verdict == Verdict::IfUsed && record.Read(image))
        m_images.HoldsContents(image.image);
    else
        m_tracked.Log().SetVerdict(verdict);
}

} // namespace Trim
