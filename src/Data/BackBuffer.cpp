#include "Data/BackBuffer.h"

#include <cstring>
#include <new>
#include <stdexcept>

#include "Data/Capture/Checksum.h"

namespace Data {

namespace {

// Values from the Khronos headers, which this library does not include.
constexpr unsigned int GL_VERSION = 0x1F02;
constexpr unsigned int GL_UNSIGNED_BYTE = 0x1401;
constexpr unsigned int GL_RGBA = 0x1908;
constexpr unsigned int GL_BACK = 0x0405;
constexpr unsigned int GL_READ_BUFFER = 0x0C02;
constexpr unsigned int GL_PACK_ROW_LENGTH = 0x0D02;
constexpr unsigned int GL_PACK_SKIP_ROWS = 0x0D03;
constexpr unsigned int GL_PACK_SKIP_PIXELS = 0x0D04;
constexpr unsigned int GL_PACK_ALIGNMENT = 0x0D05;
constexpr unsigned int GL_PIXEL_PACK_BUFFER = 0x88EB;
constexpr unsigned int GL_PIXEL_PACK_BUFFER_BINDING = 0x88ED;
constexpr unsigned int GL_FRAMEBUFFER = 0x8D40;
constexpr unsigned int GL_FRAMEBUFFER_BINDING = 0x8CA6;
constexpr unsigned int GL_READ_FRAMEBUFFER = 0x8CA8;
constexpr unsigned int GL_READ_FRAMEBUFFER_BINDING = 0x8CAA;

bool HasVersion3(const unsigned char* version)
{
    constexpr char Prefix[] = "OpenGL ES ";
    const char* text = reinterpret_cast<const char*>(version);
    return std::strncmp(text, Prefix, sizeof Prefix - 1) == 0 && text[sizeof Prefix - 1] >= '3';
}

/// Sets a pixel-store parameter for as long as it lives.
class PixelStore {
public:
    PixelStore(const BackBufferFunctions& gl, unsigned int name, int value) : m_gl(gl), m_name(name)
    {
        m_gl.getIntegerv(m_name, &m_before);
        if (m_before != value) {
            m_gl.pixelStorei(m_name, value);
            m_changed = true;
        }
    }
    ~PixelStore()
    {
        if (m_changed) {
            m_gl.pixelStorei(m_name, m_before);
        }
    }
    PixelStore(const PixelStore&) = delete;
    PixelStore& operator=(const PixelStore&) = delete;

private:
    const BackBufferFunctions& m_gl;
    unsigned int m_name;
    int m_before = 0;
    bool m_changed = false;
};

/// Binds object 0 to a target for as long as it lives.
class Unbound {
public:
    using Bind = void (*)(unsigned int target, unsigned int object);

    Unbound(const BackBufferFunctions& gl, Bind bind, unsigned int target, unsigned int query)
        : m_bind(bind), m_target(target)
    {
        gl.getIntegerv(query, &m_before);
        if (m_before != 0) {
            m_bind(m_target, 0);
        }
    }
    ~Unbound()
    {
        if (m_before != 0) {
            m_bind(m_target, static_cast<unsigned int>(m_before));
        }
    }
    Unbound(const Unbound&) = delete;
    Unbound& operator=(const Unbound&) = delete;

private:
    Bind m_bind;
    unsigned int m_target;
    int m_before = 0;
};

/// Reads from the back buffer of framebuffer 0, which must be bound, for as long as it lives.
class ReadFromBack {
public:
    explicit ReadFromBack(const BackBufferFunctions& gl) : m_gl(gl)
    {
        m_gl.getIntegerv(GL_READ_BUFFER, &m_before);
        if (m_before != static_cast<int>(GL_BACK)) {
            m_gl.readBuffer(GL_BACK);
        }
    }
    ~ReadFromBack()
    {
        if (m_before != static_cast<int>(GL_BACK)) {
            m_gl.readBuffer(static_cast<unsigned int>(m_before));
        }
    }
    ReadFromBack(const ReadFromBack&) = delete;
    ReadFromBack& operator=(const ReadFromBack&) = delete;

private:
    const BackBufferFunctions& m_gl;
    int m_before = 0;
};

void Read(const BackBufferFunctions& gl, int width, int height, std::uint8_t* pixels)
{
    const PixelStore alignment(gl, GL_PACK_ALIGNMENT, 1);
    gl.readPixels(0, 0, width, height, GL_RGBA, GL_UNSIGNED_BYTE, pixels);
}

/// As Read, for contexts of version 3, which have more state that reading depends on.
void Read3(const BackBufferFunctions& gl, int width, int height, std::uint8_t* pixels)
{
    const Unbound framebuffer(gl, gl.bindFramebuffer, GL_READ_FRAMEBUFFER, GL_READ_FRAMEBUFFER_BINDING);
    const Unbound packBuffer(gl, gl.bindBuffer, GL_PIXEL_PACK_BUFFER, GL_PIXEL_PACK_BUFFER_BINDING);
    const ReadFromBack back(gl);
    const PixelStore rowLength(gl, GL_PACK_ROW_LENGTH, 0);
    const PixelStore skipRows(gl, GL_PACK_SKIP_ROWS, 0);
    const PixelStore skipPixels(gl, GL_PACK_SKIP_PIXELS, 0);
    Read(gl, width, height, pixels);
}

} // namespace

std::optional<std::uint64_t> HashBackBuffer(const BackBufferFunctions& gl, std::uint32_t width, std::uint32_t height,
                                            std::vector<std::uint8_t>& scratch) noexcept
{
    if (width == 0 || height == 0 || !gl.getString || !gl.getIntegerv || !gl.pixelStorei || !gl.bindFramebuffer ||
        !gl.readPixels) {
        return std::nullopt;
    }
    const unsigned char* version = gl.getString(GL_VERSION);
    const bool version3 = version && HasVersion3(version);
    if (!version || (version3 && (!gl.bindBuffer || !gl.readBuffer))) {
        return std::nullopt;
    }
    try {
        scratch.resize(std::size_t{4} * width * height);
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    } catch (const std::length_error&) {
        return std::nullopt;
    }
    if (version3) {
        Read3(gl, static_cast<int>(width), static_cast<int>(height), scratch.data());
    } else {
        const Unbound framebuffer(gl, gl.bindFramebuffer, GL_FRAMEBUFFER, GL_FRAMEBUFFER_BINDING);
        Read(gl, static_cast<int>(width), static_cast<int>(height), scratch.data());
    }
    return Checksum(scratch.data(), scratch.size());
}

} // namespace Data
