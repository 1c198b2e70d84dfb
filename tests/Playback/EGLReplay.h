#pragma once

#include <deque>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "FakeDriver/FakeDriver.h"
#include "Playback/Calls/EGLPlaybackAdapter.h"
#include "Playback/PlaybackSettings.h"
#include "Playback/Surfaces/EGLPassThruSurfaceFactory.h"
#include "Playback/Windows/SingleWindowManager.h"
#include "Playback/Windows/WaylandWindow.h"
#include "support/LogCapture.h"

namespace Playback {

/// A window that is not there; tests expect what they need of it.
class StubWindow : public WaylandWindow {
public:
    StubWindow() : WaylandWindow("", &display, nullptr) {}
    MOCK_METHOD(void, EnqueueResizeRequest, (unsigned int width, unsigned int height), (override));
    MOCK_METHOD(void, ProcessResizeRequest, (bool force), (override));
    MOCK_METHOD(void, SetSubTitle, (const std::string& subTitle), (override));
    unsigned int GetNativeHandle(NativeHandle kind, void** out) override
    {
        *out = reinterpret_cast<void*>(kind == NativeHandle::EGLDisplay ? Display : Window);
        return 0;
    }

    static constexpr std::uintptr_t Display = 0x51;
    static constexpr std::uintptr_t Window = 0x52;

private:
    static inline WindowState state;
    static inline Playback::Display display{.windowState = &state};
};

/// A capture's EGL calls replayed on the fake driver. Captured display 1 is the driver's 11; the driver's configs are
/// numbered from FirstConfig on, and what it creates is numbered in the order of creation.
class EGLReplay : public FakeDriverTest {
protected:
    EGLReplay()
    {
        settings.InitDefaultSettings();
        settings.m_config.clear();
        settings.m_screenshotPath.clear();
        Replay(&factory);
    }
    ~EGLReplay() override
    {
        adapter.reset();
        settings.InitDefaultSettings();
        settings.m_config.clear();
        settings.m_screenshotPath.clear();
    }

    /// Starts again with another factory or window manager.
    void Replay(EGLProxySurfaceFactory* surfaceFactory) { Replay(surfaceFactory, &windows); }
    void Replay(EGLProxySurfaceFactory* surfaceFactory, WindowManager* windowManager)
    {
        adapter.reset();
        driver.Load();
        adapter.emplace(&table, windowManager, surfaceFactory);
        driver.ClearLog();
    }

    /// Display 1, initialised, so that what follows can be looked at alone.
    void Initialize()
    {
        adapter->Process_eglGetDisplay(1, 70);
        adapter->Process_eglInitialize(1, 1, Null(), Null());
        Forget();
    }
    /// Captured config `config` is the live one of this number, with no recorded attributes.
    void HaveConfig(unsigned int config, std::uint64_t live) { table.AddIdEGLConfig(config, Handle(live)); }
    void MakeContext(unsigned int context) { adapter->Process_eglCreateContext(context, 1, 5, 0, Null()); }
    void MakeWindowSurface(unsigned int surface) { adapter->Process_eglCreateWindowSurface(surface, 1, 5, 80, Null()); }

    /// What the EGL driver was asked since the last call.
    std::vector<std::string> Calls()
    {
        auto calls = driver.Log();
        std::erase_if(calls, [](const std::string& call) { return call.starts_with("gl"); });
        Forget();
        return calls;
    }
    void Forget() { driver.ClearLog(); }

    static void* Handle(std::uint64_t number) { return reinterpret_cast<void*>(number); }

    // Pointer arguments; they live as long as the test.

    Data::PointerData* Null()
    {
        m_arguments.emplace_back().SetValue(0);
        return &m_arguments.back();
    }
    Data::PointerData* In(const std::vector<int>& values) { return Fill(m_ints.emplace_back(values)); }
    Data::PointerData* In64(const std::vector<std::int64_t>& values) { return Fill(m_longs.emplace_back(values)); }
    /// Room for output of which the capture has no contents.
    Data::PointerData* Out(std::uint32_t count, std::uint32_t elementBytes)
    {
        m_arguments.emplace_back().SetOwned(count, elementBytes, 0x1000);
        return &m_arguments.back();
    }

    static constexpr std::uint64_t FirstConfig = 1;

    PlaybackEnvironment& settings = *PlaybackEnvironment::Instance();
    LogCapture log;
    testing::NiceMock<StubWindow> window;
    SingleWindowManager windows{&window};
    GLResourceTable table;
    EGLPassThruSurfaceFactory factory;
    std::optional<EGLPlaybackAdapter> adapter;

private:
    template <class T> Data::PointerData* Fill(std::vector<T>& values)
    {
        m_arguments.emplace_back().SetContents(values.data(), static_cast<std::uint32_t>(values.size()), sizeof(T),
                                               0x1000);
        return &m_arguments.back();
    }

    std::deque<Data::PointerData> m_arguments;
    std::deque<std::vector<int>> m_ints;
    std::deque<std::vector<std::int64_t>> m_longs;
};

} // namespace Playback
