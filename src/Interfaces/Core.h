// What the engine calls of the runtime: the log, the console, enum names and the live function tables.
#pragma once

#include <cstdint>
#include <string>
#include <type_traits>
#include <unordered_set>

#include "Interfaces/ProcTables.h"

namespace Core {

/// Levels of the messages that the system prints.
enum LogLevel : int {
    LogError = 1,
    LogWarning = 2,
    LogNotice = 3,
    LogDiagnostic = 4,
    LogTrace = 5,
};

/// Zones a message can belong to; a zone can be switched off by itself.
enum LogZone : int {
    ZoneGeneral = 4,
    ZoneCallTrace = 20,
};

/// The process-wide log. Any thread may print; settings and counts are the replay thread's.
class Log {
public:
    /// Prints one message line when its level and zone are switched on. `file` is the reporting source without its
    /// extension and `line` the reporting line; both appear only with m_displayLineNumberFileName. Nothing is formatted
    /// and nothing printed when `print` is false. On stderr an error, warning or notice that comes several times
    /// in a row is printed once, and counted when something else follows.
    static void Print(int level, int zone, int line, const char* file, bool print, const char* format, ...)
        __attribute__((format(printf, 6, 7)));

    /// True when a message of this level and zone would appear; for callers that would build one at a cost.
    static bool IsEnabled(int level, int zone)
    {
        return level <= m_level && (m_zones & (std::uint64_t{1} << (zone & 63))) != 0;
    }

    /// Messages of level LogError so far, printed or not.
    static std::uint64_t ErrorCount() { return m_errorCount; }
    /// Flushes the output after each message from now on, so that nothing is lost in a crash.
    static void SetFlush(bool flush);
    /// Highest level that is printed; 0 prints nothing. The start value is 3, LogNotice.
    static void SetLevel(int level);
    /// Bit z switches zone z on. All are on at start.
    static void SetZones(std::uint64_t zones);
    /// Sends messages to this file or named pipe instead of stderr; false when it cannot be opened for writing.
    static bool SetOutput(const std::string& path);

    static bool m_displayLineNumberFileName;

private:
    static int m_level;
    static std::uint64_t m_zones;
    static std::uint64_t m_errorCount;
};

/// Prints a message of a level and a zone, by their names without prefix, as the source `file` without its extension.
#define PLAYBACK_LOG(level, zone, file, ...)                                                                           \
    ::Core::Log::Print(::Core::Log##level, ::Core::Zone##zone, __LINE__, file, true, __VA_ARGS__)

/// Messages to the person at the terminal, as opposed to the log: always on stderr, whatever the log's level.
class Console {
public:
    /// `level` counts as in LogLevel; `zone` says whether a log zone is printed with the message and is always false
    /// or 1 for plain text.
    static void Print(int level, bool zone, const char* format, ...) __attribute__((format(printf, 3, 4)));
    /// One line that stays below all messages, such as how far replay is; empty for none. Only where stderr is a
    /// terminal.
    static void SetStatus(const std::string& text);
};

/// Names of enum values, for messages.
class LogFormat {
public:
    /// The name from the Khronos headers, such as "GL_INVALID_ENUM"; empty when no header has the value.
    static std::string GetGLEnumString(unsigned int value);
    /// As GetGLEnumString, for EGL.
    static std::string GetEGLEnumString(unsigned int value);
    /// As the two above, and a value without a name in hexadecimal.
    static std::string NameOrHex(std::string (*getEnumString)(unsigned int), unsigned int value);
};

/// Opens the live driver and owns the tables through which every live call goes. Each kind of table exists twice: the
/// live one, as the driver was found, and the playback one, from which functions can be removed for a while.
/// A null entry means that the driver lacks the function. Replay thread only.
class KHRLayer {
public:
    /// Folder with libEGL.so.1 and libGLESv2.so.2 to use instead of the system's. Call before LoadEGL.
    static void SetDriverDirectory(const std::string& directory);
    /// What could not be opened, and why; empty when loading went well.
    static const std::string& LoadError();

    /// Opens libEGL and fills both EGL tables and their playback copies. Does nothing when they are filled.
    static void LoadEGL();
    static void FreeEGL();
    /// Opens libGLESv2 and fills the core table. Without a current context the version is not known yet, so every
    /// function of the library is taken; LoadGLESExt drops those that the context's version does not have.
    static void LoadGLESCore();
    /// Needs a current context: reads its version and extension strings, drops the core functions that it lacks and
    /// fills the extension table. One set of tables serves all contexts: a later call, with another context, adds what
    /// that one has and takes nothing away. OpenGL ES 1 has a set of its own, which a call with such a context puts in
    /// the place of the other, and one with another context the other again.
    static void LoadGLESExt();
    /// True when LoadGLESExt has been called, and the current context has no higher version than those it saw last, of
    /// the same API.
    static bool IsGLESExtLoaded();
    static void FreeGLES();

    static const EGLProcTable& EGLProc();
    static const EGLExtProcTable& EGLExtProc();
    static const GLESProcTable& GLESProc();
    static const GLESExtProcTable& GLESExtProc();

    static EGLProcTable playbackEGLProcTable;
    static EGLExtProcTable playbackEGLExtProcTable;
    static GLESProcTable playbackGLESProcTable;
    static GLESExtProcTable playbackGLESExtProcTable;

    /// Puts `function` in the place of the driver's in both EGL tables, for a host that must come between replay and
    /// driver: Replace(&EGLProcTable::eglChooseConfig, function). LoadEGL must have run.
    template <class Function>
    static void Replace(Function EGLProcTable::*entry, std::type_identity_t<Function> function)
    {
        LiveEGL().*entry = function;
        playbackEGLProcTable.*entry = function;
    }

    /// `adapt` is called with the driver's GL tables now and each time they are filled, in their place in front of the
    /// playback tables, for a host that must come between replay and driver there.
    using AdaptGLES = void (*)(GLESProcTable& core, GLESExtProcTable& ext);
    static void AdaptGLESTables(AdaptGLES adapt);

    /// Identifier of an EGL or GL function by its name, 0 when the tables have no such function. A name that is another
    /// form of a function in the tables (glMapBufferRangeEXT) gives that function's.
    static unsigned int GetEglGlFuncId(const std::string& name);
    /// The driver has the function, by any of its names.
    static bool HasFunction(unsigned int id);
    /// Remembers the functions that are being skipped, so that functions loaded later are skipped as well.
    static void SetSkipApis(const std::unordered_set<unsigned int>& ids);
    /// Each removes the function from its playback table, or does nothing when the identifier is another table's.
    static void ClearEGLApi(unsigned int id);
    static void ClearEGLExtApi(unsigned int id);
    static void ClearGLESApi(unsigned int id);
    static void ClearGLESExpApi(unsigned int id);

private:
    static EGLProcTable& LiveEGL();
};

} // namespace Core
