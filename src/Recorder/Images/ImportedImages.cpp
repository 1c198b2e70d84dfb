#include "Recorder/Images/ImportedImages.h"

#include <map>
#include <mutex>
#include <unordered_map>
#include <utility>
#include <vector>

#include <xxhash.h>

#include "Recorder/Calls/CallRecord.h"
#include "Recorder/Images/DmaBuf.h"
#include "Recorder/Images/DriverReading.h"
#include "Recorder/Symbols/LiveFunctions.h"
#include "Recorder/Symbols/Unrecorded.h"

namespace Recorder {

std::atomic<bool> hasImportedImages = false;

namespace {

constexpr std::uint32_t NoFrame = 0xFFFFFFFF;

struct ImportedImage {
    ImportedImage(EGLDisplay itsDisplay, const DmaBufDescription& description)
        : ImportedImage(itsDisplay, description, FindPixelFormat(description.fourcc))
    {
    }
    /// `named` is the format of the description; null where it is not recorded as it is.
    ImportedImage(EGLDisplay itsDisplay, const DmaBufDescription& description, const PixelFormat* named)
        : display(itsDisplay), width(description.width), height(description.height),
          plane(description, named != nullptr ? named->pixelBytes : 0),
          format(named != nullptr && (plane.IsMapped() || named->fromRgba != nullptr) ? *named : rgbaFormat)
    {
    }

