// Turns the records that are no calls into meta commands.
#pragma once

#include <cstdint>
#include <vector>

#include "Data/Records/RecordCursor.h"
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
    /// False when the record is a call, or none that this program knows. Memory that belongs to calls goes to the
    /// decoder of calls.
    bool Decode(const RecordCursor& record);

private:
    /// What a slot's contents point to; false, and reported, when they leave the record or have less than `needed`.
    bool Contents(const char* name, const RecordView& view, const PointerSlot& slot, std::uint64_t needed,
                  const std::uint8_t*& contents);
    /// Calls `upload` while the context takes rows from memory, without gaps between them, and vertices too: handlers
    /// hand images to the driver as they are. Not called where no context can take them.
    template <class Upload> void UploadPacked(const char* name, Upload upload);
    void Text(RecordId id, const RecordView& record);
    void WindowSize(const RecordView& record);
    void Attribs(RecordId id, const RecordView& record);
    void Image(RecordId id, const RecordView& record);
    void DefaultBuffer(RecordId id, const RecordView& record);
    void MultisampleTexture(const RecordView& record);

    CallDecoder& m_calls;
    Diagnostics& m_diagnostics;
    std::vector<MetaHandler*> m_handlers;
};

} // namespace Data
