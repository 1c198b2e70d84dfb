// How the recorded program ended, where it did not end through its exit handlers.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Data/Capture/Format.h"

namespace Data {

class CaptureSource;
class RecordCursor;
struct FileCall;

/// A call that had begun and not returned.
struct UnfinishedCall {
    std::string name;
    std::uint32_t frame = 0;
    /// In the frame, from 1.
    std::uint32_t call = 0;
    std::uint32_t thread = 0;
};

struct ProgramEnd {
    bool isKnown = false;
    ProgramEndKind kind = ProgramEndKind::Unknown;
    /// Signal or status.
    std::uint32_t value = 0;
    /// Of all threads; in which of them the fault was is not known.
    std::vector<UnfinishedCall> calls;
};

/// By its number in the file; also where there is no such call.
[[nodiscard]] std::string NameOfCall(const std::vector<FileCall>& calls, std::uint32_t id);

/// The records that an Unfinished record holds; none where it means the call in front.
[[nodiscard]] RecordCursor UnfinishedRecords(const RecordCursor& record);

/// Adds the call that an Unfinished record holds, or the one in front of it. `last` is that one.
void AddUnfinished(const RecordCursor& record, const std::vector<FileCall>& calls, UnfinishedCall last,
                   ProgramEnd& end);

/// Reads no more of the file than its end. Not known in captures of programs that ended as they should.
[[nodiscard]] ProgramEnd FindProgramEnd(CaptureSource& source);

/// "died by SIGSEGV in glDrawElements, frame 57, call 12, thread 1", to be put after the program's name.
[[nodiscard]] std::string Describe(const ProgramEnd& end);

} // namespace Data
