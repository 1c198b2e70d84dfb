#include "Interfaces/Util.h"

#include <new>

#include <GLES3/gl32.h>

#include "Interfaces/Core.h"
#include "Util/FramebufferReader.h"
#include "Util/ImageFile.h"
#include "Util/PixelTransfer.h"

namespace Util {

namespace {

constexpr const char* SourceName = "src/Util/GLScreenshotHandler";

/// A buffer of the framebuffer and the picture made of it.
struct Buffer {
    GLbitfield bit;
    const char* name;
    const char* suffix;
    FramebufferReader::Result (FramebufferReader::*read)();
};

constexpr Buffer Buffers[] = {
    {GL_COLOR_BUFFER_BIT, "colour", "", &FramebufferReader::ReadColor},
    {GL_DEPTH_BUFFER_BIT, "depth", "_depth", &FramebufferReader::ReadDepth},
    {GL_STENCIL_BUFFER_BIT, "stencil", "_stencil", &FramebufferReader::ReadStencil},
};

void LogFailure(const std::string& path, const std::string& reason, int line)
{
    Core::Log::Print(Core::LogError, Core::ZoneGeneral, line, SourceName, true, "Screenshot %s was not written: %s",
                     path.c_str(), reason.c_str());
}

std::string EnumName(unsigned int value)
{
    return Core::LogFormat::NameOrHex(Core::LogFormat::GetGLEnumString, value);
}

} // namespace

GLScreenshotHandler::GLScreenshotHandler(ImageFormat format, bool opaque) : m_format(format), m_opaque(opaque) {}

void GLScreenshotHandler::TakeScreenshot(const std::string& name, unsigned int bufferMask)
{
    FramebufferReader reader;
    for (const Buffer& buffer : Buffers) {
        if (!(bufferMask & buffer.bit))
            continue;
        const std::string pictureName = name + buffer.suffix;
        try {
            const FramebufferReader::Result result = (reader.*buffer.read)();
            if (result.pixels) {
                const Pixels& pixels = *result.pixels;
                WriteScreenshot(pictureName, pixels.width, pixels.height, pixels.data.data(), pixels.format,
                                pixels.type);
            } else if (result.isBeyondDriver && !(m_reportedBuffers & buffer.bit)) {
                m_reportedBuffers |= buffer.bit;
                PLAYBACK_LOG(Notice, General, SourceName, "Screenshots of the %s buffer are not available: %s",
                             buffer.name, result.error.c_str());
            } else if (!result.isBeyondDriver && !result.error.empty()) {
                LogFailure(pictureName + FileExtension(m_format), result.error, __LINE__);
            }
        } catch (const std::bad_alloc&) {
            LogFailure(pictureName + FileExtension(m_format), "not enough memory", __LINE__);
        }
    }
}

bool GLScreenshotHandler::WriteScreenshot(const std::string& name, unsigned int width, unsigned int height,
                                          const void* data, unsigned int format, unsigned int type)
{
    const std::string path = name + FileExtension(m_format);
    std::string error;
    try {
        std::optional<Image> image = ToImage(width, height, data, format, type);
        if (image) {
            if (m_opaque)
                MakeOpaque(*image);
            error = WriteImageFile(path, m_format, *image);
        } else if (BytesPerPixel(format, type) == 0) {
            error = "pixels of format " + EnumName(format) + " and type " + EnumName(type) + " are not known";
        } else {
            error = "there is no picture of " + std::to_string(width) + "x" + std::to_string(height) + " pixels";
        }
    } catch (const std::bad_alloc&) {
        error = "not enough memory";
    }
    if (!error.empty())
        LogFailure(path, error, __LINE__);
    return error.empty();
}

} // namespace Util
