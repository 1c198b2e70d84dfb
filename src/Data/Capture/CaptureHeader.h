// What a capture says about itself, readable without decompressing anything.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "Data/Capture/Format.h"

namespace Data {

/// Contents of the file header. Strings are UTF-8 as the system gave them and empty where nothing is known.
struct CaptureHeader {
    std::uint32_t version = FormatVersion;
    /// Start of the recording, microseconds since 1970.
    std::uint64_t startTimeUs = 0;
    /// Of the first window or pbuffer surface that was made current; 0 when there was none.
    std::uint32_t surfaceWidth = 0;
    std::uint32_t surfaceHeight = 0;
    std::string toolVersion;
    /// The recorded command and its arguments, joined by spaces.
    std::string command;
    std::string eglVendor;
    std::string eglVersion;
    std::string glVendor;
    std::string glRenderer;
    std::string glVersion;
    /// All calls in the capture, and those of EGL among them. 0: not known, since the recording is going on or the
    /// program was killed.
    std::uint64_t calls = 0;
    std::uint64_t eglCalls = 0;
    /// Of a capture that was cut out of another one: that one's file name, and its number of this one's first frame,
    /// counted from 1. 0: this is no part of another one.
    std::uint32_t originFrame = 0;
    std::string originFile;
};

/// The `headerBytes` bytes of the file header. Strings that do not fit are cut.
void EncodeHeader(const CaptureHeader& header, std::span<std::uint8_t, HeaderBytes> bytes);

/// Reads what EncodeHeader wrote; empty when that went well, else what is wrong with it.
std::string DecodeHeader(std::span<const std::uint8_t> bytes, CaptureHeader& header);

} // namespace Data
