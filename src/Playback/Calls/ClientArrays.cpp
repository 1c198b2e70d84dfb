#include "Playback/Calls/ClientArrays.h"

#include "Interfaces/Core.h"
#include "Interfaces/Data.h"
#include "Interfaces/GLState.h"

namespace Playback {

namespace {

using Core::KHRLayer;
namespace ClientArray = Data::ClientArray;

constexpr GLenum ClientActiveTexture = 0x84E1;

void SetTexCoords(std::uint32_t unit, std::int32_t size, std::uint32_t type, std::int32_t stride, const void* data)
{
    const Core::GLESProcTable& gl = KHRLayer::playbackGLESProcTable;
    if (!gl.glTexCoordPointer || !gl.glClientActiveTexture)
        return;
    const GLenum texture = GL_TEXTURE0 + unit;
    const Core::ScopedState active(Core::GetInteger(gl, ClientActiveTexture), static_cast<int>(texture),
                                   [set = gl.glClientActiveTexture](int value) { set(static_cast<GLenum>(value)); });
    gl.glTexCoordPointer(size, type, stride, data);
}

} // namespace

void SetClientArray(std::uint32_t place, std::int32_t size, std::uint32_t type, std::int32_t stride, const void* data)
{
    const Core::GLESProcTable& gl = KHRLayer::playbackGLESProcTable;
    const Core::GLESExtProcTable& ext = KHRLayer::playbackGLESExtProcTable;
    const auto set = [&](auto function) {
        if (function)
            function(size, type, stride, data);
    };
    const auto setOfOneSize = [&](auto function) {
        if (function)
            function(type, stride, data);
    };
    switch (place) {
    case ClientArray::Vertex:
        return set(gl.glVertexPointer);
    case ClientArray::Normal:
        return setOfOneSize(gl.glNormalPointer);
    case ClientArray::Color:
        return set(gl.glColorPointer);
    case ClientArray::PointSize:
        return setOfOneSize(ext.glPointSizePointerOES);
    case ClientArray::MatrixIndex:
        return set(ext.glMatrixIndexPointerOES);
    case ClientArray::Weight:
        return set(ext.glWeightPointerOES);
    default:
        return SetTexCoords(place - ClientArray::TexCoord, size, type, stride, data);
    }
}

} // namespace Playback
