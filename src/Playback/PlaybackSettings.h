#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <unordered_set>
#include <vector>

#include "Interfaces/Util.h"

namespace Playback {

/// The characters that separate the numbers of a range in an option's value.
extern const std::string RangeSeparator;

/// The settings of this process, filled once from the command line and only read afterwards. Call Instance and
/// LoadSettings on one thread before anything else reads them.
class PlaybackEnvironment {
public:
    /// What GetResourceType returns.
    enum ResourceType : int { AllResources = 0, RenderTargets = 1, DepthStencils = 2, UnorderedAccess = 3 };

    struct Given;
    /// One option of the command line, with its leading hyphen.
    struct Option {
        const char* name;
        /// What stands for the value in a usage text; null for a switch, which takes none.
        const char* value;
        /// Heading of a usage text's section.
        const char* group;
        const char* help;
        void (*apply)(PlaybackEnvironment& settings, const Given& given);
    };

    /// Made at the first call and never freed.
    static PlaybackEnvironment* Instance() { return m_pInstance ? m_pInstance : Create(); }
    /// Every option that LoadSettings understands, in the order in which it looks for them.
    static std::span<const Option> Options();

    /// Back to the defaults below; the lists, sets and strings stay as they are.
    void InitDefaultSettings();
    /// Overlays the options that were given; options that are not known here are left to the host. A value that cannot
    /// be understood is reported on the console and changes nothing. `captureFile` names the screenshots.
    void LoadSettings(Util::ParseArgs::CmdLineArgs args, const std::string& captureFile);

    /// "rtv", "dsv", "uav" or "all"; anything else is reported on the console and counts as "all".
    int GetResourceType(const std::string& name);
    /// The file part of `path` and "_". A part of more than `maxLength` characters is cut so that both together have
    /// that length; 0 cuts nothing.
    std::string GetFilePrefix(const std::string& path, unsigned int maxLength);
    /// The settings ask for a screenshot of this frame, counted from 1.
    [[nodiscard]] bool IsScreenshotFrame(std::uint32_t frame) const;
    /// Inserts the identifiers of a comma-separated list of EGL and GL functions; unknown names are dropped.
    void AddSkipApiIds(const std::string& list, std::unordered_set<unsigned int>& ids);

    /// The window mode was chosen, if only by giving a size.
    bool m_windowModeSet = false;
    bool m_fullscreen = false;
    bool m_windowSizeSet = false;
    /// 0: not given.
    std::int32_t m_windowWidth = 0;
    std::int32_t m_windowHeight = 0;
    /// False: the capture is read without replaying its calls.
    bool m_playback = true;
    bool m_stats = false;
    /// Pause at m_pauseFrame.
    bool m_pause = false;
    std::int32_t m_pauseFrame = 1;
    bool m_stopFrameSet = false;
    std::int32_t m_stopFrame = 1;
    std::int32_t m_loopFrame = 0;
    std::int32_t m_loopCount = 0;
    bool m_preloadFile = false;
    /// Captured threads to replay; empty for all.
    std::vector<std::int32_t> m_threads;
    std::int32_t m_threadFilterStartFrame = 0;
    bool m_extractTextures = false;
    bool m_singleSurface = false;
    bool m_pbufferSurface = false;
    bool m_skipPbufferDisplay = false;
    /// Restore the captured contents of the default framebuffer.
    bool m_defaultFbo = true;
    bool m_forceFlush = false;
    std::int32_t m_swapFbo = 0;
    std::int32_t m_swapFboX = 0;
    std::int32_t m_swapFboY = 0;
    /// Wait for restored contents before going on.
    bool m_syncState = false;
    bool m_skipErrorCheck = false;
    /// Empty: the captured configs are matched.
    std::string m_config;
    std::int32_t m_samples = 1;
    /// Functions that are left out in state-setup blocks and in frame blocks, by Core::KHRLayer::GetEglGlFuncId.
    std::unordered_set<unsigned int> m_skipStateApiIds;
    std::unordered_set<unsigned int> m_skipFrameApiIds;
    bool m_dumpDefaultFbo = false;
    /// Frame numbers count from 1. Every so many frames; 0: no interval.
    std::int32_t m_screenshotInterval = 0;
    std::int32_t m_screenshotStartFrame = 0;
    std::int32_t m_screenshotEndFrame = 0;
    std::int32_t m_perDrawScreenshotFrame = 0;
    /// 0: no bound.
    std::int32_t m_perDrawScreenshotFirstDraw = 0;
    std::int32_t m_perDrawScreenshotLastDraw = 0;
    /// A Util::ImageFormat.
    std::int32_t m_screenshotFormat = 1;
    /// A ResourceType.
    std::int32_t m_perDrawScreenshotFilter = AllResources;
    bool m_screenshotOpaque = false;
    /// Start of every screenshot's file name.
    std::string m_screenshotPath;

private:
    static PlaybackEnvironment* Create();

    static PlaybackEnvironment* m_pInstance;
};

} // namespace Playback