    const EGLDisplay display;
    /// In the capture.
    std::uint32_t number = 0;
    /// Pixels.
    const std::uint32_t width;
    const std::uint32_t height;
    const MappedPlane plane;
    /// What is recorded.
    const PixelFormat& format;
    /// Of what was recorded last.
    XXH64_hash_t hash = 0;
    bool isRecorded = false;
    /// The frame in which it was last looked at for a binding.
    std::uint32_t frame = NoFrame;
};

using TextureKey = std::pair<const ShareGroup*, GLuint>;

struct Images {
    /// Held while the driver reads an image, too: by threads that are about to use one. Taken ahead of the capture's.
    std::mutex mutex;
    std::unordered_map<EGLImageKHR, ImportedImage> images;
    /// Those that a texture was given. One that has another storage by now is looked at in vain.
    std::map<TextureKey, EGLImageKHR> textures;
    std::vector<std::uint8_t> pixels;
    std::vector<std::uint8_t> rgba;
};

/// Never destroyed: programs make calls until the very end.
Images& TheImages()
{
    static Images& images = *new Images;
    return images;
}

Data::EGLImageRecord Describe(const ImportedImage& image)
{
    Data::EGLImageRecord record = {};
    record.image = image.number;
    record.width = image.width;
    record.height = image.height;
    record.format = image.format.code;
    record.bpp = image.format.pixelBytes;
    return record;
}

/// Has the driver draw the image, and puts the pixels into the format that is recorded.
bool ReadDrawn(Images& all, Context& context, EGLImageKHR handle, const ImportedImage& image)
{
    if (image.format.fromRgba == nullptr ||
        !ReadByDriver(image.display, context.config, handle, image.width, image.height, all.rgba))
        return false;
    const std::size_t count = std::size_t{image.width} * image.height;
    all.pixels.resize(count * image.format.pixelBytes);
    for (std::size_t i = 0; i < count; ++i)
        image.format.fromRgba(all.rgba.data() + 4 * i, all.pixels.data() + i * image.format.pixelBytes);
    return true;
}

/// The image as the context's next call sees it.
bool Read(Images& all, Context& context, EGLImageKHR handle, const ImportedImage& image)
{
    // What the program itself has drawn to the image is in its memory then.
    Live<void (*)()>(Entry::glFinish)();
    const bool isMapped = image.plane.IsMapped();
    if ((!isMapped || !image.plane.CanSync()) && ReadDrawn(all, context, handle, image))
        return true;
    if (isMapped)
        image.plane.Read(all.pixels);
    return isMapped;
}

void Record(Images& all, Context& context, EGLImageKHR handle, ImportedImage& image)
{
    const std::uint64_t bytes = std::uint64_t{image.width} * image.height * image.format.pixelBytes;
    if (bytes > static_cast<std::uint64_t>(MaxArgumentBytes) || !Read(all, context, handle, image)) {
        CountUnrecorded("contents of an imported image that neither this process nor the driver could read");
        return;
    }
    const XXH64_hash_t hash = XXH3_64bits(all.pixels.data(), all.pixels.size());
    if (std::exchange(image.isRecorded, true) && image.hash == hash)
        return;
    image.hash = hash;
    Data::EGLImageRecord record = Describe(image);
    record.planeCount = 1;
    record.planes[0].stride = image.width * image.format.pixelBytes;
    record.planes[0].size = all.pixels.size();
    const Capturing capturing;
    if (capturing)
        capturing->EGLImage(Data::RecordId::EGLImageContent, record, {all.pixels.data(), nullptr, nullptr});
}

std::uint32_t FrameUnderWay()
{
    const Capturing capturing;
    return capture.frames;
}

GLuint BoundTexture(GLenum target)
{
    const GLenum binding = target == GL_TEXTURE_2D             ? GL_TEXTURE_BINDING_2D
                           : target == GL_TEXTURE_EXTERNAL_OES ? GL_TEXTURE_BINDING_EXTERNAL_OES
                                                               : 0;
    GLint texture = 0;
    if (binding != 0)
        Live<void (*)(GLenum, GLint*)>(Entry::glGetIntegerv)(binding, &texture);
    return static_cast<GLuint>(texture);
}

/// Empty where nothing is recorded and the lock is taken: a fork may have left it so.
std::unique_lock<std::mutex> LockForRemoval(Images& all)
{
    return OwnStream() != nullptr ? std::unique_lock(all.mutex) : std::unique_lock(all.mutex, std::try_to_lock);
}

template <class Is> void RemoveWhere(Images& all, Is is)
{
    std::erase_if(all.textures, [&](const auto& entry) {
        const auto image = all.images.find(entry.second);
        return image != all.images.end() && is(*image);
    });
    std::erase_if(all.images, is);
}

} // namespace

void RecordImport(EGLDisplay display, EGLImageKHR image, const EGLint* attribs, const RecordOfCall& recordCall)
{
    const auto description = DmaBufDescription::Of(attribs);
    if (image == EGL_NO_IMAGE_KHR || !description) {
        recordCall(Capturing());
        return;
    }
    Images& all = TheImages();
    const std::lock_guard lock(all.mutex);
    all.images.erase(image);
    ImportedImage& added = all.images.try_emplace(image, display, *description).first->second;
    hasImportedImages = true;
    const Capturing capturing;
    added.number = NextNumber(Identifier::Image);
    Data::EGLImageRecord record = Describe(added);
    record.display = Identify(Identifier::Display, display);
    if (capturing)
        capturing->EGLImage(Data::RecordId::EGLImageCreate, record, {});
    recordCall(capturing);
}

void RemoveImportedImage(EGLImageKHR image) noexcept
{
    if (!hasImportedImages)
        return;
    Images& all = TheImages();
    if (const auto lock = LockForRemoval(all))
        RemoveWhere(all, [image](const auto& entry) { return entry.first == image; });
}

void RemoveImportedImages(EGLDisplay display) noexcept
{
    if (!hasImportedImages)
        return;
    Images& all = TheImages();
    if (const auto lock = LockForRemoval(all)) {
        RemoveWhere(all, [display](const auto& entry) { return entry.second.display == display; });
        ForgetReadingContext(display);
    }
}

void RecordUse(Context& context, GLenum target, EGLImageKHR image) noexcept
{
    if (OwnStream() == nullptr)
        return;
    Guarded([&] {
        Images& all = TheImages();
        const std::lock_guard lock(all.mutex);
        const GLuint texture = BoundTexture(target);
        const auto found = all.images.find(image);
        if (found == all.images.end()) {
            all.textures.erase({context.group.get(), texture});
            return;
        }
        if (texture != 0)
            all.textures[{context.group.get(), texture}] = image;
        Record(all, context, image, found->second);
    });
}

void RecordBinding(Context& context, GLuint texture) noexcept
{
    if (OwnStream() == nullptr)
        return;
    Guarded([&] {
        Images& all = TheImages();
        const std::lock_guard lock(all.mutex);
        const auto user = all.textures.find({context.group.get(), texture});
        const auto found = user != all.textures.end() ? all.images.find(user->second) : all.images.end();
        if (found == all.images.end())
            return;
        const std::uint32_t frame = FrameUnderWay();
        if (std::exchange(found->second.frame, frame) != frame)
            Record(all, context, found->first, found->second);
    });
}

} // namespace Recorder
