// The recorded program's end of its channel.
#pragma once

#include <string>

#include "Data/Capture/CaptureHeader.h"
#include "Recorder/Channel/RecordStream.h"

namespace Recorder {

/// The channel of this process: to the process that writes in `folder` or, where that cannot be reached, to a thread of
/// this process that does. Null when there is none, with the reason in `error`.
[[nodiscard]] Channel* OpenChannel(const std::string& folder, std::string& error);

/// Connects ahead of time, for OpenChannel: a sandbox that the program is about to enter may forbid it later, and may
/// end programs that try. Keeps errno.
void ConnectAhead(const std::string& folder) noexcept;

/// A stream for this thread; it is given back when the thread ends. Null when too many threads have one.
[[nodiscard]] RecordStream* TakeStream(Channel& channel) noexcept;

/// Under the capture's lock.
void PublishHeader(Channel& channel, const Data::CaptureHeader& header) noexcept;

/// After the last record. Waits until the file is complete when this process writes it.
void CloseChannel(Channel& channel) noexcept;

/// In the child of a fork: lets go of the file.
void AbandonChannel() noexcept;

/// How often `what` could not be recorded: to be added to. Kept for good. Null when there are too many already.
[[nodiscard]] std::atomic<std::uint64_t>* SharedCount(Channel& channel, const char* what) noexcept;

} // namespace Recorder
