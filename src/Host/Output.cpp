#include "Host/Output.h"

#include "Host/Options/Options.h"
#include "Host/Wayland/HiddenSurface.h"
#include "Host/Wayland/WaylandConnection.h"
#include "Interfaces/Util.h"
#include "Playback/PlaybackSettings.h"
#include "Playback/Surfaces/EGLOffscreenSurfaceFactory.h"
#include "Playback/Surfaces/EGLPbufferSurfaceFactory.h"
#include "Playback/Surfaces/EGLSingleSurfaceFactory.h"
#include "Playback/Windows/SingleWindowManager.h"
#include "Replay/Driver/Driver.h"
#include "Replay/OffscreenSurfaceFactory.h"

namespace Host {

using Playback::PlaybackEnvironment;

namespace {

/// Of windows, where neither the user nor the capture says.
constexpr PixelSize DefaultSize = {640, 480};

} // namespace

Output::Output() = default;
Output::~Output() = default;

Util::Outcome Output::Open(const Options& options, PixelSize captured)
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
    Util::Outcome failure = OpenDriver();
    if (!failure && m_connection)
        failure = OpenWindows(options, captured);
    return failure;
}

Util::Outcome Output::OpenDriver()
{
    // It stands in the driver's tables, which are filled anew.
    m_pacer.reset();
    if (std::string error = Replay::OpenDriver(m_driverDirectory, Compositor()); !error.empty())
        return Util::Failure{Util::ExitStatus::NoDriver, std::move(error)};
    if (m_windows)
        m_pacer = std::make_unique<FramePacer>(*m_windows, m_swapInterval);
    return std::nullopt;
}

Util::Outcome Output::OpenWindows(const Options& options, PixelSize captured)
{
    PlaybackEnvironment& settings = *PlaybackEnvironment::Instance();
    const PixelSize fixed = {static_cast<unsigned int>(settings.m_windowWidth),
                             static_cast<unsigned int>(settings.m_windowHeight)};
    // New windows take their size from the settings: that of the capture where the user gave none.
    const auto choose = [](unsigned int given, unsigned int recorded, unsigned int otherwise) {
        return static_cast<int>(given ? given : recorded ? recorded : otherwise);
    };
    settings.m_windowWidth = choose(fixed.width, captured.width, DefaultSize.width);
    settings.m_windowHeight = choose(fixed.height, captured.height, DefaultSize.height);
    m_windows =
        ReplayWindows::Open(*m_connection, {.title = "Playback: " + Util::Path::GetFilePart(options.captureFile),
                                            .fixed = fixed,
                                            .isSingle = settings.m_singleSurface});
    if (!m_windows) {
        return Util::Failure{Util::ExitStatus::NoDriver,
                             "No display: the compositor refused a window. Try -headless to replay off "
                             "screen."};
    }
    m_pacer = std::make_unique<FramePacer>(*m_windows, m_swapInterval);
    return std::nullopt;
}

wl_display* Output::Compositor() const
{
    return m_connection ? m_connection->Globals().display : nullptr;
}

std::unique_ptr<Playback::EGLProxySurfaceFactory> Output::CreateSurfaceFactory() const
{
    using namespace Playback;
    const PlaybackEnvironment& settings = *PlaybackEnvironment::Instance();
    if (m_windows) {
        wl_compositor* const compositor = m_connection->Globals().compositor;
        if (settings.m_singleSurface)
            return std::make_unique<WindowSurfaceFactory<EGLSingleSurfaceFactory>>(compositor);
        return std::make_unique<WindowSurfaceFactory<EGLPassThruSurfaceFactory>>(compositor);
    }
    const bool isReadBack = settings.m_pbufferSurface && !settings.m_skipPbufferDisplay;
    if (settings.m_singleSurface && isReadBack) {
        return std::make_unique<Replay::SingleOffscreenSurfaceFactory<EGLOffscreenSurfaceFactory>>(
            m_pbufferWindows.get());
    }
    if (settings.m_singleSurface)
        return std::make_unique<Replay::SingleOffscreenSurfaceFactory<EGLPbufferSurfaceFactory>>();
    if (isReadBack)
        return std::make_unique<Replay::OffscreenSurfaceFactory<EGLOffscreenSurfaceFactory>>(m_pbufferWindows.get());
    return std::make_unique<Replay::OffscreenSurfaceFactory<EGLPbufferSurfaceFactory>>();
}

bool Output::HandleEvents(CommandQueue& commands)
{
    if (!m_connection)
        return true;
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
    return m_windows && m_windows->Active().Window().GetWidth() == 0;
}

void Output::ToggleFullscreen()
{
    if (m_windows)
        m_windows->Active().ToggleFullscreen();
}

} // namespace Host
