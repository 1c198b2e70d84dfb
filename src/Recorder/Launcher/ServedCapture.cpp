#include "Recorder/Launcher/ServedCapture.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <poll.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

#include "Recorder/CaptureName.h"
#include "Recorder/Channel/Waiting.h"
#include "Recorder/Report.h"

namespace Recorder {
namespace {

constexpr std::chrono::seconds NewsTimeout{5};

bool SendDescriptor(int connection, int descriptor)
{
    char none = 0;
    iovec data = {&none, sizeof none};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof descriptor)] = {};
    msghdr message = {};
    message.msg_iov = &data;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    cmsghdr* const header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(sizeof descriptor);
    std::memcpy(CMSG_DATA(header), &descriptor, sizeof descriptor);
    return sendmsg(connection, &message, MSG_NOSIGNAL) > 0;
}

} // namespace

void News::Take(const ProcessNews& news)
{
    const std::lock_guard lock(m_mutex);
    m_status[news.process] = news.what == ProcessNews::Ended ? news.status : Running;
    m_changed.notify_all();
}

HowItEnded News::Of(pid_t process)
{
    std::unique_lock lock(m_mutex);
    const auto found = m_status.find(process);
    if (found == m_status.end())
        return {};
    m_changed.wait_for(lock, NewsTimeout, [&] { return found->second != Running; });
    const int status = found->second;
    if (status == Running)
        return {};
    return WIFSIGNALED(status)
               ? HowItEnded{Data::ProgramEndKind::Signal, static_cast<std::uint32_t>(WTERMSIG(status))}
               : HowItEnded{Data::ProgramEndKind::Exited, static_cast<std::uint32_t>(WEXITSTATUS(status))};
}

Process::Process(pid_t process)
    : m_process(process), m_descriptor(static_cast<int>(syscall(SYS_pidfd_open, process, 0)))
{
}

Process::~Process()
{
    if (m_descriptor >= 0)
        close(m_descriptor);
}

bool Process::HasEnded() const
{
    if (m_descriptor < 0)
        return kill(m_process, 0) != 0 && errno == ESRCH;
    pollfd end = {m_descriptor, POLLIN, 0};
    return poll(&end, 1, 0) > 0;
}

SharedMemory::SharedMemory() : m_descriptor(memfd_create("playback-channel", MFD_CLOEXEC))
{
    if (m_descriptor < 0 || ftruncate(m_descriptor, SharedBytes) != 0)
        return;
    void* const memory =
        mmap(nullptr, SharedBytes, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_NORESERVE, m_descriptor, 0);
    if (memory != MAP_FAILED) {
        m_channel = static_cast<Channel*>(memory);
        InitializeChannel(*m_channel);
    }
}

SharedMemory::~SharedMemory()
{
    if (m_channel != nullptr)
        munmap(m_channel, SharedBytes);
    if (m_descriptor >= 0)
        close(m_descriptor);
}

ServedCapture::ServedCapture(pid_t process, std::string program, const WriterPlace& place, SpoolPlace& spools,
                             News& news, int wake)
    : m_process(process), m_program(std::move(program)), m_place(place), m_spools(spools), m_news(news), m_wake(wake)
{
}

ServedCapture::~ServedCapture()
{
    if (m_thread.joinable())
        m_thread.join();
}

bool ServedCapture::Begin(int connection, const Wanted& wanted)
{
    if (m_memory.Get() == nullptr)
        return false;
    std::string error;
    const std::string file = CreateCaptureFile(m_place.folder, m_program, m_process.Number());
    auto writer = Data::CaptureWriter::Create(file, {}, error);
    if (writer == nullptr)
        return false;
    m_spool = std::make_unique<Spool>(m_spools, wanted, file, m_program, m_process.Number());
    m_memory.Get()->isPaused = m_spool->IsRecording() ? 0 : 1;
    m_drain = std::make_unique<Drain>(*m_memory.Get(), std::move(writer));
    m_thread = std::thread([this] { Run(); });
    m_hasBegun.wait(false);
    return SendDescriptor(connection, m_memory.Descriptor());
}

void ServedCapture::Replace()
{
    m_isReplaced = true;
    CallReader(*m_memory.Get());
}

void ServedCapture::Ask(std::shared_ptr<Request> request)
{
    {
        const std::lock_guard lock(m_mutex);
        m_requests.push_back(std::move(request));
    }
    CallReader(*m_memory.Get());
}

void ServedCapture::Serve(Channel& channel)
{
    const std::vector<std::shared_ptr<Request>> requests = TakeRequests();
    if (!requests.empty()) {
        // Frames that end from here on have hashes, in case that they are wanted.
        channel.isPaused = 0;
        static_cast<void>(m_drain->Take());
    }
    const std::uint32_t frames = m_frames = m_drain->Frames();
    for (const auto& request : requests)
        m_spool->Ask(request, frames, frames + (m_drain->IsIn(Data::CallId::eglSwapBuffers) ? 1 : 0));
}

std::vector<std::shared_ptr<Request>> ServedCapture::TakeRequests()
{
    const std::lock_guard lock(m_mutex);
    return std::exchange(m_requests, {});
}

void ServedCapture::Run()
{
    Channel& channel = *m_memory.Get();
    static_cast<void>(BeginReading(channel));
    m_hasBegun = true;
    m_hasBegun.notify_all();
    try {
        Write(channel);
    } catch (...) {
        Fail(channel, "no memory to write with");
    }
    if (channel.hasFailed == Failed && channel.isFailureTold.exchange(1) == 0)
        TellFailure(channel.error);
    m_drain.reset();
    m_spool.reset();
    for (const auto& request : TakeRequests())
        request->Refuse(m_program + " has ended");
    m_isDone = true;
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(m_wake, &one, sizeof one);
}

void ServedCapture::Write(Channel& channel)
{
    bool hasEnded = false;
    while (!hasEnded && channel.isFinished == 0 && channel.hasFailed == 0) {
        const std::uint32_t seen = channel.requests;
        hasEnded = m_process.HasEnded();
        const bool isBusy = !m_spool->IsFull(m_frames) && m_drain->Take();
        Serve(channel);
        if (const std::string error = m_spool->Update(*m_drain); !error.empty())
            Fail(channel, error.c_str());
        channel.isPaused = m_spool->IsRecording() ? 0 : 1;
        if (m_isReplaced)
            break;
        if (!hasEnded)
            WaitForCall(channel, seen, isBusy ? BusyWaitMs : IdleWaitMs);
    }
    const bool asksHow = channel.isFinished == 0 && hasEnded;
    m_spool->Finish(*m_drain, m_isReplaced ? HowItEnded{Data::ProgramEndKind::Replaced, 0}
                              : asksHow    ? m_news.Of(Number())
                                           : HowItEnded{});
}

/// After the program's end, when it can no longer do so itself.
void ServedCapture::TellFailure(const char* why) const
{
    std::fprintf(stderr, "playback-record: %s is not recorded any further: %s\n", m_program.c_str(), why);
    dprintf(m_place.reports, "%d %s %s\n", static_cast<int>(Number()), Finding::Unwritten, why);
}

} // namespace Recorder
