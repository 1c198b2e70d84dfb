#include "Playback/Names/GLResourceTable.h"

#include <algorithm>

#include <EGL/egl.h>

#include "Playback/Images/EGLImageBuffer.h"
#include "Playback/Images/EGLTextureImage.h"
#include "Playback/Names/ResourceMaps.h"

namespace Playback {

GLResourceTable::GLResourceTable() = default;
GLResourceTable::~GLResourceTable() = default;

void GLResourceTable::SetCurrentAPI(unsigned int api)
{
    m_currentApi = api;
    m_threadApis[m_currentThread] = api;
}

bool GLResourceTable::GetCurrentAPI(unsigned int* api) const
{
    const unsigned int* bound = Find(m_threadApis, m_currentThread);
    if (bound && api) {
        *api = *bound;
    }
    return bound != nullptr;
}

void GLResourceTable::SetCurrentContext(unsigned int display, unsigned int drawSurface, unsigned int readSurface,
                                        unsigned int context)
{
    SelectContext(context, GetSharedResourceIndex(context));
    m_contextInfos[m_currentThread] = {display, drawSurface, readSurface, context};
}

bool GLResourceTable::GetCurrentContextInfo(unsigned int* display, unsigned int* drawSurface, unsigned int* readSurface,
                                            unsigned int* context) const
{
    const ContextInfo* info = Find(m_contextInfos, m_currentThread);
    if (!info) {
        return false;
    }
    const auto store = [](unsigned int* to, unsigned int value) {
        if (to) {
            *to = value;
        }
    };
    store(display, info->display);
    store(drawSurface, info->drawSurface);
    store(readSurface, info->readSurface);
    store(context, info->context);
    return true;
}

bool GLResourceTable::IsContextCurrent(unsigned int display, unsigned int context) const
{
    return std::any_of(m_contextInfos.begin(), m_contextInfos.end(), [&](const auto& entry) {
        return entry.second.display == display && entry.second.context == context;
    });
}

bool GLResourceTable::IsSurfaceCurrent(unsigned int display, unsigned int surface) const
{
    return std::any_of(m_contextInfos.begin(), m_contextInfos.end(), [&](const auto& entry) {
        const ContextInfo& info = entry.second;
        return info.display == display && (info.drawSurface == surface || info.readSurface == surface);
    });
}

bool GLResourceTable::SetCurrentThread(unsigned int thread, bool* apiChanged, bool* contextChanged)
{
    bool newApi = false;
    bool newContext = false;
    if (thread != m_currentThread) {
        m_currentThread = thread;

        const ContextInfo* info = Find(m_contextInfos, thread);
        const unsigned int context = info ? info->context : 0;
        newContext = context != m_currentContext;
        if (newContext) {
            SelectContext(context, info ? GetSharedResourceIndex(context) : 0);
        }

        const unsigned int* bound = Find(m_threadApis, thread);
        const unsigned int api = bound ? *bound : EGL_OPENGL_ES_API;
        newApi = api != m_currentApi;
        m_currentApi = api;
    }
    if (apiChanged) {
        *apiChanged = newApi;
    }
    if (contextChanged) {
        *contextChanged = newContext;
    }
    return newApi;
}

void GLResourceTable::SetCurrentProgram(unsigned int program)
{
    m_currentPrograms[m_currentContext] = program;
    m_currentProgram = program;
}

void GLResourceTable::RemoveContextInfo(unsigned int context)
{
    m_contextResources.erase(context);
    m_currentPrograms.erase(context);
    const auto info = std::find_if(m_contextInfos.begin(), m_contextInfos.end(),
                                   [context](const auto& entry) { return entry.second.context == context; });
    if (info != m_contextInfos.end()) {
        m_contextInfos.erase(info);
    }
    if (m_currentContext == context) {
        SelectContext(0, 0);
    } else {
        FindCurrentEntries();
    }
}

void GLResourceTable::SelectContext(unsigned int context, unsigned int sharedIndex)
{
    m_currentContext = context;
    m_currentSharedIndex = sharedIndex;
    FindCurrentEntries();
}

void GLResourceTable::FindCurrentEntries()
{
    m_contextEntry = Find(m_contextResources, m_currentContext);
    m_shareGroupEntry = Find(m_contextResources, m_currentSharedIndex);
    const unsigned int* program = Find(m_currentPrograms, m_currentContext);
    m_currentProgram = program ? *program : 0;
}

ContextResources& GLResourceTable::ContextEntry()
{
    if (!m_contextEntry) {
        m_contextResources.try_emplace(m_currentContext);
        FindCurrentEntries();
    }
    return *m_contextEntry;
}

ContextResources& GLResourceTable::ShareGroupEntry()
{
    if (!m_shareGroupEntry) {
        m_contextResources.try_emplace(m_currentSharedIndex);
        FindCurrentEntries();
    }
    return *m_shareGroupEntry;
}

void GLResourceTable::SetSharedContextAssociation(unsigned int context, unsigned int shareContext)
{
    if (shareContext == 0) {
        return;
    }
    unsigned int root = shareContext;
    while (const unsigned int* next = Find(m_sharedContextAssociations, root)) {
        root = *next;
    }
    // A context can get the name of a group's destroyed root and join that group. Mapping it to itself would change
    // nothing but make the walk above endless.
    if (root != context) {
        m_sharedContextAssociations.try_emplace(context, root);
    }
}

unsigned int GLResourceTable::GetSharedResourceIndex(unsigned int context) const
{
    const unsigned int* root = Find(m_sharedContextAssociations, context);
    return root ? *root : context;
}

unsigned int GLResourceTable::GetSharedContextAssociation(unsigned int context) const
{
    const unsigned int* root = Find(m_sharedContextAssociations, context);
    return root ? *root : 0;
}

void GLResourceTable::RemoveSharedContextAssociation(unsigned int context)
{
    m_sharedContextAssociations.erase(context);
}

} // namespace Playback
