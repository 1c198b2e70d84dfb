#include "Recorder/Capture.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <mutex>
#include <new>
#include <pthread.h>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

#include "Data/Capture/CaptureWriter.h"
#include "Recorder/Channel/Connection.h"
#include "Recorder/FrameEnds.h"
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

/// The first frame that is hashed; 0: none is.
std::uint32_t firstHashed = 0;
bool hashesActions = false;
std::uint32_t lastFrame = 0;

/// Says that a capture goes on, in a page of its own that is zero in children.
std::atomic<bool>* running = nullptr;

void Run()
{
    const auto pageBytes = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    void* const page = mmap(nullptr, pageBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    static std::atomic<bool> withoutPage = false;
    running = page == MAP_FAILED ? &withoutPage : new (page) std::atomic<bool>(false);
    madvise(page, pageBytes, MADV_WIPEONFORK);
    capture.isRunning = running;
    *running = true;
}

void Stop()
{
    if (running != nullptr)
        *running = false;
}

std::string Environment(const char* name)
{
    const char* const value = std::getenv(name);
    return value != nullptr ? value : "";
}

std::uint32_t Number(const char* name)
{
    return static_cast<std::uint32_t>(std::strtoul(Environment(name).c_str(), nullptr, 10));
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
    while (!command.empty() && command.back() == '\0')
        command.pop_back();
    for (char& c : command)
        c = c == '\0' ? ' ' : c;
    return command;
}

/// Says that the capture is not whole, once: what was written until then is all that there will be.
void TellUnwritten(const char* why) noexcept
{
    static std::atomic<std::uint32_t> isToldWithoutChannel = 0;
    std::atomic<std::uint32_t>& isTold =
        capture.channel != nullptr ? capture.channel->isFailureTold : isToldWithoutChannel;
    if (isTold.exchange(1) == 0) {
        std::fprintf(stderr, "playback-record: %s is not recorded any further: %s\n", program_invocation_short_name,
                     why);
        Report(Finding::Unwritten, why);
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
    Stop();
    AbandonChannel();
    thread.stream = nullptr;
    phase = Phase::Ended;
    fileIsOurs = false;
    LeaveProgramEndToParent();
    capture.lock.unlock();
}

bool Begin()
{
    Report(Finding::Egl, "");
    firstHashed = Environment(HashVariable).empty() ? 0 : std::max(Number(HashVariable), 1u);
    hashesActions = !Environment(HashDrawsVariable).empty();
    lastFrame = Number(FramesVariable);
    SetFrameEnd(Environment(FrameEndVariable));
    Data::CaptureHeader& header = capture.header;
    header.startTimeUs = Data::RealTimeUs();
    header.toolVersion = PLAYBACK_VERSION;
    header.command = CommandLine();

    std::string error;
    Channel* const channel = OpenChannel(Environment(FolderVariable), error);
    if (channel == nullptr) {
        TellUnwritten(error.c_str());
        return false;
    }
    pthread_atfork(&BeforeFork, &AfterForkInParent, &AfterForkInChild);
    WatchProgramEnd();

    const std::lock_guard lock(capture.lock);
    PublishHeader(*channel, header);
    capture.channel = channel;
    Run();
    return true;
}

} // namespace

void NumberThread() noexcept
{
    if (thread.number == 0)
        thread.number = ++threadCount;
    if (thread.stream == nullptr && capture.isRunning->load()) {
        thread.stream = TakeStream(*capture.channel);
        if (thread.stream != nullptr) {
            const std::lock_guard lock(capture.lock);
            thread.stream->SetThread(thread.number);
        } else {
            CountUnrecorded("threads beyond those that can be recorded at a time");
        }
    }
}

EGLCall::EGLCall() noexcept : m_recorded(Outermost() && CaptureRunning())
{
    if (Outermost())
        thread.eglError = 0;
    if (!m_recorded)
        return;
    NumberThread();
    if (stacksOf == StacksOf::All)
        thread.stack = TakeStack();
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
        phase.notify_all();
    }
    // A second thread that comes while the first one begins waits for it: a context that it makes is to be recorded.
    phase.wait(Phase::Beginning);
    now = phase;
    return now == Phase::Running;
}

void BeforeSandbox() noexcept
{
    const char* const folder = std::getenv(FolderVariable);
    if (folder != nullptr && phase == Phase::NotBegun)
        ConnectAhead(folder);
}

bool IsHashWanted(std::uint32_t uncounted) noexcept
{
    if (firstHashed == 0 || capture.channel == nullptr || capture.channel->isPaused != 0)
        return false;
    const std::lock_guard lock(capture.lock);
    return capture.frames + uncounted + 1 >= firstHashed;
}

bool AreActionsHashed() noexcept
{
    return hashesActions;
}

void UpdateHeader(const Capturing& capturing) noexcept
{
    if (capturing)
        PublishHeader(*capture.channel, capture.header);
}

bool EndFrame(const Capturing& capturing) noexcept
{
    if (!capturing)
        return false;
    capturing->PutFrameEnd(Data::MonotonicUs() - capture.channel->startUs);
    return CountFrames(capturing, 1);
}

bool CountFrames(const Capturing& capturing, std::uint32_t frames) noexcept
{
    if (!capturing)
        return false;
    capture.frames += frames;
    if (capture.channel->hasFailed == Failed) {
        TellUnwritten(capture.channel->error);
        // The last frame wanted will never come.
        return lastFrame != 0;
    }
    return lastFrame != 0 && capture.frames >= lastFrame;
}

std::uint32_t FramesWanted() noexcept
{
    return lastFrame != 0 ? lastFrame : std::numeric_limits<std::uint32_t>::max();
}

void EndRecording() noexcept
{
    // Nothing that is under way makes one more.
    capture.channel->openFrames = 0;
    FinishCapture();
    EndProgram();
}

void FinishCapture() noexcept
{
    if (!fileIsOurs)
        return;
    const int savedErrno = errno;
    const std::lock_guard finishingLock(finishing);
    capture.lock.lock();
    Channel* const channel = capture.channel;
    Stop();
    capture.lock.unlock();

    if (channel != nullptr && phase.exchange(Phase::Ended) != Phase::Ended) {
        CloseChannel(*channel);
        if (channel->hasFailed == Failed)
            TellUnwritten(channel->error);
    }
    errno = savedErrno;
}

void AbandonCapture(const Capturing& capturing) noexcept
{
    if (capturing) {
        TellUnwritten("out of memory");
        Stop();
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
