#include "Playback/Names/ImageBuffers.h"

#include <algorithm>
#include <utility>

#include <GLES2/gl2.h>
#include <GLES2/gl2ext.h>

#include "Interfaces/Data.h"
#include "Playback/Images/EGLImageBuffer.h"
#include "Playback/Images/EGLTextureImage.h"
#include "Playback/Names/DisplayHandles.h"
#include "Playback/Names/ResourceMaps.h"

namespace Playback {

ImageBuffers::ImageBuffers(DisplayHandles& handles) : m_handles(handles) {}

ImageBuffers::~ImageBuffers() = default;

void ImageBuffers::AddEGLImageBuffer(unsigned int display, unsigned int image, const Data::EGLImageData& data)
{
    auto buffer = std::make_unique<EGLImageBuffer>();
    void* liveDisplay = m_handles.GetDisplay(display);
    if (buffer->AllocateBuffer(liveDisplay, data) != 0) {
        if (!AddStandIn(liveDisplay, image, data)) {
            PLAYBACK_LOG(Warning, General, "src/Playback/GLResourceTable",
                         "Failed to allocate EGLClientBuffer for EGLImage %d", image);
        }
        return;
    }
    if (!m_eglImageBuffers.contains(image)) {
        m_eglImageBuffers.emplace(image, std::move(buffer));
    } else {
        // The image keeps its buffer. The new one lives on, unknown to anyone: it is not freed.
        static_cast<void>(buffer.release());
    }
}

bool ImageBuffers::AddStandIn(void* liveDisplay, unsigned int image, const Data::EGLImageData& data)
{
    if (m_eglTextureImages.contains(image))
        return true;
    auto standIn = EGLTextureImage::Create(liveDisplay, m_handles.AnyContext(liveDisplay), data);
    if (!standIn)
        return false;
    m_eglTextureImages.emplace(image, std::move(standIn));
    if (!std::exchange(m_isStandInSaid, true)) {
        PLAYBACK_LOG(Notice, General, "src/Playback/GLResourceTable",
                     "The driver cannot make native buffers: textures hold the pixels of their EGLImages");
    }
    return true;
}

void ImageBuffers::RemoveStandIn(unsigned int image)
{
    m_eglTextureImages.erase(image);
}

void ImageBuffers::RemoveStandIns(const DisplayResources& display)
{
    // Those of other captured displays on the same live one stay.
    const bool isLast = m_handles.CountDisplays(display.display) == 1;
    std::erase_if(m_eglTextureImages, [&](const auto& entry) {
        return display.images.contains(entry.first) || (isLast && entry.second->GetDisplay() == display.display);
    });
}

void ImageBuffers::SetEGLImageData(unsigned int image, const Data::EGLImageData& data)
{
    if (const auto* buffer = Find(m_eglImageBuffers, image))
        (*buffer)->SetImageData(data);
    else if (const auto* standIn = Find(m_eglTextureImages, image))
        (*standIn)->SetContents(m_handles.AnyContext((*standIn)->GetDisplay()), data);
}

void* ImageBuffers::GetEGLImageBuffer(unsigned int image)
{
    if (const auto* buffer = Find(m_eglImageBuffers, image))
        return (*buffer)->GetNativeBuffer();
    const auto* standIn = Find(m_eglTextureImages, image);
    return standIn ? (*standIn)->GetImage() : nullptr;
}

void ImageBuffers::AddEGLImageBufferRef(unsigned int image)
{
    if (const auto* buffer = Find(m_eglImageBuffers, image))
        ++(*buffer)->m_refCount;
}

void ImageBuffers::RemoveEGLImageBuffer(unsigned int image)
{
    const auto* buffer = Find(m_eglImageBuffers, image);
    if (buffer && --(*buffer)->m_refCount == 0)
        m_eglImageBuffers.erase(image);
}

std::unordered_map<int, unsigned int>* ImageBuffers::GetTextureEGLImageMap(unsigned int target)
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

unsigned int ImageBuffers::GetTextureEGLImage(unsigned int target, int texture)
{
    const auto* images = GetTextureEGLImageMap(target);
    const unsigned int* image = images ? Find(*images, texture) : nullptr;
    return image ? *image : 0;
}

void ImageBuffers::AddTextureEGLImage(unsigned int target, int texture, unsigned int image)
{
    if (auto* images = GetTextureEGLImageMap(target))
        images->try_emplace(texture, image);
}

void ImageBuffers::SetTextureEGLImage(unsigned int target, int texture, unsigned int image)
{
    auto* images = GetTextureEGLImageMap(target);
    if (unsigned int* known = images ? Find(*images, texture) : nullptr)
        *known = image;
}

void ImageBuffers::RemoveTextureEGLImage(unsigned int image)
{
    for (auto* images : {&m_renderbufferEGLImages, &m_textureEGLImages}) {
        const auto user =
            std::find_if(images->begin(), images->end(), [image](const auto& entry) { return entry.second == image; });
        if (user != images->end())
            images->erase(user);
    }
}

} // namespace Playback
