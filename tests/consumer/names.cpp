// Names that hosts rely on, used from outside: src/Interfaces/README.md lists them.
#include "Data/Capture/CaptureFile.h"
#include "Interfaces/Core.h"
#include "Interfaces/Util.h"
#include "Playback/AnnotationWriter.h"
#include "Playback/Controller.h"
#include "Playback/ForceFlushBlockEventHandler.h"
#include "Playback/Images/EGLImageBuffer.h"
#include "Playback/Meta/CommonMetaHandler.h"
#include "Playback/Meta/ImageMetaHandler.h"
#include "Playback/Names/GLResourceTable.h"
#include "Playback/PlaybackSettings.h"
#include "Playback/SkipApiBlockEventHandler.h"
#include "Playback/Statistics/EGLStatsAdapter.h"
#include "Playback/Statistics/GLStatsAdapter.h"
#include "Playback/Statistics/StatsBin.h"
#include "Playback/Surfaces/EGLOffscreenSurfaceFactory.h"
#include "Playback/Surfaces/EGLProxySurface.h"
#include "Playback/Surfaces/EGLSingleSurfaceFactory.h"
#include "Playback/Windows/SingleWindowManager.h"
#include "Playback/Windows/WaylandWindow.h"

namespace {

/// A host's own writer, handler and reader: each overrides what the interface has.
struct Writer : Playback::AnnotationWriter {
    void WriteTextAscii(const std::uint8_t*, std::uint64_t) override {}
    void WriteTextXML(const std::uint8_t*, std::uint64_t) override {}
    void WriteTextJSON(const std::uint8_t*, std::uint64_t) override {}
};
struct Meta : Data::NullMetaHandler {
    void ProcessGLLimits(std::uint32_t, std::uint32_t*) override {}
    void ProcessProfilerData(std::uint32_t, const std::uint8_t*, std::uint64_t) override {}
    void ProcessGLUniformsStateDesc(std::uint32_t, std::uint32_t, const Data::UniformData*) override {}
};
struct Processor : Data::DCAPFileProcessor {
    bool ProcessNextFrame() override { return false; }
};

template <auto... Members> constexpr std::size_t Count = sizeof...(Members);

static_assert(
    Count<&Playback::Controller::Update, &Playback::WaylandWindow::CreateNewWindow,
          &Playback::WindowManager::CreateNewWindow, &Playback::Window::CanShow, &Playback::Window::CanHide,
          &Playback::Window::Raise, &Playback::Window::Position, &Playback::Window::SupportsFullscreen,
          &Playback::EGLProxySurface::CreatePixmapSurface64, &Playback::EGLProxySurfaceFactory::Terminate,
          &Playback::PlaybackEnvironment::m_screenshotPath, &Core::KHRLayer::ClearEGLApi,
          &Core::KHRLayer::ClearEGLExtApi, &Core::KHRLayer::ClearGLESApi, &Core::KHRLayer::ClearGLESExpApi,
          &Core::Log::SetZones, &Core::LogFormat::GetGLEnumString, &Core::KHRLayer::playbackEGLProcTable,
          &Core::KHRLayer::playbackEGLExtProcTable, &Core::KHRLayer::playbackGLESProcTable,
          &Core::KHRLayer::playbackGLESExtProcTable, &Util::String::FromInt, &Util::Path::GetFilePart,
          &Util::ParseCmdArgsLogLevel, &Util::GetBindBuffer, &Util::GetInternalFormat, &Playback::RangeSeparator,
          &Playback::GLResourceTable::GetMappedBufferId, &Playback::GLResourceTable::GetEGLSurfaceAttribs,
          &Playback::GLResourceTable::AddIdGLFragDataIndex, &Playback::EGLImageBuffer::GetGrallocFormat,
          &Playback::EGLImageBuffer::GetTavoImageFormat, &Playback::GLStatsAdapter::LogCapTypeUsed,
          &Playback::GLStatsAdapter::LogXml, &Playback::EGLStatsAdapter::LogXml> == 35);
static_assert(sizeof(Playback::SingleWindowManager) + sizeof(Playback::StatsBin) + sizeof(Playback::GLStatsAdapter) +
                  sizeof(Playback::EGLStatsAdapter) + sizeof(Playback::ImageMetaHandler) +
                  sizeof(Playback::CommonMetaHandler) + sizeof(Playback::SkipApiBlockEventHandler) +
                  sizeof(Playback::ForceFlushBlockEventHandler) + sizeof(Playback::EGLSingleSurfaceFactory) +
                  sizeof(Playback::EGLOffscreenSurfaceFactory) + sizeof(Util::GLScreenshotHandler) + sizeof(Writer) +
                  sizeof(Meta) + sizeof(Processor) + sizeof(Data::PointerData) + sizeof(Data::EGLImageData) +
                  sizeof(Data::FrameHashHandler) + sizeof(Util::ImageFormat) + sizeof(Util::ParseArgs::CmdLineArgs) >
              0);

} // namespace

void Say()
{
    Core::Log::Print(Core::LogNotice, Core::ZoneGeneral, __LINE__, "names", true, "%d", 1);
    Core::Console::Print(1, false, "%d", 1);
}
