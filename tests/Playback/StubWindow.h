#pragma once

#include <gmock/gmock.h>

#include "Playback/Window.h"

namespace Playback {

/// A window that is not there; tests expect what they need of it.
class StubWindow : public Window {
public:
    MOCK_METHOD(bool, IsValid, (), (const, override));
    MOCK_METHOD(bool, CanShow, (), (const, override));
    MOCK_METHOD(bool, CanHide, (), (const, override));
    MOCK_METHOD(bool, CanRaise, (), (const, override));
    MOCK_METHOD(bool, CanMove, (), (const, override));
    MOCK_METHOD(bool, CanResize, (), (const, override));
    MOCK_METHOD(bool, CanEnqueueResizeRequest, (), (const, override));
    MOCK_METHOD(bool, SupportsFullscreen, (), (const, override));
    MOCK_METHOD(void, Show, (), (override));
    MOCK_METHOD(void, Hide, (), (override));
    MOCK_METHOD(void, Raise, (), (override));
    MOCK_METHOD(void, EnterFullscreenState, (), (override));
    MOCK_METHOD(void, EnterFullscreenState, (unsigned int width, unsigned int height), (override));
    MOCK_METHOD(void, ExitFullscreenState, (), (override));
    MOCK_METHOD(void, ExitFullscreenState, (unsigned int width, unsigned int height), (override));
    MOCK_METHOD(bool, IsVisible, (), (const, override));
    MOCK_METHOD(bool, IsFullscreen, (), (const, override));
    MOCK_METHOD(void, Move, (unsigned int x, unsigned int y), (override));
    MOCK_METHOD(void, Resize, (unsigned int width, unsigned int height), (override));
    MOCK_METHOD(void, Position, (unsigned int x, unsigned int y, unsigned int width, unsigned int height), (override));
    MOCK_METHOD(void, EnqueueResizeRequest, (unsigned int width, unsigned int height), (override));
    MOCK_METHOD(void, ProcessResizeRequest, (bool force), (override));
    MOCK_METHOD(unsigned int, GetX, (), (const, override));
    MOCK_METHOD(unsigned int, GetY, (), (const, override));
    MOCK_METHOD(unsigned int, GetWidth, (), (const, override));
    MOCK_METHOD(unsigned int, GetHeight, (), (const, override));
    MOCK_METHOD(void, SetTitle, (const std::string& title), (override));
    MOCK_METHOD(void, SetSubTitle, (const std::string& subTitle), (override));
    MOCK_METHOD(void, SetFrameCount, (unsigned int frame, unsigned int frameCount), (override));
    MOCK_METHOD(unsigned int, GetNativeHandle, (NativeHandle kind, void** out), (override));
    MOCK_METHOD(bool, Create, (unsigned int width, unsigned int height, bool fullscreen), (override));
};

} // namespace Playback
