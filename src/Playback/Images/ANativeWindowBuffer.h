// The record by which Android's EGL passes native buffers: EGL_ANDROID_image_native_buffer.
#pragma once

#include <cstdint>

namespace Playback {

/// Start of every Android native record.
struct ANativeBase {
    std::int32_t magic;
    /// Size of the whole record in bytes.
    std::int32_t version;
    void* reserved[4];
    void (*incRef)(ANativeBase* base);
    void (*decRef)(ANativeBase* base);
};

struct ANativeWindowBuffer {
    /// "_bfr", first character highest.
    static constexpr std::int32_t Magic = 0x5F626672;
    static constexpr std::int32_t Version = 168;

    ANativeBase common;
    std::int32_t width;
    std::int32_t height;
    std::int32_t stride;
    std::int32_t format;
    std::int32_t usageDeprecated;
    std::uintptr_t layerCount;
    void* reserved[1];
    /// Null: no memory belongs to the record.
    const void* handle;
    std::uint64_t usage;
    void* reservedProc[7];
};

static_assert(sizeof(ANativeWindowBuffer) == ANativeWindowBuffer::Version, "64-bit layout");

} // namespace Playback
