#include "Playback/Names/GLResourceTable.h"

#include "Playback/Names/ReleaseResources.h"
#include "Playback/Names/ResourceMaps.h"

namespace Playback {

void GLResourceTable::ReleaseResources()
{
    Playback::ReleaseResources(m_contexts, m_handles);
}

bool GLResourceTable::GetCurrentContextInfo(unsigned int* display, unsigned int* drawSurface, unsigned int* readSurface,
                                            unsigned int* context) const
{
    const ContextInfo* info = m_contexts.CurrentInfo();
    if (!info)
        return false;
    const auto store = [](unsigned int* to, unsigned int value) {
        if (to)
            *to = value;
    };
    store(display, info->display);
    store(drawSurface, info->drawSurface);
    store(readSurface, info->readSurface);
    store(context, info->context);
    return true;
}

void GLResourceTable::RemoveIdEGLDisplay(unsigned int id)
{
    if (const DisplayResources* display = Find(m_handles.Displays(), id))
        m_images.RemoveStandIns(*display);
    m_handles.RemoveDisplay(id);
}

void GLResourceTable::RemoveIdEGLImage(unsigned int id)
{
    m_handles.Remove(ImageHandles, id);
    m_images.RemoveStandIn(id);
}

unsigned int GLResourceTable::GetEGLImageTexture(unsigned int context, unsigned int texture) const
{
    // Names are never stored under the two invalid values, but the maps of "no context" are.
    const ContextResources* resources = IsValidId(context) ? Find(m_contexts.All(), context) : nullptr;
    const unsigned int* name = resources ? Find(resources->Names(NameKind::Texture), texture) : nullptr;
    return name ? *name : 0;
}

} // namespace Playback
