#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <EGL/egl.h>

#include "Interfaces/Core.h"
#include "Interfaces/EGLAdapter.h"
#include "Interfaces/Util.h"
#include "Playback/Names/GLResourceTable.h"

namespace Playback {

class EGLProxySurfaceFactory;
class PlaybackEnvironment;
class Window;
class WindowManager;

/// Replays captured EGL calls on the live driver.
///
/// Each handler traces the call, skips it when the driver lacks the function, translates captured handles (the display
/// first, since it selects the maps for all others), calls, checks the error state and tells the resource table what
/// the call made or destroyed. Surfaces are proxies that a factory makes, native displays and windows come from the
/// window manager, and each swap takes the frame's screenshot when the settings ask for it.
///
/// Handlers that follow from the description of a call are generated; the others are in EGLPlaybackAdapter.cpp
/// (displays, threads), EGLPlaybackContexts.cpp, EGLPlaybackSurfaces.cpp (with swaps), EGLConfigSelection.cpp and
/// EGLPlaybackImages.cpp (with syncs). Replay thread only.
class EGLPlaybackAdapter : public Data::EGLAdapter {
public:
    /// Loads the EGL function tables. Nothing is owned and all arguments outlive the adapter. Without a window manager
    /// native displays and windows are null; without a factory no surface or context is made.
    EGLPlaybackAdapter(GLResourceTable* table, WindowManager* windowManager, EGLProxySurfaceFactory* surfaceFactory);
    /// Releases every live object, terminates the display and frees the EGL function tables.
    ~EGLPlaybackAdapter() override;
    EGLPlaybackAdapter(const EGLPlaybackAdapter&) = delete;
    EGLPlaybackAdapter& operator=(const EGLPlaybackAdapter&) = delete;

    /// Attaches what takes the screenshots; null for none. Not owned. The adapter advances its frame counter.
    void SetScreenshotHandler(Util::GLScreenshotHandler* handler) { m_screenshotHandler = handler; }

    /// Binds the thread's API and makes its context current.
    void SetCurrentThread(std::uint32_t threadId) override;

#include "Playback/EGLPlaybackDeclarations.inc"

    // The steps behind the handlers. Displays, configs and contexts are live handles unless they are called captured.

    /// The live display of a captured one. One that the capture never got is got and initialised here.
    EGLDisplay GetDisplay(std::uint32_t capturedDisplay);
    /// The native display behind a captured one: that of the active window unless it was recorded before.
    void* GetNativeDisplay(std::uint32_t capturedNative);
    /// Platform displays are replayed as the display of the window that replay shows.
    EGLDisplay GetPlatformDisplay(std::uint32_t platform, std::uint32_t capturedNative, const EGLAttrib* attribs);
    /// The native window for a captured surface, titled with its name.
    void* GetNativeWindow(std::uint32_t capturedWindow, std::uint32_t capturedSurface);

    /// The live config for a captured one: the override that the settings ask for, else one with the attributes that
    /// the capture recorded. Null, with a message, when there is none.
    EGLConfig GetConfig(std::uint32_t capturedDisplay, std::uint32_t capturedConfig);
    EGLConfig NoConfig(std::uint32_t capturedDisplay);
    /// Appends those of `keys` that the capture recorded for the config, with their values, and EGL_NONE.
    void BuildAttribList(std::uint32_t capturedConfig, std::vector<int>* out, const int* keys, std::size_t count) const;
    /// True when the config has exactly the listed values; false for an empty list.
    static bool MatchConfig(EGLDisplay display, EGLConfig config, const EGLint* attribs);
    /// Of the configs that the driver offers for the list, the first that has exactly the listed values, else the
    /// first.
    static EGLConfig ChooseConfig(EGLDisplay display, const EGLint* attribs);
    /// A config for the text of the -config option, such as "R8G8B8A8D24S8" or "x32x24". Throws std::out_of_range for
    /// one without an "R" and of fewer than four characters.
    static EGLConfig CreateOverrideConfig(EGLDisplay display, const std::string& spec, int samples);

