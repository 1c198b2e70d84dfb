#include "Recorder/Channel/Waiting.h"

#include <cerrno>
#include <cstdio>
#include <ctime>
#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "Data/Capture/CaptureWriter.h"

namespace Recorder {
namespace {

constexpr unsigned RoomTimeoutMs = 100;

void Sleep(std::atomic<std::uint32_t>& word, std::uint32_t value, unsigned milliseconds)
{
    const timespec timeout = {static_cast<time_t>(milliseconds / 1000),
                              static_cast<long>(milliseconds % 1000) * 1'000'000};
    syscall(SYS_futex, &word, FUTEX_WAIT, value, &timeout, nullptr, 0);
}

void Wake(std::atomic<std::uint32_t>& word)
{
    word.fetch_add(1, std::memory_order_release);
    syscall(SYS_futex, &word, FUTEX_WAKE, INT32_MAX, nullptr, nullptr, 0);
}

/// A reader that dies leaves the mutex in a state of its own. One in this process never takes it.
bool IsReaderGone(Channel& channel)
{
    const int result = pthread_mutex_trylock(&channel.readerLives);
    if (result == 0 || result == EOWNERDEAD)
        pthread_mutex_unlock(&channel.readerLives);
    return result == EOWNERDEAD || result == ENOTRECOVERABLE;
}

} // namespace

void InitializeChannel(Channel& channel) noexcept
{
    channel.version = ChannelVersion;
    channel.startUs = Data::MonotonicUs();
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
    pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
    pthread_mutex_init(&channel.readerLives, &attributes);
    pthread_mutexattr_destroy(&attributes);
}

void CallReader(Channel& channel) noexcept
{
    const int savedErrno = errno;
    Wake(channel.requests);
    errno = savedErrno;
}

bool WaitForRoom(Channel& channel, std::uint32_t seen) noexcept
{
    const int savedErrno = errno;
    ++channel.waiting;
    Wake(channel.requests);
    Sleep(channel.consumptions, seen, RoomTimeoutMs);
    --channel.waiting;
    if (channel.consumptions.load(std::memory_order_acquire) == seen && IsReaderGone(channel))
        Fail(channel, "the process that writes it has ended");
    errno = savedErrno;
    return channel.hasFailed == 0 && channel.isFinished == 0;
}

void TellRoom(Channel& channel) noexcept
{
    // Added to before the count of those that wait is read, so that one which comes meanwhile does not sleep.
    channel.consumptions.fetch_add(1);
    if (channel.waiting != 0)
        Wake(channel.consumptions);
}

void WaitForCall(Channel& channel, std::uint32_t seen, unsigned milliseconds) noexcept
{
    Sleep(channel.requests, seen, milliseconds);
}

bool BeginReading(Channel& channel) noexcept
{
    return pthread_mutex_lock(&channel.readerLives) == 0;
}

void Fail(Channel& channel, const char* why) noexcept
{
    std::uint32_t none = 0;
    if (channel.hasFailed.compare_exchange_strong(none, Failing)) {
        std::snprintf(channel.error, sizeof channel.error, "%s", why);
        channel.hasFailed = Failed;
    }
}

} // namespace Recorder
