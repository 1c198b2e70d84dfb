// The capture that this process writes: when it starts and ends, and the lock under which records are appended.
//
// All of the library runs in the threads of a foreign program. It never throws into it, never holds a lock while the
// program's call is in the driver, forwards the call even when recording fails, and leaves errno as it was.
#pragma once

#include <cstdint>

#include "Data/Capture/CaptureHeader.h"
#include "Recorder/Channel/RecordStream.h"
#include "Recorder/SpinLock.h"
#include "Recorder/Thread.h"

namespace Recorder {

/// The one capture of the process.
struct Capture {
    /// Held while records are appended, never while the driver is called.
    SpinLock lock;
    /// Null before the capture begins. Stays when it ends.
    Channel* channel = nullptr;
    /// Frames that ended. Under the lock.
    std::uint32_t frames = 0;
    /// What the file's header says. Under the lock.
    Data::CaptureHeader header;
    /// False in the memory of every child process, whatever way it was made.
    const std::atomic<bool>* isRunning = &NeverRunning;

    static constexpr std::atomic<bool> NeverRunning = false;
};
extern Capture capture;

/// This thread's stream, if a capture is going on.
[[nodiscard]] inline RecordStream* OwnStream()
{
    return capture.isRunning->load(std::memory_order_relaxed) ? thread.stream : nullptr;
}

/// Holds the lock and gives the thread's stream, or nothing when there is nothing to write to. What was appended is
/// part of the capture at the end.
class Capturing {
public:
    [[gnu::always_inline]] Capturing()
    {
        capture.lock.lock();
        m_stream = OwnStream();
        if (m_stream != nullptr)
            m_stream->BeginOrder();
    }
    [[gnu::always_inline]] ~Capturing()
    {
        if (m_stream != nullptr)
            m_stream->EndOrder();
        capture.lock.unlock();
    }
    Capturing(const Capturing&) = delete;
    Capturing& operator=(const Capturing&) = delete;

    explicit operator bool() const { return m_stream != nullptr; }
    RecordStream* operator->() const { return m_stream; }

private:
    RecordStream* m_stream;
};

/// Begins the capture at the first call; afterwards says whether it is still going on. Keeps errno.
[[nodiscard]] bool CaptureRunning() noexcept;

/// The program is about to enter a sandbox: what the capture will need of the system is got now. Keeps errno.
void BeforeSandbox() noexcept;

/// What the file's header says has changed.
void UpdateHeader(const Capturing& capturing) noexcept;

/// Ends the frame whose last call was just recorded. True when it was the last one wanted: EndRecording is to follow,
/// without the lock.
[[nodiscard]] bool EndFrame(const Capturing& capturing) noexcept;
/// The same for frames whose ends are in the capture.
[[nodiscard]] bool CountFrames(const Capturing& capturing, std::uint32_t frames) noexcept;
/// After so many frames the recording ends; a large number where nobody said so.
[[nodiscard]] std::uint32_t FramesWanted() noexcept;
/// Ends the capture and the program.
void EndRecording() noexcept;

/// True when the frame under way is to be hashed.
[[nodiscard]] bool IsHashWanted(std::uint32_t uncounted = 0) noexcept;

/// True when what single actions drew to is to be hashed in each hashed frame.
[[nodiscard]] bool AreActionsHashed() noexcept;

/// Finishes the file. Calls go on unrecorded.
void FinishCapture() noexcept;

/// No more records, since the library ran out of memory for what it has to remember. What is written so far is
/// finished at the end.
void AbandonCapture(const Capturing& capturing) noexcept;

/// Does work of the library's own that may run out of memory, which then ends the capture and nothing else.
template <class Work> void Guarded(Work work) noexcept
{
    try {
        work();
    } catch (...) {
        AbandonCapture(Capturing());
    }
}

} // namespace Recorder
