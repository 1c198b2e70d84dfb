// How the two sides of a channel wait for each other.
#pragma once

#include "Recorder/Channel/Layout.h"

namespace Recorder {

/// How long a reader that is not called waits before it looks again: after it found something, and after it did not.
inline constexpr unsigned BusyWaitMs = 5;
inline constexpr unsigned IdleWaitMs = 50;

/// Makes memory that is zero the start of a channel; its time begins now.
void InitializeChannel(Channel& channel) noexcept;

/// Wakes the reader, which otherwise looks after a while.
void CallReader(Channel& channel) noexcept;
/// In the recorded program: waits until the reader has made room since `seen`, the count of what it had consumed before
/// room was looked for. False when it will not: writing has failed, the capture is finished, or the reader is gone.
/// Keeps errno.
[[nodiscard]] bool WaitForRoom(Channel& channel, std::uint32_t seen) noexcept;

/// In the reader: says that it has made room.
void TellRoom(Channel& channel) noexcept;
/// Waits for a call, at most so long. `seen` is the count of calls that was taken care of.
void WaitForCall(Channel& channel, std::uint32_t seen, unsigned milliseconds) noexcept;

/// By a thread of another process that reads for as long as it lives, which the program can then tell.
[[nodiscard]] bool BeginReading(Channel& channel) noexcept;

/// Says once for all why nothing more is recorded.
void Fail(Channel& channel, const char* why) noexcept;

} // namespace Recorder
