#include "Interfaces/Core.h"

#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <string>

#include <unistd.h>

#include "Core/LogOutput.h"

namespace Core {

bool Log::m_displayLineNumberFileName = false;
int Log::m_level = LogNotice;
std::uint64_t Log::m_zones = ~std::uint64_t{0};
std::uint64_t Log::m_errorCount = 0;

namespace {

bool g_flushAlways = false;

// The outputs are never destroyed, so that messages of other static objects' destructors find them.

LogOutput& Output()
{
    static LogOutput* const output = new LogOutput;
    return *output;
}

LogOutput& Terminal()
{
    static LogOutput* const terminal = new LogOutput;
    return *terminal;
}

/// Another thread may have a last word while the replay thread is at work.
std::mutex& OutputMutex()
{
    static std::mutex* const mutex = new std::mutex;
    return *mutex;
}

/// Messages since the last flush reach the output when the program ends.
const struct FlushAtExit {
    ~FlushAtExit()
    {
        Output().EndRepetitions();
        Output().Flush();
    }
} g_flushAtExit;

const char* Prefix(int level)
{
    switch (level) {
    case LogError:
        return "error: ";
    case LogWarning:
        return "warning: ";
    default:
        return "";
    }
}

void AppendFormatted(std::string& text, const char* format, va_list arguments)
{
    char chars[512];
    va_list copy;
    va_copy(copy, arguments);
    const int length = std::vsnprintf(chars, sizeof chars, format, copy);
    va_end(copy);
    if (length < 0) {
        text += format; // a wide string that the locale cannot show; the bare format still tells what happened
    } else if (static_cast<std::size_t>(length) < sizeof chars) {
        text.append(chars, static_cast<std::size_t>(length));
    } else {
        const std::size_t begin = text.size();
        text.resize(begin + static_cast<std::size_t>(length));
        // The terminating zero falls on the one std::string keeps after its characters.
        std::vsnprintf(text.data() + begin, static_cast<std::size_t>(length) + 1, format, arguments);
    }
}

} // namespace

void Log::Print(int level, int zone, int line, const char* file, bool print, const char* format, ...)
{
    if (print && level == LogError)
        ++m_errorCount;
    if (!print || !IsEnabled(level, zone))
        return;

    std::string text;
    if (m_displayLineNumberFileName)
        text = std::string(file ? file : "?") + "(" + std::to_string(line) + "): ";
    text += Prefix(level);
    va_list arguments;
    va_start(arguments, format);
    AppendFormatted(text, format, arguments);
    va_end(arguments);

    // What a person may be waiting for is shown at once, but does not bury everything else when it comes with each
    // frame; the many messages of the levels below are collected.
    const bool isForPeople = level <= LogNotice;
    const std::lock_guard lock(OutputMutex());
    if (isForPeople)
        Output().WriteOnce(text);
    else
        Output().WriteLine(text);
    if (g_flushAlways || isForPeople)
        Output().Flush();
}

void Log::SetFlush(bool flush)
{
    g_flushAlways = flush;
    if (flush)
        Output().Flush();
}

void Log::SetLevel(int level)
{
    m_level = level;
}

void Log::SetZones(std::uint64_t zones)
{
    m_zones = zones;
}

bool Log::SetOutput(const std::string& path)
{
    const std::string error = Output().Open(path);
    if (!error.empty())
        Console::Print(LogError, false, "Cannot write the log to %s: %s", path.c_str(), error.c_str());
    return error.empty();
}

void Console::Print(int, bool, const char* format, ...)
{
    std::string text;
    va_list arguments;
    va_start(arguments, format);
    AppendFormatted(text, format, arguments);
    va_end(arguments);
    const std::lock_guard lock(OutputMutex());
    Output().EndRepetitions();
    Output().Flush(); // keeps the order of messages when both go to the terminal
    Terminal().WriteLine(text);
    Terminal().Flush();
}

void Console::SetStatus(const std::string& text)
{
    const std::lock_guard lock(OutputMutex());
    Output().Flush();
    LogOutput::SetStatus(text);
}

} // namespace Core
