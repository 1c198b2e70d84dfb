#pragma once

#include <cstdint>

namespace Playback {

/// Receives the text annotations of a capture. Texts have `length` bytes and need not end in zero; they are valid
/// during the call only.
class AnnotationWriter {
public:
    virtual ~AnnotationWriter() = default;
    virtual void WriteTextAscii(const std::uint8_t* text, std::uint64_t length) = 0;
    virtual void WriteTextXML(const std::uint8_t* text, std::uint64_t length) = 0;
    virtual void WriteTextJSON(const std::uint8_t* text, std::uint64_t length) = 0;
};

} // namespace Playback
