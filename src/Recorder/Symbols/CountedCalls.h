// Functions that programs get although their calls cannot be recorded: the calls are counted on their way.
#pragma once

namespace Data {
class CaptureWriter;
}

namespace Recorder {

/// A function that counts the program's calls and goes on to `function`, whatever its parameters are. Answers
/// `function` itself when there are too many already.
[[nodiscard]] void* CountCallsOf(const char* name, void* function) noexcept;

/// Writes how often each was called, where it was, as notes.
void NoteCountedCalls(Data::CaptureWriter& writer) noexcept;

} // namespace Recorder
