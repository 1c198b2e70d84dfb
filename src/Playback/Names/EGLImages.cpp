// GLResourceTable: client buffers of EGLImages and the objects that use the images.
#include <algorithm>
#include <utility>

#include <GLES2/gl2.h>
#include <GLES2/gl2ext.h>

#include "Interfaces/Data.h"
#include "Playback/Images/EGLImageBuffer.h"
#include "Playback/Images/EGLTextureImage.h"
#include "Playback/Names/GLResourceTable.h"
#include "Playback/Names/ResourceMaps.h"

namespace Playback {

void GLResourceTable::AddEGLImageBuffer(unsigned int display, unsigned int image, const Data::EGLImageData& data)
{
    auto buffer = std::make_unique<EGLImageBuffer>();
    void* liveDisplay = GetValueEGLDisplay(display);
    if (buffer->AllocateBuffer(liveDisplay, data) != 0) {
        PLAYBACK_LOG(Warning, General, "src/Playback/GLResourceTable",
                     "Failed to allocate EGLClientBuffer for EGLImage %d", image);
        AddTextureImage(liveDisplay, image, data);
        return;
    }
    if (!m_eglImageBuffers.contains(image)) {
        m_eglImageBuffers.emplace(image, std::move(buffer));
    } else {
        // The image keeps its buffer. The new one lives on, unknown to anyone: it is not freed.
        static_cast<void>(buffer.release());
    }
}

void GLResourceTable::AddTextureImage(void* liveDisplay, unsigned int image, const Data::EGLImageData& data)
{
    if (m_eglTextureImages.contains(image)) {
        return;
    }
    auto standIn = EGLTextureImage::Create(liveDisplay, AnyContext(liveDisplay), data);
    if (!standIn) {
        return;
    }
    m_eglTextureImages.emplace(image, std::move(standIn));
    if (!std::exchange(m_isTextureImageSaid, true)) {
        PLAYBACK_LOG(Notice, General, "src/Playback/GLResourceTable",
                     "The driver cannot make native buffers: textures hold the pixels of their EGLImages");
    }
}

void* GLResourceTable::AnyContext(void* liveDisplay) const
{
    for (const auto& [id, display] : m_displayResources) {
        if (display.display == liveDisplay && !display.contexts.empty()) {
            return display.contexts.begin()->second;
        }
    }
    return nullptr;
}

void GLResourceTable::SetEGLImageData(unsigned int image, const Data::EGLImageData& data)
{
    if (const auto* buffer = Find(m_eglImageBuffers, image)) {
        (*buffer)->SetImageData(data);
    } else if (const auto* standIn = Find(m_eglTextureImages, image)) {
        (*standIn)->SetContents(AnyContext((*standIn)->GetDisplay()), data);
    }
}

void* GLResourceTable::GetEGLImageBuffer(unsigned int image)
{
    if (const auto* buffer = Find(m_eglImageBuffers, image)) {
        return (*buffer)->GetNativeBuffer();
    }
    const auto* standIn = Find(m_eglTextureImages, image);
    return standIn ? (*standIn)->GetImage() : nullptr;
}

void GLResourceTable::AddEGLImageBufferRef(unsigned int image)
{
    if (const auto* buffer = Find(m_eglImageBuffers, image)) {
        ++(*buffer)->m_refCount;
    }
}

void GLResourceTable::RemoveEGLImageBuffer(unsigned int image)
{
    const auto* buffer = Find(m_eglImageBuffers, image);
    if (buffer && --(*buffer)->m_refCount == 0) {
        m_eglImageBuffers.erase(image);
    }
}

std::unordered_map<int, unsigned int>* GLResourceTable::GetTextureEGLImageMap(unsigned int target)
{
    switch (target) {
    case GL_RENDERBUFFER:
        return &m_renderbufferEGLImages;
    case GL_TEXTURE_2D:
    case GL_TEXTURE_EXTERNAL_OES:
        return &m_textureEGLImages;
    default:
        return nullptr;
    }
}

unsigned int GLResourceTable::GetTextureEGLImage(unsigned int target, int texture)
{
    const auto* images = GetTextureEGLImageMap(target);
    const unsigned int* image = images ? Find(*images, texture) : nullptr;
    return image ? *image : 0;
}

void GLResourceTable::AddTextureEGLImage(unsigned int target, int texture, unsigned int image)
{
    if (auto* images = GetTextureEGLImageMap(target)) {
        images->try_emplace(texture, image);
    }
}

void GLResourceTable::SetTextureEGLImage(unsigned int target, int texture, unsigned int image)
{
    auto* images = GetTextureEGLImageMap(target);
    if (unsigned int* known = images ? Find(*images, texture) : nullptr) {
        *known = image;
    }
}

void GLResourceTable::RemoveTextureEGLImage(unsigned int image)
{
    for (auto* images : {&m_renderbufferEGLImages, &m_textureEGLImages}) {
        const auto user =
            std::find_if(images->begin(), images->end(), [image](const auto& entry) { return entry.second == image; });
        if (user != images->end()) {
            images->erase(user);
        }
    }
}

unsigned int GLResourceTable::GetEGLImageTexture(unsigned int context, unsigned int texture) const
{
    // Names are never stored under the two invalid values, but the maps of "no context" are.
    const ContextResources* resources = IsValidId(context) ? Find(m_contextResources, context) : nullptr;
    const unsigned int* name = resources ? Find(resources->Names(NameKind::Texture), texture) : nullptr;
    return name ? *name : 0;
}

} // namespace Playback
