#include "Textures/UploadReader.h"

#include <optional>
#include <span>
#include <string_view>

#include "Data/Records/CallArguments.h"
#include "Data/Records/CallDecoder.h"
#include "Data/Records/RecordWalk.h"
#include "Data/State/Sizes.h"
#include "Data/State/StateModel.h"

#include <GLES3/gl32.h>

namespace Textures {

namespace {

bool IsFace(std::uint32_t target)
{
    return target >= GL_TEXTURE_CUBE_MAP_POSITIVE_X && target <= GL_TEXTURE_CUBE_MAP_NEGATIVE_Z;
}

std::int64_t RoundUp(std::int64_t value, std::int64_t multiple)
{
    return (value + multiple - 1) / multiple * multiple;
}

class UploadReader {
public:
    UploadReader(Data::CaptureSource& source, const std::function<void(const Upload&)>& receive)
        : m_source(source), m_receive(receive)
    {
        m_calls.SetStateModel(&m_state);
    }

    std::uint32_t Read(std::uint32_t frames)
    {
        static_cast<void>(Data::WalkRecords(
            m_source, m_diagnostics, [this](const Data::RecordCursor& record) { Follow(record); }, frames));
        return m_fromBuffers;
    }

private:
    void Follow(const Data::RecordCursor& record)
    {
        if (Data::ThreadRecord thread; record.Is(Data::RecordId::Thread) && record.Read(thread))
            m_calls.SetThread(thread.thread);
        if (record.Header().id >= Data::FirstBuiltInId)
            return;
        const std::optional<Data::CallId> call = m_source.CallOf(record.Header());
        if (!call)
            return;
        const std::string_view name = NameOf(*call);
        const bool isPixels = name.starts_with("glTexImage") || name.starts_with("glTexSubImage");
        if (isPixels || name.starts_with("glCompressedTex"))
            Take({*call, record}, isPixels);
        m_calls.Decode(*call, record.Record());
    }

    /// The parameters have the same names in all of these calls; each has its contents as the last one.
    void Take(const Data::CallArguments& call, bool isPixels)
    {
        m_fromBuffers += m_calls.Context().HasUnpackBuffer();
        const std::span<const std::uint8_t> contents = call.Contents(call.Count() - 1);
        const std::int32_t width = call.Find("width").value_or(0);
        const std::int32_t height = call.Find("height").value_or(0);
        const std::int32_t depth = call.Find("depth").value_or(1);
        if (contents.empty() || width <= 0 || height <= 0 || depth <= 0)
            return;
        const auto target = static_cast<std::uint32_t>(call.Find("target").value_or(0));
        const std::int32_t format = call.Find("format").value_or(0);
        Upload upload;
        upload.frame = m_diagnostics.position.frame + 1;
        upload.texture = m_state.Object(m_state.BoundTexture(target)).name;
        upload.level = call.Find("level").value_or(0);
        upload.layer = IsFace(target) ? static_cast<std::int32_t>(target - GL_TEXTURE_CUBE_MAP_POSITIVE_X)
                                      : call.Find("zoffset").value_or(0);
        upload.x = call.Find("xoffset").value_or(0);
        upload.y = call.Find("yoffset").value_or(0);
        upload.width = static_cast<std::uint32_t>(width);
        upload.height = static_cast<std::uint32_t>(height);
        upload.internalFormat = static_cast<std::uint32_t>(call.Find("internalformat").value_or(format));
        if (!isPixels)
            return Blocks(upload, contents, call.Find("imageSize").value_or(0), depth);
        upload.format = static_cast<std::uint32_t>(format);
        upload.type = static_cast<std::uint32_t>(call.Find("type").value_or(0));
        Pixels(upload, contents, depth, call.Find("depth").has_value());
    }

    /// Of a volume, skipped images and the height of images count.
    void Pixels(Upload& upload, std::span<const std::uint8_t> contents, std::int32_t depth, bool isVolume)
    {
        const std::int64_t pixelBytes = Data::PixelBytes(upload.format, upload.type);
        const Data::PixelStore& store = m_calls.Context().Unpack();
        const std::int64_t needed =
            isVolume ? Data::ImageBytes(store, upload.width, upload.height, depth, upload.format, upload.type)
                     : Data::ImageBytes(store, upload.width, upload.height, upload.format, upload.type);
        if (pixelBytes == 0 || needed > static_cast<std::int64_t>(contents.size()))
            return;
        const std::int64_t rowBytes =
            RoundUp((store.rowLength > 0 ? store.rowLength : upload.width) * pixelBytes, store.alignment);
        const std::int64_t imageRows = isVolume && store.imageHeight > 0 ? store.imageHeight : upload.height;
        const std::int64_t skipped = (isVolume ? store.skipImages * imageRows * rowBytes : 0) +
                                     store.skipRows * rowBytes + store.skipPixels * pixelBytes;
        for (std::int32_t layer = 0; layer < depth; ++layer, ++upload.layer) {
            upload.data.clear();
            const std::uint8_t* row = contents.data() + skipped + layer * imageRows * rowBytes;
            for (std::uint32_t y = 0; y < upload.height; ++y, row += rowBytes)
                upload.data.insert(upload.data.end(), row, row + upload.width * pixelBytes);
            m_receive(upload);
        }
    }

    void Blocks(Upload& upload, std::span<const std::uint8_t> contents, std::int32_t bytes, std::int32_t depth)
    {
        if (bytes <= 0 || static_cast<std::size_t>(bytes) > contents.size())
            return;
        // Blocks of three-dimensional formats reach over several slices; all others lie slice after slice.
        const std::int32_t layers = bytes % depth == 0 ? depth : 1;
        const auto layerBytes = static_cast<std::size_t>(bytes / layers);
        for (std::int32_t layer = 0; layer < layers; ++layer, ++upload.layer, contents = contents.subspan(layerBytes)) {
            upload.data.assign(contents.data(), contents.data() + layerBytes);
            m_receive(upload);
        }
    }

    Data::CaptureSource& m_source;
    const std::function<void(const Upload&)>& m_receive;
    Data::Diagnostics m_diagnostics{"", nullptr};
    Data::CallDecoder m_calls{m_diagnostics};
    Data::StateModel m_state;
    std::uint32_t m_fromBuffers = 0;
};

} // namespace

std::uint32_t ReadUploads(Data::CaptureSource& source, std::uint32_t frames,
                          const std::function<void(const Upload&)>& receive)
{
    return UploadReader(source, receive).Read(frames);
}

} // namespace Textures
