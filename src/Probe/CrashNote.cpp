#include "Probe/CrashNote.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstring>

#include <unistd.h>

namespace Probe::CrashNote {

namespace {

// Read by a signal handler, which may run at any time.
volatile std::uint32_t g_frame = 0;
volatile std::uint32_t g_call = 0;
const char* volatile g_function = "";

/// Allowed in signal handlers, unlike printf.
char* Append(char* end, std::uint32_t number)
{
    char digits[10];
    int count = 0;
    do
        digits[count++] = static_cast<char>('0' + number % 10);
    while ((number /= 10) != 0);
    while (count > 0)
        *end++ = digits[--count];
    return end;
}

void Print(int signal)
{
    char text[160] = "crashed in call ";
    char* end = Append(text + std::strlen(text), g_frame);
    *end++ = ':';
    end = Append(end, g_call);
    *end++ = ' ';
    constexpr std::size_t LongestName = 80;
    const std::size_t length = std::min(std::strlen(g_function), LongestName);
    std::memcpy(end, g_function, length);
    end[length] = '\n';
    // A handler can do nothing about an output that is gone.
    [[maybe_unused]] const ssize_t written =
        write(STDERR_FILENO, text, static_cast<std::size_t>(end + length + 1 - text));
    // The handler was for one time.
    raise(signal);
}

} // namespace

void Install()
{
    for (const int signal : {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT}) {
        struct sigaction action = {};
        action.sa_handler = Print;
        action.sa_flags = static_cast<int>(SA_RESETHAND);
        sigaction(signal, &action, nullptr);
    }
}

void Set(std::uint32_t frame, std::uint32_t call, const char* function)
{
    g_frame = frame;
    g_call = call;
    g_function = function;
}

} // namespace Probe::CrashNote
