#include "Playback/Names/CapturedContexts.h"

#include <algorithm>

#include <EGL/egl.h>

#include "Playback/Names/ResourceMaps.h"

namespace Playback {

void CapturedContexts::SetCurrentAPI(unsigned int api)
{
    m_currentApi = api;
    m_threadApis[m_currentThread] = api;
}

bool CapturedContexts::GetCurrentAPI(unsigned int* api) const
{
    const unsigned int* bound = Find(m_threadApis, m_currentThread);
    if (bound && api)
        *api = *bound;
    return bound != nullptr;
}

void CapturedContexts::SetCurrentContext(const ContextInfo& info)
{
    SelectContext(info.context, m_shareGroups.Root(info.context, info.context));
    m_contextInfos[m_currentThread] = info;
}

const ContextInfo* CapturedContexts::CurrentInfo() const
{
    return Find(m_contextInfos, m_currentThread);
}

bool CapturedContexts::IsContextCurrent(unsigned int display, unsigned int context) const
{
    return std::any_of(
        m_contextInfos.begin(), m_contextInfos.end(),
        [&](const auto& entry) { return entry.second.display == display && entry.second.context == context; });
}

bool CapturedContexts::IsSurfaceCurrent(unsigned int display, unsigned int surface) const
{
    return std::any_of(
        m_contextInfos.begin(), m_contextInfos.end(),
        [&](const auto& entry) {
            const ContextInfo& info = entry.second;
            return info.display == display && (info.drawSurface == surface || info.readSurface == surface);
        });
}

bool CapturedContexts::SetCurrentThread(unsigned int thread, bool* apiChanged, bool* contextChanged)
{
    bool newApi = false;
    bool newContext = false;
    if (thread != m_currentThread) {
        m_currentThread = thread;

        const ContextInfo* info = Find(m_contextInfos, thread);
        const unsigned int context = info ? info->context : 0;
        newContext = context != m_currentContext;
        if (newContext)
            SelectContext(context, info ? m_shareGroups.Root(context, context) : 0);

        const unsigned int* bound = Find(m_threadApis, thread);
        const unsigned int api = bound ? *bound : EGL_OPENGL_ES_API;
        newApi = api != m_currentApi;
        m_currentApi = api;
    }
    if (apiChanged)
        *apiChanged = newApi;
    if (contextChanged)
        *contextChanged = newContext;
    return newApi;
}

void CapturedContexts::SetCurrentProgram(unsigned int program)
{
    m_currentPrograms[m_currentContext] = program;
    m_currentProgram = program;
}

void CapturedContexts::RemoveContextInfo(unsigned int context)
{
    m_contextResources.erase(context);
    m_currentPrograms.erase(context);
    const auto info = std::find_if(m_contextInfos.begin(), m_contextInfos.end(),
                                   [context](const auto& entry) { return entry.second.context == context; });
    if (info != m_contextInfos.end())
        m_contextInfos.erase(info);
    if (m_currentContext == context)
        SelectContext(0, 0);
    else
        FindCurrentEntries();
}

void CapturedContexts::SelectContext(unsigned int context, unsigned int sharedIndex)
{
    m_currentContext = context;
    m_currentSharedIndex = sharedIndex;
    FindCurrentEntries();
}

void CapturedContexts::FindCurrentEntries()
{
    m_contextEntry = Find(m_contextResources, m_currentContext);
    m_shareGroupEntry = Find(m_contextResources, m_currentSharedIndex);
    const unsigned int* program = Find(m_currentPrograms, m_currentContext);
    m_currentProgram = program ? *program : 0;
}

ContextResources& CapturedContexts::CreateCurrent(bool isPerContext)
{
    if (!Current(isPerContext)) {
        m_contextResources.try_emplace(Key(isPerContext));
        FindCurrentEntries();
    }
    return *Current(isPerContext);
}

} // namespace Playback
