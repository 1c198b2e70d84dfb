// The pixels that a captured program gave to its textures.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "Data/Capture/CaptureFile.h"
#include "Data/State/StateModel.h"

namespace Textures {

/// One layer of an upload.
struct Upload {
    /// Counted from 1.
    std::uint32_t frame = 0;
    /// Captured name; 0 is the texture that a context has from the start.
    std::uint32_t texture = 0;
    std::int32_t level = 0;
    /// Layer of an array, slice of a three-dimensional texture, or face of a cube; 0 else.
    std::int32_t layer = 0;
    /// Place in the level, in texels.
    std::int32_t x = 0;
    std::int32_t y = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    /// Of a compressed image, the compressed format; of a part of an uncompressed one, the format of the transfer.
    std::uint32_t internalFormat = 0;
    /// Of the transfer; both 0 for a compressed image.
    std::uint32_t format = 0;
    std::uint32_t type = 0;
    /// Rows without padding, the first one at the bottom; or compressed blocks.
    std::vector<std::uint8_t> data;
};

/// Takes the place of a driver: hands on what is uploaded, and draws nothing.
class UploadReader : public Data::GLNullAdapter {
public:
    using Receiver = std::function<void(const Upload&)>;

    /// Registers itself with the capture, which outlives it.
    UploadReader(Data::CaptureFile& capture, Receiver receive);

    /// Uploads from buffer objects, whose pixels are not handed on.
    [[nodiscard]] std::uint32_t FromBuffers() const { return m_fromBuffers; }

    void Process_glTexImage2D(std::uint32_t target, std::int32_t level, std::int32_t internalformat, std::int32_t width,
                              std::int32_t height, std::int32_t border, std::uint32_t format, std::uint32_t type,
                              Data::PointerData* pixels) override;
    void Process_glTexSubImage2D(std::uint32_t target, std::int32_t level, std::int32_t xoffset, std::int32_t yoffset,
                                 std::int32_t width, std::int32_t height, std::uint32_t format, std::uint32_t type,
                                 Data::PointerData* pixels) override;
    void Process_glTexImage3D(std::uint32_t target, std::int32_t level, std::int32_t internalformat, std::int32_t width,
                              std::int32_t height, std::int32_t depth, std::int32_t border, std::uint32_t format,
                              std::uint32_t type, Data::PointerData* pixels) override;
    void Process_glTexSubImage3D(std::uint32_t target, std::int32_t level, std::int32_t xoffset, std::int32_t yoffset,
                                 std::int32_t zoffset, std::int32_t width, std::int32_t height, std::int32_t depth,
                                 std::uint32_t format, std::uint32_t type, Data::PointerData* pixels) override;
    void Process_glTexImage3DOES(std::uint32_t target, std::int32_t level, std::uint32_t internalformat,
                                 std::int32_t width, std::int32_t height, std::int32_t depth, std::int32_t border,
                                 std::uint32_t format, std::uint32_t type, Data::PointerData* pixels) override;
    void Process_glTexSubImage3DOES(std::uint32_t target, std::int32_t level, std::int32_t xoffset,
                                    std::int32_t yoffset, std::int32_t zoffset, std::int32_t width, std::int32_t height,
                                    std::int32_t depth, std::uint32_t format, std::uint32_t type,
                                    Data::PointerData* pixels) override;
    void Process_glCompressedTexImage2D(std::uint32_t target, std::int32_t level, std::uint32_t internalformat,
                                        std::int32_t width, std::int32_t height, std::int32_t border,
                                        std::int32_t imageSize, Data::PointerData* data) override;
    void Process_glCompressedTexSubImage2D(std::uint32_t target, std::int32_t level, std::int32_t xoffset,
                                           std::int32_t yoffset, std::int32_t width, std::int32_t height,
                                           std::uint32_t format, std::int32_t imageSize,
                                           Data::PointerData* data) override;
    void Process_glCompressedTexImage3D(std::uint32_t target, std::int32_t level, std::uint32_t internalformat,
                                        std::int32_t width, std::int32_t height, std::int32_t depth,
                                        std::int32_t border, std::int32_t imageSize, Data::PointerData* data) override;
    void Process_glCompressedTexSubImage3D(std::uint32_t target, std::int32_t level, std::int32_t xoffset,
                                           std::int32_t yoffset, std::int32_t zoffset, std::int32_t width,
                                           std::int32_t height, std::int32_t depth, std::uint32_t format,
                                           std::int32_t imageSize, Data::PointerData* data) override;
    void Process_glCompressedTexImage3DOES(std::uint32_t target, std::int32_t level, std::uint32_t internalformat,
                                           std::int32_t width, std::int32_t height, std::int32_t depth,
                                           std::int32_t border, std::int32_t imageSize,
                                           Data::PointerData* data) override;
    void Process_glCompressedTexSubImage3DOES(std::uint32_t target, std::int32_t level, std::int32_t xoffset,
                                              std::int32_t yoffset, std::int32_t zoffset, std::int32_t width,
                                              std::int32_t height, std::int32_t depth, std::uint32_t format,
                                              std::int32_t imageSize, Data::PointerData* data) override;

private:
    /// Where in a texture pixels go.
    struct Place {
        std::uint32_t target;
        std::int32_t level;
        std::int32_t x = 0;
        std::int32_t y = 0;
        std::int32_t z = 0;
    };
    struct Size {
        std::int32_t width;
        std::int32_t height;
        std::int32_t depth = 1;
        /// Skipped images and the height of images count.
        bool isVolume = false;
    };

    [[nodiscard]] Upload Begin(const Place& place, const Size& size);
    void Pixels(const Place& place, const Size& size, std::uint32_t internalFormat, std::uint32_t format,
                std::uint32_t type, const Data::PointerData* pixels);
    void Blocks(const Place& place, const Size& size, std::uint32_t internalFormat, std::int32_t bytes,
                const Data::PointerData* data);

    Data::CaptureFile& m_capture;
    Receiver m_receive;
    Data::StateModel m_state;
    std::uint32_t m_fromBuffers = 0;
};

} // namespace Textures
