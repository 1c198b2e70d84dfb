// The capture that this process writes: when it starts and ends, and the lock under which records are appended.
//
// All of the library runs in the threads of a foreign program. It never throws into it, never holds a lock while the
// program's call is in the driver, forwards the call even when recording fails, and leaves errno as it was.
#pragma once

#include <cstdint>

#include "Data/Capture/CaptureHeader.h"
#include "Data/Capture/CaptureWriter.h"
#include "Recorder/SpinLock.h"
#include "Recorder/Thread.h"

namespace Recorder {

/// The one capture of the process. `writer` is null before it begins and after it ends; it is read under the lock.
struct Capture {
    /// Held while records are appended, never while the driver is called.
    SpinLock lock;
    Data::CaptureWriter* writer = nullptr;
    /// The writer after AbandonCapture: the file is still to be finished.
    Data::CaptureWriter* abandoned = nullptr;
    /// Calls written so far, and those of EGL among them.
    std::uint64_t calls = 0;
    std::uint64_t eglCalls = 0;
    /// What the file's header says; it gets the counts at the end.
    Data::CaptureHeader header;
};
extern Capture capture;

/// Holds the lock and gives the writer, or nothing when there is nothing to write to.
class Capturing {
public:
    Capturing()
    {
        capture.lock.lock();
        if (capture.writer != nullptr) {
            capture.writer->SetThread(thread.number);
        }
    }
    ~Capturing() { capture.lock.unlock(); }
    Capturing(const Capturing&) = delete;
    Capturing& operator=(const Capturing&) = delete;

    explicit operator bool() const { return capture.writer != nullptr; }
    Data::CaptureWriter* operator->() const { return capture.writer; }
};

/// Begins the capture at the first call; afterwards says whether it is still going on. Keeps errno.
[[nodiscard]] bool CaptureRunning() noexcept;

/// Ends the frame whose swap was just recorded. True when it was the last one wanted: capture and program are to end.
[[nodiscard]] bool EndFrame(const Capturing& capturing) noexcept;

/// True when each frame is to be hashed.
[[nodiscard]] bool HashesWanted() noexcept;

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
