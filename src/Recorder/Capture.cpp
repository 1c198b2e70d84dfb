#include "Recorder/Capture.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <mutex>
#include <pthread.h>
#include <string>
#include <unistd.h>
#include <utility>

#include "Recorder/ProgramEnd.h"
#include "Recorder/Report.h"
#include "Recorder/Settings.h"
#include "Recorder/Symbols/Unrecorded.h"

namespace Recorder {

Capture capture;
constinit thread_local Thread thread;

namespace {

enum class Phase { NotBegun, Beginning, Running, Ended };
std::atomic<Phase> phase = Phase::NotBegun;
std::atomic<std::uint32_t> threadCount = 0;

/// False in children of a fork: the file is the parent's.
std::atomic<bool> fileIsOurs = true;
/// Held until the file is finished, so that nobody ends the process before that.
std::mutex finishing;

bool hashesWanted = false;
std::uint32_t lastFrame = 0;

std::string Environment(const char* name)
{
    const char* const value = std::getenv(name);
    return value != nullptr ? value : "";
}

/// The command line of this process, joined by spaces.
std::string CommandLine()
{
    std::string command;
    if (std::FILE* file = std::fopen("/proc/self/cmdline", "re")) {
        char buffer[4096];
        command.assign(buffer, std::fread(buffer, 1, sizeof buffer, file));
        std::fclose(file);
    }
    while (!command.empty() && command.back() == '\0') {
        command.pop_back();
    }
    for (char& c : command) {
        c = c == '\0' ? ' ' : c;
    }
    return command;
}

std::uint64_t RealTimeUs()
{
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * 1'000'000 + static_cast<std::uint64_t>(now.tv_nsec) / 1000;
}

bool CreateNew(const std::string& path)
{
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (file >= 0) {
        close(file);
    }
    return file >= 0;
}

/// NAME.PID.glcap. A process that is replaced by another program (exec) has a file for each: NAME.PID-2.glcap.
std::string CreateFile()
{
    const std::string folder = Environment(folderVariable);
    const std::string stem =
        (folder.empty() ? "" : folder + "/") + program_invocation_short_name + "." + std::to_string(getpid());
    std::string path = stem + captureEnding;
    for (int number = 2; !CreateNew(path) && errno == EEXIST; ++number) {
        path = stem + "-" + std::to_string(number) + captureEnding;
    }
    return path;
}

/// Says that the capture is not whole, once: what was written until then is all that there will be.
void TellUnwritten(const char* why) noexcept
{
    static std::atomic<bool> isTold = false;
    if (!isTold.exchange(true)) {
        std::fprintf(stderr, "playback-record: %s is not recorded any further: %s\n", program_invocation_short_name,
                     why);
        Report(Finding::unwritten, why);
    }
}

void BeforeFork()
{
    capture.lock.lock();
}

void AfterForkInParent()
{
    capture.lock.unlock();
}

/// The child of a fork has none of the parent's other threads, and the file belongs to the parent.
void AfterForkInChild()
{
    for (Data::CaptureWriter** writer : {&capture.writer, &capture.abandoned}) {
        if (*writer != nullptr) {
            (*writer)->Abandon();
            *writer = nullptr;
        }
    }
    phase = Phase::Ended;
    fileIsOurs = false;
    LeaveProgramEndToParent();
    capture.lock.unlock();
}

bool Begin()
{
    Report(Finding::egl, "");
    hashesWanted = !Environment(hashVariable).empty();
    lastFrame = static_cast<std::uint32_t>(std::strtoul(Environment(framesVariable).c_str(), nullptr, 10));
    Data::CaptureHeader& header = capture.header;
    header.startTimeUs = RealTimeUs();
    header.toolVersion = PLAYBACK_VERSION;
    header.command = CommandLine();

    std::string error;
    const std::string path = CreateFile();
    auto writer = Data::CaptureWriter::Create(path, header, error);
    if (!writer) {
        TellUnwritten(error.empty() ? (path + ": cannot be written").c_str() : error.c_str());
        return false;
    }
    pthread_atfork(&BeforeFork, &AfterForkInParent, &AfterForkInChild);
    WatchProgramEnd();

    NumberThread();
    capture.lock.lock();
    capture.writer = writer.release();
    capture.lock.unlock();
    return true;
}

} // namespace

void NumberThread() noexcept
{
    if (thread.number == 0) {
        thread.number = ++threadCount;
    }
}

EGLCall::EGLCall() noexcept : m_recorded(Outermost() && CaptureRunning())
{
    if (m_recorded) {
        NumberThread();
    }
}

bool CaptureRunning() noexcept
{
    Phase now = phase.load(std::memory_order_acquire);
    if (now == Phase::NotBegun && phase.compare_exchange_strong(now, Phase::Beginning)) {
        const int savedErrno = errno;
        bool begun = false;
        try {
            begun = Begin();
        } catch (...) {
            TellUnwritten("no memory to record with");
        }
        errno = savedErrno;
        phase = now = begun ? Phase::Running : Phase::Ended;
    }
    // A second thread that comes while the first one begins records from its next call on.
    return now == Phase::Running;
}

bool HashesWanted() noexcept
{
    return hashesWanted;
}

bool EndFrame(const Capturing& capturing) noexcept
{
    if (!capturing) {
        return false;
    }
    capturing->FrameEnd();
    if (capturing->Failed()) {
        TellUnwritten(capturing->Error());
        // The last frame wanted will never come.
        return lastFrame != 0;
    }
    return lastFrame != 0 && capturing->Frames() >= lastFrame;
}

void FinishCapture() noexcept
{
    if (!fileIsOurs) {
        return;
    }
    const int savedErrno = errno;
    const std::lock_guard finishingLock(finishing);
    capture.lock.lock();
    Data::CaptureWriter* const writer = capture.writer != nullptr ? capture.writer : capture.abandoned;
    if (writer != nullptr) {
        NoteUnrecorded(*writer);
        if (!writer->Failed()) {
            capture.header.calls = capture.calls;
            capture.header.eglCalls = capture.eglCalls;
            writer->UpdateHeader(capture.header);
        }
    }
    capture.writer = nullptr;
    capture.abandoned = nullptr;
    capture.lock.unlock();

    if (writer != nullptr) {
        phase = Phase::Ended;
        std::string error;
        if (!writer->Finish(error)) {
            TellUnwritten(error.c_str());
        }
        delete writer;
    }
    errno = savedErrno;
}

void AbandonCapture(const Capturing&) noexcept
{
    if (capture.writer != nullptr) {
        TellUnwritten("out of memory");
        capture.abandoned = std::exchange(capture.writer, nullptr);
    }
}

namespace {

/// At the end of the program, after its own exit handlers.
__attribute__((destructor)) void FinishAtExit()
{
    FinishCapture();
}

} // namespace
} // namespace Recorder
