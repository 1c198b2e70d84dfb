#pragma once

#include <set>

#include "Playback/Calls/EGLPlaybackAdapter.h"

namespace Replay {

/// Replays EGL calls of programs with several displays, which all become the one live display that windows are on.
///
/// A program may end one display and go on with another. The live one goes on then, and what the ended one made is
/// destroyed; contexts and surfaces that a captured thread has current stay until no thread has, as the standard says.
/// The live display ends with the last captured one.
class SharedDisplays : public Playback::EGLPlaybackAdapter {
public:
    SharedDisplays(Playback::GLResourceTable* table, Playback::WindowManager* windows,
                   Playback::EGLProxySurfaceFactory* surfaces)
        : EGLPlaybackAdapter(table, windows, surfaces), m_table(table)
    {
    }

    void Process_eglInitialize(std::int32_t captured, std::uint32_t dpy, Data::PointerData* major,
                               Data::PointerData* minor) override;
    void Process_eglTerminate(std::int32_t captured, std::uint32_t dpy) override;
    void Process_eglMakeCurrent(std::int32_t captured, std::uint32_t dpy, std::uint32_t draw, std::uint32_t read,
                                std::uint32_t ctx) override;

private:
    [[nodiscard]] bool IsShared(std::uint32_t display);
    /// Destroys what the display made and no captured thread has current. False while something is left.
    bool Destroy(std::uint32_t display);

    Playback::GLResourceTable* m_table;
    /// Ended, with something that is still current.
    std::set<std::uint32_t> m_ending;
};

} // namespace Replay
