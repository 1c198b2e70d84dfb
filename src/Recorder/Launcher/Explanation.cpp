#include "Recorder/Launcher/Explanation.h"

#include <algorithm>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <span>

#include "Recorder/Launcher/ProgramFile.h"
#include "Util/Spelling.h"

namespace Recorder {
namespace {

/// How programs that prefer another way of drawing are made to use OpenGL ES on EGL.
struct Toolkit {
    /// Start of its library's file name.
    const char* library;
    const char* advice;
};
constexpr Toolkit Toolkits[] = {
    {"libgtk-4", "GTK 4: GSK_RENDERER=gl GDK_DEBUG=gl-gles"},
    {"libgtk-3", "GTK 3: GDK_GL=gles"},
    {"libgstgl", "GStreamer: GST_GL_PLATFORM=egl GST_GL_API=gles2"},
    {"libmpv", "mpv: --gpu-api=opengl --opengl-es=yes"},
    {"libSDL2", "SDL 2 on X11: SDL_VIDEO_X11_FORCE_EGL=1"},
    {"libSDL2", "SDL 2, its renderer: SDL_RENDER_DRIVER=opengles2"},
    {"libSDL2", "LOVE, which is built on SDL 2: LOVE_GRAPHICS_USE_OPENGLES=1"},
};

constexpr char OnlyEs[] = "; only OpenGL ES on EGL can be recorded.";
constexpr char WasHidden[] = " asked for desktop OpenGL, which --prefer-es hid, and drew nothing with OpenGL ES";
constexpr char TryPreferEs[] =
    "\n  Most programs that can draw with OpenGL ES do when desktop OpenGL is hidden from them:\n    ";

/// The command line, with --prefer-es.
std::string WithPreferEs(const std::vector<std::string>& invocation)
{
    std::string line = Util::Quoted(invocation.front()) + " --prefer-es";
    for (const std::string& word : std::span(invocation).subspan(1))
        line += " " + Util::Quoted(word);
    return line;
}

/// Of the toolkits that the process has, or of all when it has none of them.
std::string AdviceByToolkit(const ProcessReport& report)
{
    const bool knowsToolkit =
        std::ranges::any_of(Toolkits, [&report](const Toolkit& toolkit) { return report.HasLibrary(toolkit.library); });
    std::string text = "\n  Many programs use OpenGL ES when they are told to, by a variable or an option:";
    for (const Toolkit& toolkit : Toolkits)
        if (!knowsToolkit || report.HasLibrary(toolkit.library))
            text += std::string("\n    ") + toolkit.advice;
    return text;
}

using Test = bool (*)(const ProcessReport&);

/// A way of drawing that is not recorded: how a process shows it, whether it can be hidden from programs, and the
/// sentence, which follows the program's name.
struct OtherWay {
    Test shows;
    bool canBeHidden;
    const char* sentence;
};
constexpr OtherWay OtherWays[] = {
    {[](const ProcessReport& report) { return report.desktopContext; }, true,
     " made contexts of desktop OpenGL through EGL and drew nothing with OpenGL ES"},
    {[](const ProcessReport& report) { return report.glx; }, true, " makes contexts of desktop OpenGL through GLX"},
    {[](const ProcessReport& report) { return report.vulkan; }, false, " uses Vulkan"},
    {[](const ProcessReport& report) { return !report.egl && report.HasLibrary("libGLX"); }, true,
     " is linked to GLX, the EGL of desktop OpenGL on X11, and called no EGL"},
    {[](const ProcessReport& report) { return !report.egl && report.HasLibrary("libvulkan"); }, false,
     " is linked to Vulkan, and called no EGL"},
};

std::string ProgramNames(const std::vector<ProcessReport>& reports)
{
    std::string names;
    std::vector<std::string> known;
    for (const ProcessReport& report : reports) {
        if (std::ranges::find(known, report.program) == known.end()) {
            names += (names.empty() ? "" : ", ") + report.program;
            known.push_back(report.program);
        }
    }
    return names;
}

std::string WhyWithoutOtherWay(const RecordingOptions& options, const ProgramEnd& end,
                               const std::vector<ProcessReport>& reports)
{
    if (options.command.empty() && reports.empty())
        return "no program loaded the recorder and found " + options.folder + ".";
    if (!options.command.empty() && FindReport(reports, end.process) == nullptr) {
        const std::string why = WhyNotLoaded(options.command[0]);
        return why.empty() ? options.command[0] + " did not load the recorder: LD_PRELOAD does nothing in it." : why;
    }
    const auto caller = std::ranges::find_if(reports, &ProcessReport::egl);
    if (caller != reports.end())
        return caller->program + " called EGL, but no OpenGL ES function with a context that it had made current.";
    return "EGL was not called by " + ProgramNames(reports) +
           ", and nothing else loaded the recorder.\n  Programs do not load it when they are linked statically or have"
           " privileges, or are started without the variables of the recording (env -i, sudo, a running service).";
}

/// Signals by which programs crash, rather than being told to end.
bool IsCrash(int signal)
{
    constexpr int Crashes[] = {SIGSEGV, SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGSYS, SIGTRAP};
    return std::ranges::find(Crashes, signal) != std::end(Crashes);
}

std::string SignalName(int signal)
{
    const char* const name = sigabbrev_np(signal);
    return name != nullptr ? std::string("SIG") + name : "signal " + std::to_string(signal);
}

} // namespace

std::string WhyNothingRecorded(const RecordingOptions& options, const ProgramEnd& end,
                               const std::vector<ProcessReport>& reports)
{
    for (const OtherWay& way : OtherWays) {
        const auto report = std::ranges::find_if(reports, way.shows);
        if (report == reports.end())
            continue;
        const bool wasHidden = way.canBeHidden && options.preferEs;
        const bool helps = way.canBeHidden && !options.preferEs;
        return report->program + (wasHidden ? WasHidden : way.sentence) + OnlyEs +
               (helps ? TryPreferEs + WithPreferEs(options.invocation) : AdviceByToolkit(*report));
    }
    return WhyWithoutOtherWay(options, end, reports);
}

std::string HowItDied(const std::string& command, const ProgramEnd& end)
{
    const std::string name = std::filesystem::path(command).filename().string();
    if (end.signal != 0)
        return name + " was killed by " + SignalName(end.signal) + " (" + strsignal(end.signal) + ").";
    if (end.status > 128 && IsCrash(end.status - 128)) {
        return name + " ended with status " + std::to_string(end.status) +
               ", as shells do when what they run is killed by " + SignalName(end.status - 128) + ".";
    }
    return {};
}

} // namespace Recorder