    /// Every context is made as one of OpenGL ES 2 at least.
    EGLContext CreateContext(EGLDisplay display, EGLConfig config, EGLContext shareContext, const EGLint* attribs);
    /// Resizes the window of the draw surface. Returns whether another context than before becomes current.
    bool PreMakeCurrent(std::uint32_t capturedContext, std::uint32_t capturedDraw);
    void PostMakeCurrent(std::uint32_t capturedDisplay, std::uint32_t capturedDraw, std::uint32_t capturedRead,
                         std::uint32_t capturedContext);
    /// Takes the screenshot that is due. Returns whether the context changed since the last swap or make-current.
    bool PreSwap(std::uint32_t capturedSurface);
    /// A frame ends, by a swap or otherwise: takes the screenshot that is due, of the live framebuffer; null: there is
    /// none to take it of.
    void EndFrame(std::optional<unsigned int> framebuffer);

    /// The client buffer for an image: the stand-in for a native buffer, or the live texture.
    EGLClientBuffer GetEGLImageBuffer(EGLenum target, std::uint32_t capturedImage, std::uint32_t capturedContext,
                                      std::uint32_t capturedBuffer);
    /// File descriptors of captured fences are replaced by none.
    EGLSyncKHR CreateSyncKHR(EGLDisplay display, EGLenum type, const EGLint* attribs);
    /// The callbacks are functions of the captured program: they are ignored, with a message.
    void SetBlobCacheFuncs(EGLDisplay display, const Data::PointerData* set, const Data::PointerData* get);

    /// Reports the pending error against the call just replayed, unless error checks are off.
    void CheckErrorState(std::string_view functionName);
    /// How often each error was reported so far.
    [[nodiscard]] const std::map<unsigned int, std::uint64_t>& ErrorCounts() const
    {
        return m_errorCounts;
    }

private:
    static void Trace(const char* name, int line)
    {
        if (Core::Log::IsEnabled(Core::LogTrace, Core::ZoneCallTrace))
            Core::Log::Print(Core::LogTrace, Core::ZoneCallTrace, line, SourceFile, true, "%s", name);
    }

    /// Makes it the display in use.
    void UseDisplay(EGLDisplay display);
    /// Null without a window manager.
    Window* ActiveWindow() const;
    /// The window of a surface if the capture made it as a window surface; else null.
    Window* WindowOf(std::uint32_t capturedSurface, const EGLProxySurface* proxy) const;
    /// Native display of the active window; null without one.
    void* ActiveNativeDisplay() const;
    /// What handlers that make a surface have in common; `make` calls the factory with display and config. A surface
    /// that the capture did not get is destroyed again.
    template <class Make>
    void CreateSurface(const char* name, bool available, std::uint32_t captured, std::uint32_t dpy,
                       std::uint32_t config, Make make);
    /// What handlers that list configs have in common: pairs the captured configs with those that `query`, which is
    /// given the live array, its room and the place for the count, writes over them.
    template <class Query>
    void ListConfigs(const char* name, Data::PointerData* configs, std::int32_t capacity, Data::PointerData* count,
                     Query query);
    /// By one of the three functions for it. A native fence never takes over a descriptor of the recorded program's,
    /// which may be anything here; drivers without such fences get plain ones.
    template <class Function, class Attrib>
    static EGLSyncKHR CreateFence(Function function, EGLDisplay display, EGLenum type, const Attrib* attribs);
    bool IsDepthScreenshotDue(std::uint32_t frame) const;
    void TakeFrameScreenshot(std::uint32_t frame, unsigned int framebuffer);

    static constexpr const char* SourceFile = "src/Playback/EGLPlaybackAdapter";

    GLResourceTable* m_resourceTable;
    WindowManager* m_windowManager;
    EGLProxySurfaceFactory* m_surfaceFactory;
    const PlaybackEnvironment* m_settings;
    Util::GLScreenshotHandler* m_screenshotHandler = nullptr;
    std::map<unsigned int, std::uint64_t> m_errorCounts;
    /// The display in use; null before the first.
    EGLDisplay m_display = EGL_NO_DISPLAY;
    /// What the -config option chose on m_display; null before it was looked for.
    EGLConfig m_overrideConfig = nullptr;
    bool m_initialized = false;
    /// Captured context that was current at the last make-current or swap.
    std::uint32_t m_lastContext = 0;
};

} // namespace Playback
