#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>

#include "Interfaces/EGLAdapter.h"
#include "Interfaces/GLAdapter.h"

namespace Data {
class CaptureFile;
}

namespace Host {

/// What a capture needs of a driver.
struct Requirements {
    /// Highest version of OpenGL ES that the program asked a context of, 32 for 3.2; 0 without contexts.
    int version = 0;
    /// Calls by function.
    std::map<std::string, std::uint64_t> functions;
    /// Of compressed textures, and of program binaries.
    std::set<std::uint32_t> textureFormats;
    std::set<std::uint32_t> binaryFormats;
    /// Limits that the program asked for, with the answers that it got.
    std::map<std::uint32_t, std::int64_t> limits;
};

/// Takes the place of a driver: collects what one must have.
class RequirementReader : public Data::GLNullAdapter, public Data::EGLNullAdapter {
public:
    /// Reads the capture, which it registers itself with, up to a frame.
    static Requirements Read(Data::CaptureFile& capture, std::uint32_t lastFrame);

    void SetCurrentThread(unsigned int) override {}
    void Process_eglCreateContext(std::uint32_t captured, std::uint32_t dpy, std::uint32_t config,
                                  std::uint32_t share_context, Data::PointerData* attrib_list) override;
    void Process_glGetIntegerv(std::uint32_t pname, Data::PointerData* data) override;
    void Process_glCompressedTexImage2D(std::uint32_t target, std::int32_t level, std::uint32_t internalformat,
                                        std::int32_t width, std::int32_t height, std::int32_t border,
                                        std::int32_t imageSize, Data::PointerData* data) override;
    void Process_glCompressedTexImage3D(std::uint32_t target, std::int32_t level, std::uint32_t internalformat,
                                        std::int32_t width, std::int32_t height, std::int32_t depth,
                                        std::int32_t border, std::int32_t imageSize, Data::PointerData* data) override;
    void Process_glCompressedTexSubImage2D(std::uint32_t target, std::int32_t level, std::int32_t xoffset,
                                           std::int32_t yoffset, std::int32_t width, std::int32_t height,
                                           std::uint32_t format, std::int32_t imageSize,
                                           Data::PointerData* data) override;
    void Process_glCompressedTexSubImage3D(std::uint32_t target, std::int32_t level, std::int32_t xoffset,
                                           std::int32_t yoffset, std::int32_t zoffset, std::int32_t width,
                                           std::int32_t height, std::int32_t depth, std::uint32_t format,
                                           std::int32_t imageSize, Data::PointerData* data) override;
    void Process_glProgramBinary(std::uint32_t program, std::uint32_t binaryFormat, Data::PointerData* binary,
                                 std::int32_t length) override;
    void Process_glProgramBinaryOES(std::uint32_t program, std::uint32_t binaryFormat, Data::PointerData* binary,
                                    std::int32_t length) override;

private:
    Requirements m_needed;
};

} // namespace Host
