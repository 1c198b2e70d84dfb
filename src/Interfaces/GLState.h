// Asking the live driver, and changing its state for a while.
//
// A table of functions is whatever has the driver's functions under their GL names: Core::GLESProcTable, or a few of
// them (Data::BackBufferFunctions). A function that is null is not called. There is no GL header here, since Data reads
// captures without one; values are those of the Khronos registry.
#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <string_view>
#include <utility>

namespace Core {

/// Version of a context, 32 for OpenGL ES 3.2.
using ContextVersion = int;

/// OpenGL ES 1 is an API of its own: later versions have all that those in front have, but not that.
[[nodiscard]] constexpr bool IsFixedFunction(ContextVersion version)
{
    return version > 0 && version < 20;
}

/// Version at the start of `text`, digit, point, digit; 0 when there is none.
[[nodiscard]] inline ContextVersion LeadingVersion(std::string_view text)
{
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    const bool isVersion = text.size() >= 3 && isDigit(text[0]) && text[1] == '.' && isDigit(text[2]);
    return isVersion ? (text[0] - '0') * 10 + (text[2] - '0') : 0;
}

/// Version in a GL_VERSION string ("OpenGL ES 3.2 Mesa", "OpenGL ES-CM 1.1"); `unknown` when it is not OpenGL ES's.
[[nodiscard]] inline ContextVersion ParseContextVersion(std::string_view text, ContextVersion unknown = 20)
{
    for (const std::string_view prefix : {"OpenGL ES ", "OpenGL ES-CM ", "OpenGL ES-CL "}) {
        const ContextVersion version = text.starts_with(prefix) ? LeadingVersion(text.substr(prefix.size())) : 0;
        if (version != 0)
            return version;
    }
    return unknown;
}

/// `list` has words with blanks between them, as extension strings do; it may be null.
[[nodiscard]] inline bool HasWord(const char* list, std::string_view word)
{
    std::string_view rest = list ? list : "";
    while (!rest.empty()) {
        const std::size_t end = rest.find(' ');
        if (rest.substr(0, end) == word)
            return true;
        rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
    }
    return false;
}

/// Integer state of the current context; `unknown` when the driver does not answer.
template <class GL> [[nodiscard]] int GetInteger(const GL& gl, unsigned int name, int unknown = 0)
{
    int value = unknown;
    if (gl.glGetIntegerv)
        gl.glGetIntegerv(name, &value);
    return value;
}

/// A string of the current context; null without one.
template <class GL> [[nodiscard]] const char* GetString(const GL& gl, unsigned int name)
{
    return gl.glGetString ? reinterpret_cast<const char*>(gl.glGetString(name)) : nullptr;
}

/// The version of the current context; 0 without one, `unknown` when its GL_VERSION is not OpenGL ES's.
template <class GL> [[nodiscard]] ContextVersion GetVersion(const GL& gl, ContextVersion unknown = 20)
{
    const char* text = GetString(gl, 0x1F02); // GL_VERSION
    return text ? ParseContextVersion(text, unknown) : 0;
}

template <class GL> [[nodiscard]] bool HasExtension(const GL& gl, std::string_view name)
{
    return HasWord(GetString(gl, 0x1F03), name); // GL_EXTENSIONS
}

/// Puts a piece of integer state back at the end of its life. Copies of the setter must not allocate: two words at
/// most.
class ScopedState {
public:
    using Set = std::function<void(int value)>;

