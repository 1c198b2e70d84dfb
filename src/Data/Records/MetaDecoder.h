// Turns the records that are no calls into meta commands.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Data/Capture/Format.h"
#include "Interfaces/Data.h"

namespace Data {

class CallDecoder;
class Diagnostics;

/// Checks meta commands and hands them to all handlers. Sizes are checked against what a handler reads: whole images,
/// closed attribute lists.
class MetaDecoder {
public:
    MetaDecoder(CallDecoder& calls, Diagnostics& diagnostics) : m_calls(calls), m_diagnostics(diagnostics) {}

    void Add(MetaHandler* handler) { m_handlers.push_back(handler); }
    void SetThread(std::uint32_t thread);
    /// False when `header.id` is no meta command.
    bool Decode(const RecordHeader& header, const std::uint8_t* record);

private:
    /// The record's struct; false, and reported, when the record is smaller.
    template <class Record> bool Read(const char* name, const std::uint8_t* bytes, Record& record);
    /// What a slot's contents point to; false, and reported, when they leave the record or have less than `needed`.
    bool Contents(const char* name, const std::uint8_t* bytes, const PointerSlot& slot, std::uint64_t needed,
                  const std::uint8_t*& contents);
    /// Calls `upload` while the context takes rows from memory, without gaps between them, and vertices too: handlers
    /// hand images to the driver as they are. Not called where no context can take them.
    template <class Upload> void UploadPacked(const char* name, Upload upload);
    void Text(RecordId id, const std::uint8_t* record);
    void WindowSize(const std::uint8_t* record);
    void Attribs(RecordId id, const std::uint8_t* record);
    void Image(RecordId id, const std::uint8_t* record);
    void DefaultBuffer(RecordId id, const std::uint8_t* record);
    void MultisampleTexture(const std::uint8_t* record);

    CallDecoder& m_calls;
    Diagnostics& m_diagnostics;
    std::vector<MetaHandler*> m_handlers;
};

} // namespace Data
