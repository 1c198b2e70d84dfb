#include "Tools/Info/Report/Pictures.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <set>
#include <utility>

#include "Textures/TextureFiles.h"
#include "Textures/UploadReader.h"
#include "Util/ImageFile.h"
#include "Util/Page.h"

namespace Tools {

namespace {

/// Longest sides, in pixels.
constexpr std::uint32_t SmallSide = 160;
constexpr std::uint32_t LargeSide = 1024;
/// Of large pictures, of frames or textures each, so that a browser can show the page.
constexpr std::size_t MaxLargeBytes = 16u << 20;

std::string Png(const Util::Image& image, std::uint32_t longestSide)
{
    return Util::Base64(Util::EncodePng(Util::Shrink(image, longestSide)));
}

std::uint64_t Area(const TexturePicture& picture)
{
    return std::uint64_t{picture.width} * picture.height;
}

/// Keeps the largest pictures and counts all.
class TextureCollector {
public:
    explicit TextureCollector(std::size_t limit) : m_limit(limit) {}

    void Add(const Textures::Upload& upload)
    {
        if (upload.level != 0)
            return;
        const Key key = {upload.texture, upload.layer};
        ++m_uploads[key];
        TexturePicture found = {upload.frame, upload.texture, upload.layer, upload.width, upload.height, 0, {}};
        const auto place = PlaceFor(found);
        if (!place)
            return;
        const std::optional<Util::Image> image = Textures::PictureOf(upload);
        if (!image) {
            m_unseen.insert(key);
            return;
        }
        if (*place == m_kept.size())
            m_kept.emplace_back();
        else
            m_maker.Return(m_kept[*place].picture);
        found.picture = m_maker.Make(*image);
        m_kept[*place] = std::move(found);
    }

    TexturePictures Take()
    {
        std::ranges::stable_sort(m_kept, std::ranges::greater(), Area);
        for (TexturePicture& picture : m_kept) {
            const Key key = {picture.texture, picture.layer};
            picture.uploads = m_uploads[key];
            m_unseen.erase(key);
        }
        return {std::move(m_kept), m_uploads.size() - m_unseen.size()};
    }

private:
    using Key = std::pair<std::uint32_t, std::int32_t>;

    /// Where a picture belongs: in the place of a smaller one, or at the end; nothing where it is not wanted.
    [[nodiscard]] std::optional<std::size_t> PlaceFor(const TexturePicture& wanted) const
    {
        auto at = std::ranges::find_if(m_kept, [&](const TexturePicture& kept) {
            return kept.texture == wanted.texture && kept.layer == wanted.layer;
        });
        if (at == m_kept.end() && m_kept.size() < m_limit)
            return m_kept.size();
        if (at == m_kept.end())
            at = std::ranges::min_element(m_kept, {}, Area);
        return at != m_kept.end() && Area(*at) < Area(wanted)
                   ? std::optional(static_cast<std::size_t>(at - m_kept.begin()))
                   : std::nullopt;
    }

    std::size_t m_limit;
    PictureMaker m_maker;
    std::vector<TexturePicture> m_kept;
    std::map<Key, std::uint32_t> m_uploads;
    /// What no picture holds.
    std::set<Key> m_unseen;
};

} // namespace

PagePicture PictureMaker::Make(const Util::Image& image)
{
    PagePicture picture = {Png(image, SmallSide), {}};
    if (std::max(image.width, image.height) > SmallSide && m_bytes < MaxLargeBytes) {
        picture.large = Png(image, LargeSide);
        m_bytes += picture.large.size();
    }
    return picture;
}

PagePicture PictureMaker::Read(const std::string& path)
{
    const std::optional<Util::Image> image = Util::ReadPng(path);
    return image ? Make(*image) : PagePicture();
}

TexturePictures LargestTextures(const std::string& captureFile, std::size_t limit)
{
    std::string error;
    const std::unique_ptr<Data::CaptureSource> source = Data::CaptureSource::Open(captureFile, error);
    if (!source)
        return {};
    TextureCollector collector(limit);
    constexpr std::uint32_t All = std::numeric_limits<std::uint32_t>::max();
    Textures::ReadUploads(*source, All, [&](const Textures::Upload& upload) { collector.Add(upload); });
    return collector.Take();
}

} // namespace Tools