    ScopedState() = default;
    /// Puts `before` back whatever has happened by then.
    ScopedState(int before, Set set) : m_before(before), m_set(std::move(set)) {}
    /// Sets `value`, unless that is what was there before: then the driver is left alone now and at the end.
    ScopedState(int before, int value, Set set) : m_before(before)
    {
        if (before != value) {
            set(value);
            m_set = std::move(set);
        }
    }
    ~ScopedState()
    {
        if (m_set)
            m_set(m_before);
    }
    ScopedState(ScopedState&& other) noexcept : m_before(other.m_before), m_set(std::exchange(other.m_set, nullptr)) {}
    ScopedState& operator=(ScopedState&& other) noexcept
    {
        std::swap(m_before, other.m_before);
        std::swap(m_set, other.m_set);
        return *this;
    }

private:
    int m_before = 0;
    /// Empty: nothing is put back.
    Set m_set;
};

/// A target that objects are bound to, and the state that tells which one is.
struct BindingPoint {
    unsigned int target;
    unsigned int query;
};

inline constexpr BindingPoint Framebuffer{0x8D40, 0x8CA6};
inline constexpr BindingPoint DrawFramebuffer{0x8CA9, 0x8CA6};
inline constexpr BindingPoint ReadFramebuffer{0x8CA8, 0x8CAA};
inline constexpr BindingPoint Renderbuffer{0x8D41, 0x8CA7};
inline constexpr BindingPoint Texture2D{0x0DE1, 0x8069};
inline constexpr BindingPoint PixelPackBuffer{0x88EB, 0x88ED};
inline constexpr BindingPoint PixelUnpackBuffer{0x88EC, 0x88EF};

/// The driver's glBindBuffer and its like.
using BindFunction = void (*)(unsigned int target, unsigned int object);

inline ScopedState::Set Binder(BindFunction bind, unsigned int target)
{
    return [bind, target](int object) {
        if (bind)
            bind(target, static_cast<unsigned int>(object));
    };
}

/// What is bound now is bound again at the end.
template <class GL> [[nodiscard]] ScopedState KeepBound(const GL& gl, BindFunction bind, BindingPoint point)
{
    return {GetInteger(gl, point.query), Binder(bind, point.target)};
}

template <class GL>
[[nodiscard]] ScopedState BindScoped(const GL& gl, BindFunction bind, BindingPoint point, unsigned int object)
{
    const int wanted = static_cast<int>(object);
    return {GetInteger(gl, point.query, wanted), wanted, Binder(bind, point.target)};
}

/// The buffer that the bound read framebuffer is read from. `Keep` as KeepBound.
template <class GL> [[nodiscard]] ScopedState KeepReadBuffer(const GL& gl)
{
    return {GetInteger(gl, 0x0C02), [set = gl.glReadBuffer](int value) { set(static_cast<unsigned int>(value)); }};
}

template <class GL> [[nodiscard]] ScopedState ReadBufferScoped(const GL& gl, unsigned int buffer)
{
    const int wanted = static_cast<int>(buffer);
    return {GetInteger(gl, 0x0C02, wanted), wanted,
            [set = gl.glReadBuffer](int value) { set(static_cast<unsigned int>(value)); }};
}

/// How many there are of a capability that a context may have for each colour buffer (GL_BLEND) or viewport
/// (GL_SCISSOR_TEST); 31 at most.
template <class GL> [[nodiscard]] int CapabilityCount(const GL& gl, unsigned int capability)
{
    constexpr unsigned int Blend = 0x0BE2;
    constexpr unsigned int ScissorTest = 0x0C11;
    int count = 1;
    if (!gl.glIsEnabledi || !gl.glEnablei || !gl.glDisablei)
        return count;
    if (capability == Blend && (GetVersion(gl) >= 32 || HasExtension(gl, "GL_EXT_draw_buffers_indexed") ||
                                HasExtension(gl, "GL_OES_draw_buffers_indexed")))
        count = GetInteger(gl, 0x8824, 1); // GL_MAX_DRAW_BUFFERS
    if (capability == ScissorTest &&
        (HasExtension(gl, "GL_OES_viewport_array") || HasExtension(gl, "GL_NV_viewport_array")))
        count = GetInteger(gl, 0x825B, 1); // GL_MAX_VIEWPORTS_OES
    return std::clamp(count, 1, 31);
}

/// A capability switched on or off, for all colour buffers or viewports at once; each gets its own back.
template <class GL> [[nodiscard]] ScopedState SwitchScoped(const GL& gl, unsigned int capability, bool isOn)
{
    const int count = CapabilityCount(gl, capability);
    unsigned int before = gl.glIsEnabled(capability) ? 1 : 0;
    for (int i = 1; i < count; ++i)
        before |= gl.glIsEnabledi(capability, static_cast<unsigned int>(i)) ? 1U << i : 0U;
    const unsigned int wanted = isOn ? (1U << count) - 1 : 0;
    return {static_cast<int>(before), static_cast<int>(wanted), [&gl, capability, count](int bits) {
                ((bits & 1) != 0 ? gl.glEnable : gl.glDisable)(capability);
                for (int i = 1; i < count; ++i)
                    ((bits >> i & 1) != 0 ? gl.glEnablei : gl.glDisablei)(capability, static_cast<unsigned int>(i));
            }};
}

template <class GL> [[nodiscard]] ScopedState DisableScoped(const GL& gl, unsigned int capability)
{
    return SwitchScoped(gl, capability, false);
}

/// A parameter of glPixelStorei.
template <class GL> [[nodiscard]] ScopedState PixelStoreScoped(const GL& gl, unsigned int name, int value)
{
    return {GetInteger(gl, name, value), value,
            [set = gl.glPixelStorei, name](int stored) {
                if (set)
                    set(name, stored);
            }};
}

enum class PixelTransfer { Read, Upload };

/// While it lives, reading or uploading pixels moves rows one after the other from or to memory, top and bottom as GL
/// has them, whatever the application arranged for its own.
class PackedRows {
public:
    /// `version` is the context's: what older ones lack is asked of their extensions.
    template <class GL> PackedRows(const GL& gl, PixelTransfer transfer, ContextVersion version)
    {
        const bool isRead = transfer == PixelTransfer::Read;
        const bool isES3 = version >= 30;
        // ALIGNMENT, ROW_LENGTH, SKIP_PIXELS and SKIP_ROWS of GL_PACK or GL_UNPACK.
        m_alignment = PixelStoreScoped(gl, isRead ? 0x0D05 : 0x0CF5, 1);
        if (isES3 || HasExtension(gl, isRead ? "GL_NV_pack_subimage" : "GL_EXT_unpack_subimage")) {
            m_rowLength = PixelStoreScoped(gl, isRead ? 0x0D02 : 0x0CF2, 0);
            m_skipPixels = PixelStoreScoped(gl, isRead ? 0x0D04 : 0x0CF4, 0);
            m_skipRows = PixelStoreScoped(gl, isRead ? 0x0D03 : 0x0CF3, 0);
        }
        if (isRead && HasExtension(gl, "GL_ANGLE_pack_reverse_row_order"))
            m_order = PixelStoreScoped(gl, 0x93A4, 0); // GL_PACK_REVERSE_ROW_ORDER_ANGLE
        if (isES3 || HasExtension(gl, "GL_NV_pixel_buffer_object"))
            m_buffer = BindScoped(gl, gl.glBindBuffer, isRead ? PixelPackBuffer : PixelUnpackBuffer, 0);
    }

private:
    ScopedState m_alignment;
    ScopedState m_rowLength;
    ScopedState m_skipPixels;
    ScopedState m_skipRows;
    ScopedState m_order;
    ScopedState m_buffer;
};

} // namespace Core
