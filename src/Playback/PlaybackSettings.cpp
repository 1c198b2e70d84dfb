#include "Playback/PlaybackSettings.h"

#include <algorithm>
#include <utility>

#include "Interfaces/Core.h"

namespace Playback {

const std::string RangeSeparator = ":-,";

PlaybackEnvironment* PlaybackEnvironment::m_pInstance = nullptr;

/// What an option can look at when it is applied.
struct PlaybackEnvironment::Given {
    const Util::ParseArgs::CmdLineArgs& args;
    /// The option's own value; empty for a switch.
    const std::string& value;
    /// Start of the screenshot files' names, without a folder.
    const std::string& filePrefix;

    [[nodiscard]] int Number() const { return Util::String::ToInt(value); }
};

namespace {

using Settings = PlaybackEnvironment;
using Given = PlaybackEnvironment::Given;

/// A size implies a window, unless the mode was chosen.
void ImplyWindowed(Settings& settings)
{
    settings.m_windowSizeSet = true;
    if (!settings.m_windowModeSet) {
        settings.m_windowModeSet = true;
        settings.m_fullscreen = false;
    }
}

/// "" every frame, "N*" every N frames, "N" one frame, "A-B" a range of frames, "F:A-B" draws A to B of frame F.
void SelectScreenshots(Settings& settings, const std::string& value)
{
    const auto number = [&value](std::size_t from, std::size_t length = std::string::npos) {
        return Util::String::ToInt(value.substr(from, length));
    };
    const std::size_t colon = value.find(':');
    const std::size_t dash = value.find('-');
    if (value.empty()) {
        settings.m_screenshotInterval = 1;
    } else if (colon != std::string::npos) {
        settings.m_perDrawScreenshotFrame = number(0, colon);
        if (dash != std::string::npos) {
            // The first draw's text is as long as the dash's place in the whole value, so it takes in the dash and more
            // after it, where the conversion stops. A dash before the colon is taken as it stands.
            settings.m_perDrawScreenshotFirstDraw = number(colon + 1, dash);
            settings.m_perDrawScreenshotLastDraw = number(dash + 1);
        }
    } else if (dash != std::string::npos) {
        settings.m_screenshotStartFrame = number(0, dash);
        settings.m_screenshotEndFrame = number(dash + 1);
    } else if (value.find('*') != std::string::npos) {
        settings.m_screenshotInterval = number(0);
    } else {
        settings.m_screenshotStartFrame = settings.m_screenshotEndFrame = number(0);
    }
}

void SelectScreenshotFormat(Settings& settings, const std::string& value)
{
    const std::string format = Util::String::ToLower(value);
    if (format == "dds")
        settings.m_screenshotFormat = static_cast<int>(Util::ImageFormat::Dds);
    else if (format == "bmp")
        settings.m_screenshotFormat = static_cast<int>(Util::ImageFormat::Bmp);
    else if (format == "png")
        settings.m_screenshotFormat = static_cast<int>(Util::ImageFormat::Png);
    else
        Core::Console::Print(Core::LogWarning, false, "Unrecognized -screenshotformat option: %s.", format.c_str());
}

void SelectSwapFbo(Settings& settings, const std::string& value)
{
    const std::vector<std::string> numbers = Util::String::Tokenize(value, ":");
    if (numbers.size() != 1 && numbers.size() != 3) {
        Core::Console::Print(Core::LogWarning, false, "Unrecognized -swapfbo option: %s.", value.c_str());
        return;
    }
    settings.m_swapFbo = Util::String::ToInt(numbers[0]);
    if (numbers.size() == 3) {
        settings.m_swapFboX = Util::String::ToInt(numbers[1]);
        settings.m_swapFboY = Util::String::ToInt(numbers[2]);
    }
}

constexpr const char* Window = "Window and surfaces";
constexpr const char* Frames = "Frames";
constexpr const char* Logging = "Log";
constexpr const char* Calls = "Calls and contents";
constexpr const char* Screenshots = "Screenshots";

// Applied from top to bottom: some options look at what earlier ones have set.
constexpr PlaybackEnvironment::Option OptionTable[] = {
    {"-fullscreen", nullptr, Window, "show the window full screen",
     [](Settings& s, const Given& given) {
         if (given.args.HasSwitch("-windowed"))
             Core::Console::Print(Core::LogWarning, false,
                                  "Both -fullscreen and -windowed options were specified; -windowed will be ignored.");
         s.m_windowModeSet = true;
         s.m_fullscreen = true;
     }},
    {"-windowed", nullptr, Window, "show a window that is not full screen (the default; ignored with -fullscreen)",
     [](Settings& s, const Given& given) {
         if (!given.args.HasSwitch("-fullscreen")) {
             s.m_windowModeSet = true;
             s.m_fullscreen = false;
         }
     }},
    {"-width", "N", Window, "width of the window in pixels (default: as captured)",
     [](Settings& s, const Given& given) {
         s.m_windowWidth = given.Number();
         ImplyWindowed(s);
     }},
    {"-height", "N", Window, "height of the window in pixels (default: as captured)",
     [](Settings& s, const Given& given) {
         s.m_windowHeight = given.Number();
         ImplyWindowed(s);
     }},
    {"-noplayback", nullptr, Frames, "read the capture without replaying its calls",
     [](Settings& s, const Given&) { s.m_playback = false; }},
    {"-stats", nullptr, Frames, "report the features that the capture uses instead of replaying it",
     [](Settings& s, const Given&) { s.m_stats = true; }},
    {"-paused", nullptr, Frames, "pause after frame 1",
     [](Settings& s, const Given&) {
         s.m_pause = true;
         s.m_pauseFrame = 1;
     }},
    {"-pauseframe", "N", Frames, "pause after frame N",
     [](Settings& s, const Given& given) {
         s.m_pause = true;
         s.m_pauseFrame = given.Number();
     }},
    {"-stopframe", "N", Frames, "stop after frame N (default: the last one)",
     [](Settings& s, const Given& given) {
         s.m_stopFrameSet = true;
         s.m_stopFrame = given.Number();
     }},
    {"-loopframe", "N", Frames,
     "after the last frame, go on with frame N (default: 1), with the state that it had in the first pass",
     [](Settings& s, const Given& given) { s.m_loopFrame = given.Number(); }},
    {"-loopcount", "N", Frames,
     "passes through the loop, the first one included (default: endless with -loopframe, otherwise 1)",
     [](Settings& s, const Given& given) { s.m_loopCount = given.Number(); }},
    {"-preloadfile", nullptr, Frames, "read the whole capture before replaying it",
     [](Settings& s, const Given&) { s.m_preloadFile = true; }},
    {"-loglevel", "LEVEL", Logging,
     "most detailed log level: none, error, warning, notice, diagnostic or trace, or 0 to 5 (default: notice)",
     [](Settings&, const Given& given) { Util::ParseCmdArgsLogLevel(given.value); }},
    {"-logdisplaylinenumbers", nullptr, Logging, "begin each log message with the place that reports it",
     [](Settings&, const Given&) { Core::Log::m_displayLineNumberFileName = true; }},
    {"-logflush", nullptr, Logging, "flush the log after each message",
     [](Settings&, const Given&) { Core::Log::SetFlush(true); }},
    {"-logzone", "ZONES", Logging, "log zones that stay on, separated by commas, or all (default: all)",
     [](Settings&, const Given& given) { Util::ParseCmdArgsLogZone(given.value); }},
    {"-logiopipe", "FILE", Logging,
     "file or named pipe that receives the log (default: stderr, which shows a repeated message once)",
     [](Settings&, const Given& given) { Util::ParseCmdArgsLogIOPipe(given.value); }},
    // Takes a value and does not look at it; without one the option has no effect.
    {"-extracttextures", "ANY", Frames, "write the textures of the capture to files; any value will do, such as all",
     [](Settings& s, const Given&) { s.m_extractTextures = true; }},
    {"-thread", "LIST", Frames, "replay only these captured threads, separated by commas (default: all)",
     [](Settings& s, const Given& given) {
         for (const std::string& thread : Util::String::Tokenize(given.value, ","))
             s.m_threads.push_back(Util::String::ToInt(thread));
     }},
    {"-threadFilterStartFrame", "N", Frames, "frame from which -thread applies (default: 1)",
     [](Settings& s, const Given& given) { s.m_threadFilterStartFrame = given.Number(); }},
    {"-singlesurface", nullptr, Window, "replay all window surfaces into one",
     [](Settings& s, const Given&) { s.m_singleSurface = true; }},
    {"-pbuffersurface", nullptr, Window,
     "replay window surfaces into pbuffers, off screen, and read them back at each swap; only the log says so",
     [](Settings& s, const Given&) { s.m_pbufferSurface = true; }},
    {"-skippbufferdisplay", nullptr, Window, "with -pbuffersurface: do not read back",
     [](Settings& s, const Given&) { s.m_skipPbufferDisplay = true; }},
    {"-skipdefaultfbo", nullptr, Calls, "do not restore the captured contents of the default framebuffer",
     [](Settings& s, const Given&) { s.m_defaultFbo = false; }},
    {"-forceflush", nullptr, Calls, "flush at the end of each frame",
     [](Settings& s, const Given&) { s.m_forceFlush = true; }},
    {"-syncstate", nullptr, Calls, "wait until restored contents have reached the driver",
     [](Settings& s, const Given&) { s.m_syncState = true; }},
    {"-skiperrorcheck", nullptr, Calls, "do not check for errors after each call",
     [](Settings& s, const Given&) { s.m_skipErrorCheck = true; }},
    {"-config", "CONFIG", Window,
     "EGL config to use for everything, such as R8G8B8A8D24S8, or C32D24 for 32 bits of colour and 24 of depth",
     [](Settings& s, const Given& given) { s.m_config = given.value; }},
    {"-samples", "N", Window, "samples of the config that -config asks for (default: 1)",
     [](Settings& s, const Given& given) { s.m_samples = given.Number(); }},
    {"-skipapi", "LIST", Calls, "leave these functions out, separated by commas; patterns such as glDraw* are allowed",
     [](Settings& s, const Given& given) {
         s.AddSkipApiIds(given.value, s.m_skipStateApiIds);
         s.AddSkipApiIds(given.value, s.m_skipFrameApiIds);
     }},
    {"-skipstateapi", "LIST", Calls, "like -skipapi, in state-setup blocks only",
     [](Settings& s, const Given& given) { s.AddSkipApiIds(given.value, s.m_skipStateApiIds); }},
    {"-skipframeapi", "LIST", Calls, "like -skipapi, in frames only",
     [](Settings& s, const Given& given) { s.AddSkipApiIds(given.value, s.m_skipFrameApiIds); }},
    {"-dumpdefaultfbo", nullptr, Calls, "write the captured contents of the default framebuffer to files",
     [](Settings& s, const Given&) { s.m_dumpDefaultFbo = true; }},
    {"-screenshots", "WHICH", Screenshots,
     "frame N, frames A-B or A- to the end, N* for every Nth frame, several of these separated by commas, or \"\" for "
     "all frames; or draws of frame F: F:A-B, F:A- or F: for all",
     [](Settings& s, const Given& given) {
         s.m_screenshotPath = given.filePrefix;
         SelectScreenshots(s, given.value);
     }},
    {"-screenshotopaque", nullptr, Screenshots, "write screenshots without transparency",
     [](Settings& s, const Given&) { s.m_screenshotOpaque = true; }},
    {"-screenshotdir", "DIR", Screenshots,
     "folder for screenshots and textures, created if missing (default: the current one)",
     [](Settings& s, const Given& given) {
         if (!Util::Path::Exists(given.value))
             Util::Path::CreateFolder(given.value);
         s.m_screenshotPath = given.value + "/" + given.filePrefix;
     }},
    {"-screenshotformat", "FORMAT", Screenshots, "bmp, png or dds (default: bmp)",
     [](Settings& s, const Given& given) { SelectScreenshotFormat(s, given.value); }},
    {"-perdrawscreenshotsfilter", "KIND", Screenshots,
     "what to write after each draw: rtv (colours), dsv (depth and stencil), uav (nothing) or all (default: all)",
     [](Settings& s, const Given& given) {
         s.m_perDrawScreenshotFilter = s.GetResourceType(Util::String::ToLower(given.value));
     }},
    {"-swapfbo", "N[:X:Y]", Window,
     "captured framebuffer to show at each swap, with its corner at X, Y (default: 0, 0)",
     [](Settings& s, const Given& given) { SelectSwapFbo(s, given.value); }},
};

} // namespace

std::span<const PlaybackEnvironment::Option> PlaybackEnvironment::Options()
{
    return OptionTable;
}

PlaybackEnvironment* PlaybackEnvironment::Create()
{
    m_pInstance = new PlaybackEnvironment;
    m_pInstance->InitDefaultSettings();
    return m_pInstance;
}

void PlaybackEnvironment::InitDefaultSettings()
{
    PlaybackEnvironment defaults;
    defaults.m_threads = std::move(m_threads);
    defaults.m_config = std::move(m_config);
    defaults.m_skipStateApiIds = std::move(m_skipStateApiIds);
    defaults.m_skipFrameApiIds = std::move(m_skipFrameApiIds);
    defaults.m_screenshotPath = std::move(m_screenshotPath);
    *this = std::move(defaults);
}

bool PlaybackEnvironment::IsScreenshotFrame(std::uint32_t frame) const
{
    const auto number = static_cast<std::int32_t>(frame);
    if (m_screenshotInterval != 0 && number % m_screenshotInterval == 0)
        return true;
    return number >= m_screenshotStartFrame && number <= m_screenshotEndFrame;
}

void PlaybackEnvironment::LoadSettings(Util::ParseArgs::CmdLineArgs args, const std::string& captureFile)
{
    static const std::string noValue;
    const std::string filePrefix = GetFilePrefix(captureFile, 0);
    for (const Option& option : OptionTable) {
        if (option.value) {
            if (const std::string* value = args.FindValue(option.name))
                option.apply(*this, {args, *value, filePrefix});
        } else if (args.HasSwitch(option.name)) {
            option.apply(*this, {args, noValue, filePrefix});
        }
    }
}

int PlaybackEnvironment::GetResourceType(const std::string& name)
{
    if (name == "rtv")
        return RenderTargets;
    if (name == "dsv")
        return DepthStencils;
    if (name == "uav")
        return UnorderedAccess;
    if (name != "all")
        Core::Console::Print(Core::LogWarning, false, "Unrecognized option: %s. Defaulting to all", name.c_str());
    return AllResources;
}

std::string PlaybackEnvironment::GetFilePrefix(const std::string& path, unsigned int maxLength)
{
    std::string prefix = Util::Path::GetFilePart(path);
    if (maxLength != 0 && prefix.size() > maxLength)
        prefix.resize(maxLength - 1);
    return prefix + "_";
}

void PlaybackEnvironment::AddSkipApiIds(const std::string& list, std::unordered_set<unsigned int>& ids)
{
    // Not Tokenize: the pieces are looked up exactly as they stand between two commas.
    std::size_t begin = 0;
    while (begin <= list.size()) {
        const std::size_t end = std::min(list.find(',', begin), list.size());
        if (const unsigned int id = Core::KHRLayer::GetEglGlFuncId(list.substr(begin, end - begin)))
            ids.insert(id);
        begin = end + 1;
    }
}

} // namespace Playback
