// The part of the capture file that replays are compared with, as it lies on disk; see Format.h.
#pragma once

#include "Data/Capture/Format.h"

namespace Data {

/// Numbers of reference drivers count from 1 and are given once in a capture; 0 is the driver of the recording.
inline constexpr std::uint32_t MaxReferenceDrivers = 64;
inline constexpr std::uint32_t MaxDriverTextBytes = 512;
inline constexpr std::uint32_t MaxReferencePictureBytes = 64u << 20;

/// `renderer` and `version` are GL_RENDERER and GL_VERSION, without terminators.
struct ReferenceDriverRecord {
    RecordHeader header;
    std::uint32_t driver;
    std::uint32_t unused;
    PointerSlot renderer;
    PointerSlot version;
};

/// What a reference is of.
enum class ReferenceOf : std::uint32_t {
    Action = 1, ///< the call right in front, which is one that draws
    Frame = 2,  ///< the frame that the next swap or FramePicture of the thread ends
};

struct ReferenceHashRecord {
    RecordHeader header;
    std::uint32_t driver;
    ReferenceOf of;
    std::uint32_t framebuffer; ///< captured; 0: the default one
    std::uint32_t surface;     ///< of a frame that a swap ends; 0 otherwise
    std::uint32_t width;
    std::uint32_t height;
    std::uint64_t hash;
    PictureState state; ///< not NotHashed
    std::uint32_t unused;
};

/// `picture` is a PNG file. Of a frame, as the hash that it comes with.
struct ReferencePictureRecord {
    RecordHeader header;
    std::uint32_t driver;
    std::uint32_t framebuffer;
    std::uint32_t surface;
    std::uint32_t unused;
    PointerSlot picture;
};

// The record of the summary.

/// What a capture has of a driver, besides the hashes of the recording's frames.
struct ReferenceSummaryRecord {
    RecordHeader header;
    std::uint32_t driver; ///< 0: that of the recording, which is named in the header
    std::uint32_t frames;
    std::uint64_t actions;
    std::uint32_t pictures;
    std::uint32_t unused;
    PointerSlot renderer;
    PointerSlot version;
};

} // namespace Data
