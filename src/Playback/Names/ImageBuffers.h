#pragma once

#include <memory>
#include <unordered_map>

namespace Data {
struct EGLImageData;
}

namespace Playback {

class DisplayHandles;
struct DisplayResources;
class EGLImageBuffer;
class EGLTextureImage;

/// The client buffers of captured EGLImages, or what stands in for them, and the captured textures and renderbuffers
/// that use the images.
class ImageBuffers {
public:
    /// `handles` must outlive this.
    explicit ImageBuffers(DisplayHandles& handles);
    ~ImageBuffers();
    ImageBuffers(const ImageBuffers&) = delete;
    ImageBuffers& operator=(const ImageBuffers&) = delete;

    // The operations of GLResourceTable of the same names.
    void AddEGLImageBuffer(unsigned int display, unsigned int image, const Data::EGLImageData& data);
    void SetEGLImageData(unsigned int image, const Data::EGLImageData& data);
    void* GetEGLImageBuffer(unsigned int image);
    void AddEGLImageBufferRef(unsigned int image);
    void RemoveEGLImageBuffer(unsigned int image);
    std::unordered_map<int, unsigned int>* GetTextureEGLImageMap(unsigned int target);
    unsigned int GetTextureEGLImage(unsigned int target, int texture);
    void AddTextureEGLImage(unsigned int target, int texture, unsigned int image);
    void SetTextureEGLImage(unsigned int target, int texture, unsigned int image);
    void RemoveTextureEGLImage(unsigned int image);

    /// Frees what stands in for the buffer of a destroyed image, or of the images of a display that is removed.
    void RemoveStandIn(unsigned int image);
    void RemoveStandIns(const DisplayResources& display);

private:
    /// False where the driver or the format does not allow it.
    bool AddStandIn(void* liveDisplay, unsigned int image, const Data::EGLImageData& data);

    DisplayHandles& m_handles;
    std::unordered_map<unsigned int, std::unique_ptr<EGLImageBuffer>> m_eglImageBuffers;
    /// What stands in for client buffers that this driver cannot make; until the captured image is destroyed.
    std::unordered_map<unsigned int, std::unique_ptr<EGLTextureImage>> m_eglTextureImages;
    bool m_isStandInSaid = false;
    std::unordered_map<int, unsigned int> m_textureEGLImages;
    std::unordered_map<int, unsigned int> m_renderbufferEGLImages;
};

} // namespace Playback
