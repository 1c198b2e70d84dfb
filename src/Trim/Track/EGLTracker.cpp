#include "Trim/Track/EGLTracker.h"

#include <utility>

#include <EGL/egl.h>
#include <EGL/eglext.h>

namespace Trim {

using Data::CallId;

namespace {

/// Calls that leave nothing behind which a later one depends on.
bool IsWithoutEffect(CallId call)
{
    switch (call) {
    case CallId::eglSwapBuffers:
    case CallId::eglDupNativeFenceFDANDROID:
    case CallId::eglGetError:
    case CallId::eglGetConfigAttrib:
    case CallId::eglGetCurrentContext:
    case CallId::eglGetCurrentDisplay:
    case CallId::eglGetCurrentSurface:
    case CallId::eglGetProcAddress:
    case CallId::eglGetSyncAttribKHR:
    case CallId::eglExportDMABUFImageMESA:
    case CallId::eglExportDMABUFImageQueryMESA:
    case CallId::eglQueryAPI:
    case CallId::eglQueryContext:
    case CallId::eglQueryDmaBufFormatsEXT:
    case CallId::eglQueryDmaBufModifiersEXT:
    case CallId::eglQueryString:
    case CallId::eglQuerySurface:
    case CallId::eglWaitClient:
    case CallId::eglWaitGL:
    case CallId::eglWaitNative:
    case CallId::eglWaitSyncKHR:
    case CallId::eglClientWaitSyncKHR:
    case CallId::eglSetDamageRegionKHR:
        return true;
    default:
        return false;
    }
}

} // namespace

bool EGLTracker::Track(const CallArguments& call)
{
    if (IsWithoutEffect(call.Call()))
        return true;
    switch (call.Call()) {
    case CallId::eglSwapInterval:
        if (const Owner surface = DrawSurface())
            m_tracked.Replaces(m_tracked.SlotOf(surface, State::SwapInterval));
        return true;
    case CallId::eglCreateContext:
        m_tracked.Model().CreateContext(call.Returned(), call.Unsigned(0), call.Unsigned(2));
        return false;
    case CallId::eglDestroyContext:
        DestroyContext(call.Unsigned(1));
        return false;
    case CallId::eglMakeCurrent:
        return MakeCurrent(call);
    case CallId::eglReleaseThread:
        m_threads[m_tracked.Thread()].context = 0;
        m_tracked.Model().MakeCurrent(0);
        return false;
    case CallId::eglDestroySurface:
        if (const auto surface = m_surfaceOwners.extract(call.Unsigned(1)))
            m_tracked.Log().Add(Effect::Ends, surface.mapped());
        m_surfaces.erase(call.Unsigned(1));
        return false;
    case CallId::eglCreateImageKHR:
    case CallId::eglCreateImageKHRv1:
        CreateEGLImage(call);
        return false;
    case CallId::eglCreateSync:
    case CallId::eglCreateSyncKHR:
    case CallId::eglCreateSync64KHR:
        m_objects.Create(ObjectKind::EglSync, call.Returned(), call.Unsigned(0));
        return true;
    case CallId::eglDestroySyncKHR:
        m_objects.Delete(ObjectKind::EglSync, call.Unsigned(1), call.Unsigned(0));
        return true;
    default:
        return false;
    }
}

void EGLTracker::DestroyContext(std::uint32_t name)
{
    const Data::StateContext* const context = m_tracked.Model().AllContexts().Find(name);
    if (!context || m_tracked.Model().AllContexts().IsUsed(*context))
        return;
    const auto end = [this](const Data::NamedObjects& names) {
        for (const auto& [key, owner] : names.owners) {
            m_tracked.Object(owner).isDeleted = true;
            m_tracked.Log().Add(Effect::Ends, owner);
        }
    };
    end(context->objects);
    if (context->group.use_count() == 1)
        end(context->group->objects);
    m_tracked.Log().Add(Effect::Ends, context->owner);
    for (const auto& [key, owner] : context->defaults)
        m_tracked.Log().Add(Effect::Ends, owner);
    m_tracked.Model().DestroyContext(name);
}

bool EGLTracker::MakeCurrent(const CallArguments& call)
{
    const Current current{call.Unsigned(0), call.Unsigned(1), call.Unsigned(2), call.Unsigned(3)};
    const bool succeeded = call.Returned() != 0;
    if (!succeeded || m_threads[m_tracked.Thread()] == current)
        return true;
    m_threads[m_tracked.Thread()] = current;
    m_tracked.Model().MakeCurrent(current.context);
    // The first time counts: a context takes its first viewport from its first surface.
    bool isNew = m_tracked.Model().HasContext() && !std::exchange(m_tracked.Info().wasCurrent, true);
    if (current.draw != 0) {
        isNew |= !m_surfaces.contains(current.draw);
        m_surfaces[current.draw] = {m_tracked.Thread(), current};
    }
    m_tracked.Log().SetVerdict(isNew ? Verdict::Keep : Verdict::KeepLast);
    return true;
}

Owner EGLTracker::SurfaceOwner(std::uint32_t surface)
{
    if (surface == 0)
        return 0;
    const auto [entry, isNew] = m_surfaceOwners.try_emplace(surface, 0);
    if (isNew)
        entry->second = m_tracked.Model().MakeOwner(ObjectKind::Surface, surface);
    return entry->second;
}

void EGLTracker::CreateEGLImage(const CallArguments& call)
{
    const Data::StateContext* const context = m_tracked.Model().AllContexts().Find(call.Unsigned(1));
    if (!context)
        return;
    const bool isRenderbuffer = call.Unsigned(2) == EGL_GL_RENDERBUFFER_KHR;
    const ObjectKind kind = isRenderbuffer ? ObjectKind::Renderbuffer : ObjectKind::Texture;
    const auto& objects = context->group->objects.owners;
    if (const auto object = objects.find({kind, call.Unsigned(3)}); object != objects.end()) {
        m_tracked.Object(object->second).isAliased = true;
        m_tracked.ReadsAll(object->second);
    }
}

} // namespace Trim
