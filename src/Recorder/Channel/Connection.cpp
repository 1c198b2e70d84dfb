#include "Recorder/Channel/Connection.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <mutex>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <type_traits>
#include <unistd.h>

#include "Recorder/CaptureName.h"
#include "Recorder/Channel/Drain.h"
#include "Recorder/Channel/Handshake.h"
#include "Recorder/Channel/SocketPlace.h"
#include "Recorder/Channel/Waiting.h"
#include "Recorder/Thread.h"

namespace Recorder {
namespace {

/// The thread that writes in this process, where there is one.
struct OwnReader {
    std::unique_ptr<Drain> drain;
    pthread_t thread = {};
    bool isRunning = false;
};
OwnReader ownReader;

struct Streams {
    std::mutex mutex;
    std::array<RecordStream*, MaxStreams> all = {};
    std::array<bool, MaxStreams> isTaken = {};
    pthread_key_t key = {};
    bool hasKey = false;
};
/// Nothing of it is destroyed: threads end until the very end.
constinit Streams streams;
static_assert(std::is_trivially_destructible_v<Streams>);

/// Threads give their stream back late: destructors of the program's may make calls before. Values count the rounds of
/// destructors, from 0, and the streams, from 1.
void GiveBack(void* value)
{
    constexpr std::uintptr_t LastRound = 2;
    const std::uintptr_t number = reinterpret_cast<std::uintptr_t>(value) - 1;
    if (number / MaxStreams < LastRound &&
        pthread_setspecific(streams.key, reinterpret_cast<void*>(number + 1 + MaxStreams)) == 0)
        return;
    thread.stream = nullptr;
    const std::lock_guard lock(streams.mutex);
    streams.isTaken[number % MaxStreams] = false;
}

/// A channel that was connected ahead of time, and the process that did: it is of no use to its children.
struct ChannelAhead {
    std::mutex mutex;
    Channel* channel = nullptr;
    pid_t process = 0;
};
constinit ChannelAhead channelAhead;

class Descriptor {
public:
    explicit Descriptor(int value) : m_value(value) {}
    ~Descriptor()
    {
        if (m_value >= 0)
            close(m_value);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    operator int() const { return m_value; } // NOLINT(google-explicit-constructor)

private:
    const int m_value;
};

/// Connected to the socket in the folder, or negative.
int Connect(const std::string& folder)
{
    const SocketPlace place(folder.c_str(), SocketName);
    const int connection = place.Folder() < 0 ? -1 : socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    if (connection >= 0 && !place.Connect(connection)) {
        close(connection);
        return -1;
    }
    return connection;
}

/// The descriptor that comes with the next packet, or negative.
int ReceiveDescriptor(int connection)
{
    char none = 0;
    iovec data = {&none, sizeof none};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
    msghdr message = {};
    message.msg_iov = &data;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    ssize_t received = 0;
    do {
        received = recvmsg(connection, &message, MSG_CMSG_CLOEXEC);
    } while (received < 0 && errno == EINTR);
    const cmsghdr* const header = received > 0 ? CMSG_FIRSTHDR(&message) : nullptr;
    int descriptor = -1;
    if (header != nullptr && header->cmsg_type == SCM_RIGHTS)
        std::memcpy(&descriptor, CMSG_DATA(header), sizeof descriptor);
    return descriptor;
}

/// Nothing of it is in core dumps: a capture is there.
Channel* Map(int descriptor)
{
    const int flags = MAP_SHARED | MAP_NORESERVE | (descriptor < 0 ? MAP_ANONYMOUS : 0);
    void* const memory = mmap(nullptr, SharedBytes, PROT_READ | PROT_WRITE, flags, descriptor, 0);
    if (memory == MAP_FAILED)
        return nullptr;
    madvise(memory, SharedBytes, MADV_DONTDUMP);
    return static_cast<Channel*>(memory);
}

Channel* ConnectChannel(const std::string& folder)
{
    const Descriptor connection(Connect(folder));
    Hello hello;
    std::strncpy(hello.program, program_invocation_short_name, sizeof hello.program - 1);
    if (connection < 0 || send(connection, &hello, sizeof hello, MSG_NOSIGNAL) != sizeof hello)
        return nullptr;
    const Descriptor memory(ReceiveDescriptor(connection));
    return memory < 0 ? nullptr : Map(memory);
}

void* WriteInThisProcess(void* parameter)
{
    Channel& channel = *static_cast<Channel*>(parameter);
    try {
        while (channel.isFinished == 0 && channel.hasFailed == 0) {
            const std::uint32_t seen = channel.requests;
            WaitForCall(channel, seen, ownReader.drain->Take() ? BusyWaitMs : IdleWaitMs);
        }
        ownReader.drain->Finish({});
    } catch (...) {
        Fail(channel, "no memory");
    }
    return nullptr;
}

/// The program's signals are for its own threads.
bool StartReader(Channel& channel)
{
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    ownReader.isRunning = pthread_create(&ownReader.thread, nullptr, &WriteInThisProcess, &channel) == 0;
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return ownReader.isRunning;
}

Channel* OpenOwnChannel(const std::string& folder, std::string& error)
{
    Channel* const channel = Map(-1);
    const std::string path = CreateCaptureFile(folder, program_invocation_short_name, getpid());
    auto writer = channel != nullptr ? Data::CaptureWriter::Create(path, {}, error) : nullptr;
    if (writer == nullptr) {
        error = error.empty() ? "no memory to record with" : error;
        return nullptr;
    }
    InitializeChannel(*channel);
    ownReader.drain = std::make_unique<Drain>(*channel, std::move(writer));
    if (!StartReader(*channel)) {
        error = "no thread to record with";
        return nullptr;
    }
    return channel;
}

} // namespace

void ConnectAhead(const std::string& folder) noexcept
{
    const int savedErrno = errno;
    const std::lock_guard lock(channelAhead.mutex);
    if (channelAhead.process != getpid()) {
        channelAhead.process = getpid();
        channelAhead.channel = ConnectChannel(folder);
    }
    errno = savedErrno;
}

Channel* OpenChannel(const std::string& folder, std::string& error)
{
    const std::lock_guard lock(channelAhead.mutex);
    const bool isAhead = channelAhead.channel != nullptr && channelAhead.process == getpid();
    Channel* const shared = isAhead ? channelAhead.channel : ConnectChannel(folder);
    return shared != nullptr ? shared : OpenOwnChannel(folder, error);
}

RecordStream* TakeStream(Channel& channel) noexcept
{
    try {
        const std::lock_guard lock(streams.mutex);
        streams.hasKey = streams.hasKey || pthread_key_create(&streams.key, &GiveBack) == 0;
        for (std::uint32_t i = 0; i < MaxStreams && streams.hasKey; ++i) {
            if (!streams.isTaken[i]) {
                if (streams.all[i] == nullptr)
                    streams.all[i] = new RecordStream(channel, i);
                streams.isTaken[i] = true;
                pthread_setspecific(streams.key, reinterpret_cast<void*>(std::uintptr_t{i} + 1));
                return streams.all[i];
            }
        }
    } catch (...) {
        // As with too many.
    }
    return nullptr;
}

void PublishHeader(Channel& channel, const Data::CaptureHeader& header) noexcept
{
    ++channel.headerVersion;
    Data::EncodeHeader(header, channel.header);
    ++channel.headerVersion;
}

void CloseChannel(Channel& channel) noexcept
{
    channel.isFinished.store(1, std::memory_order_release);
    CallReader(channel);
    if (ownReader.isRunning) {
        pthread_join(ownReader.thread, nullptr);
        ownReader.isRunning = false;
    }
}

void AbandonChannel() noexcept
{
    if (ownReader.drain != nullptr) {
        ownReader.drain.release()->Abandon();
        ownReader.isRunning = false;
    }
}

std::atomic<std::uint64_t>* SharedCount(Channel& channel, const char* what) noexcept
{
    static std::mutex mutex;
    const std::lock_guard lock(mutex);
    const std::uint32_t count = channel.noteCount;
    for (std::uint32_t i = 0; i < count; ++i)
        if (std::strncmp(channel.notes[i].name, what, sizeof channel.notes[i].name - 1) == 0)
            return &channel.notes[i].count;
    if (count == MaxNotes)
        return nullptr;
    std::strncpy(channel.notes[count].name, what, sizeof channel.notes[count].name - 1);
    channel.noteCount = count + 1;
    return &channel.notes[count].count;
}

} // namespace Recorder
