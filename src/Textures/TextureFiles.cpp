#include "Textures/TextureFiles.h"

#include <GLES3/gl32.h>
// Needs the types of the header above.
#include <GLES2/gl2ext.h>

#include "Textures/KtxFile.h"
#include "Util/ImageFile.h"

namespace Textures {

namespace {

bool IsPicture(const Upload& upload)
{
    switch (upload.format) {
    case GL_RGBA:
    case GL_BGRA_EXT:
    case GL_RGB:
    case GL_RG:
    case GL_RED:
    case GL_LUMINANCE_ALPHA:
    case GL_LUMINANCE:
    case GL_ALPHA:
        return upload.type == GL_UNSIGNED_BYTE || upload.type == GL_UNSIGNED_SHORT_5_6_5 ||
               upload.type == GL_UNSIGNED_SHORT_4_4_4_4 || upload.type == GL_UNSIGNED_SHORT_5_5_5_1;
    default:
        return false;
    }
}

} // namespace

std::optional<Util::Image> PictureOf(const Upload& upload)
{
    return IsPicture(upload)
               ? Util::ToImage(upload.width, upload.height, upload.data.data(), upload.format, upload.type)
               : std::nullopt;
}

std::string TextureFiles::Name(const Upload& upload)
{
    std::string name = m_prefix + "frame" + std::to_string(upload.frame) + "_texture" + std::to_string(upload.texture) +
                       "_level" + std::to_string(upload.level) + "_layer" + std::to_string(upload.layer);
    if (upload.x != 0 || upload.y != 0)
        name += "_at" + std::to_string(upload.x) + "x" + std::to_string(upload.y);
    const std::uint32_t count = ++m_names[name];
    return count == 1 ? name : name + "_" + std::to_string(count);
}

void TextureFiles::Write(const Upload& upload)
{
    const std::optional<Util::Image> image = PictureOf(upload);
    const std::string path = Name(upload) + (image ? Util::FileExtension(m_format) : ".ktx");
    const std::string error = image ? Util::WriteImageFile(path, m_format, *image) : WriteKtx(path, upload);
    if (error.empty())
        ++m_written;
    else if (m_error.empty())
        m_error = path + ": " + error;
}

} // namespace Textures
