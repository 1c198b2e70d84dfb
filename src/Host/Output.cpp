#include "Host/Output.h"

#include "Host/Driver.h"
#include "Host/HiddenSurface.h"
#include "Host/OffscreenSurfaceFactory.h"
#include "Host/Options.h"
#include "Host/WaylandConnection.h"
#include "Interfaces/Util.h"
#include "Playback/EGLOffscreenSurfaceFactory.h"
#include "Playback/EGLPbufferSurfaceFactory.h"
#include "Playback/EGLSingleSurfaceFactory.h"
#include "Playback/PlaybackSettings.h"
#include "Playback/SingleWindowManager.h"

namespace Host {

using Playback::PlaybackEnvironment;

Output::Output() = default;
Output::~Output() = default;

Outcome Output::Open(const Options& options, PixelSize captured)
{
    m_driverDirectory = options.driverDirectory;
    m_swapInterval = options.swapInterval;
    std::string why;
    if (options.headless) {
        why = "-headless was given";
    } else if (PlaybackEnvironment::Instance()->m_pbufferSurface) {
        why = "-pbuffersurface was given";
        m_pbufferWindow = std::make_unique<UnopenedWindow>();
        m_pbufferWindows = std::make_unique<Playback::SingleWindowManager>(m_pbufferWindow.get());
    } else {
        m_connection = WaylandConnection::Open(why);
    }
    m_description =
        m_connection ? std::string("in a window (") + m_connection->ShellName() + ")" : "off screen: " + why;
    Outcome failure = OpenDriver();
    if (!failure && m_connection) {
        failure = OpenWindows(options, captured);
    }
    return failure;
}

Outcome Output::OpenDriver()
{
    // It stands in the driver's tables, which are filled anew.
    m_pacer.reset();
    if (std::string error = Host::OpenDriver(m_driverDirectory, Compositor()); !error.empty()) {
        return Failure{ExitStatus::NoDriver, std::move(error)};
    }
    if (m_windows) {
        m_pacer = std::make_unique<FramePacer>(*m_windows, m_swapInterval);
    }
    return std::nullopt;
}

Outcome Output::OpenWindows(const Options& options, PixelSize captured)
{
    const PlaybackEnvironment& settings = *PlaybackEnvironment::Instance();
    m_windows = std::make_unique<ReplayWindows>(
        *m_connection, ReplayWindows::Style{.title = "Playback: " + Util::Path::GetFilePart(options.captureFile),
                                            .captured = captured,
                                            .fixed = {static_cast<unsigned int>(settings.m_windowWidth),
                                                      static_cast<unsigned int>(settings.m_windowHeight)},
                                            .fullscreen = settings.m_fullscreen});
    if (!m_windows->Open()) {
        return Failure{ExitStatus::NoDriver, "No display: the compositor refused a window. Try -headless to replay off "
                                             "screen."};
    }
    m_pacer = std::make_unique<FramePacer>(*m_windows, m_swapInterval);
    if (settings.m_singleSurface) {
        m_singleWindow = std::make_unique<Playback::SingleWindowManager>(m_windows->GetActiveWindow());
    }
    return std::nullopt;
}

wl_display* Output::Compositor() const
{
    return m_connection ? m_connection->Globals().display : nullptr;
}

Playback::WindowManager* Output::WindowManager() const
{
    if (m_singleWindow) {
        return m_singleWindow.get();
    }
    return m_windows.get();
}

std::unique_ptr<Playback::EGLProxySurfaceFactory> Output::CreateSurfaceFactory() const
{
    using namespace Playback;
    if (m_singleWindow) {
        return std::make_unique<EGLSingleSurfaceFactory>();
    }
    if (m_windows) {
        return std::make_unique<WindowSurfaceFactory>(m_connection->Globals().compositor);
    }
    const PlaybackEnvironment& settings = *PlaybackEnvironment::Instance();
    if (settings.m_pbufferSurface && !settings.m_skipPbufferDisplay) {
        return std::make_unique<OffscreenSurfaceFactory<EGLOffscreenSurfaceFactory>>(m_pbufferWindows.get());
    }
    return std::make_unique<OffscreenSurfaceFactory<EGLPbufferSurfaceFactory>>();
}

bool Output::HandleEvents(CommandQueue& commands)
{
    if (!m_connection) {
        return true;
    }
    const bool isConnected = m_connection->Dispatch();
    commands.insert(commands.end(), m_connection->Commands().begin(), m_connection->Commands().end());
    m_connection->Commands().clear();
    return isConnected;
}

bool Output::HasKeyboard() const
{
    return m_connection && m_connection->HasKeyboard();
}

bool Output::IsBlank() const
{
    return m_windows && m_windows->GetActiveWindow()->GetWidth() == 0;
}

void Output::ToggleFullscreen()
{
    if (m_windows) {
        m_windows->ToggleFullscreen();
    }
}

} // namespace Host
