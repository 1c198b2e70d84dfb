// Names that hosts rely on, used from outside one by one: src/Interfaces/README.md lists them.
#include <type_traits>

#include "Data/Capture/CaptureFile.h"
#include "Interfaces/Core.h"
#include "Interfaces/EGLAdapter.h"
#include "Interfaces/GLAdapter.h"
#include "Interfaces/Util.h"
#include "Playback/AnnotationWriter.h"
#include "Playback/Calls/EGLPlaybackAdapter.h"
#include "Playback/Calls/GLPlaybackAdapter.h"
#include "Playback/Controller.h"
#include "Playback/ForceFlushBlockEventHandler.h"
#include "Playback/Images/EGLImageBuffer.h"
#include "Playback/Meta/CommonMetaHandler.h"
#include "Playback/Meta/ImageMetaHandler.h"
#include "Playback/Meta/KHRMetaHandler.h"
#include "Playback/Names/GLResourceTable.h"
#include "Playback/PlaybackSettings.h"
#include "Playback/SkipApiBlockEventHandler.h"
#include "Playback/Statistics/EGLStatsAdapter.h"
#include "Playback/Statistics/GLStatsAdapter.h"
#include "Playback/Statistics/StatsBin.h"
#include "Playback/Surfaces/EGLOffscreenSurfaceFactory.h"
#include "Playback/Surfaces/EGLPassThruSurfaceFactory.h"
#include "Playback/Surfaces/EGLPbufferSurfaceFactory.h"
#include "Playback/Surfaces/EGLProxySurface.h"
#include "Playback/Surfaces/EGLSingleSurfaceFactory.h"
#include "Playback/Windows/Display.h"
#include "Playback/Windows/SingleWindowManager.h"
#include "Playback/Windows/WaylandWindow.h"

namespace {

using U = std::uint32_t;
using Bytes = const std::uint8_t*;

// What a host writes itself overrides all that the interface has.
struct Writer : Playback::AnnotationWriter {
    void WriteTextAscii(Bytes, std::uint64_t) override {}
    void WriteTextXML(Bytes, std::uint64_t) override {}
    void WriteTextJSON(Bytes, std::uint64_t) override {}
};
struct Meta : Data::MetaHandler {
    void SetCurrentThread(U) override {}
    void ProcessTextAscii(Bytes, std::uint64_t) override {}
    void ProcessTextXML(Bytes, std::uint64_t) override {}
    void ProcessTextJSON(Bytes, std::uint64_t) override {}
    void ProcessDisplayMessageCommand(const std::string&) override {}
    void ProcessSetWindowSizeCommand(U, U, U, U) override {}
    void ProcessCreateEGLImageBufferCommand(U, U, const Data::EGLImageData*) override {}
    void ProcessSetEGLImageContentCommand(U, const Data::EGLImageData*) override {}
    void ProcessEGLConfigStateDesc(U, U, const std::int32_t*, std::uint64_t) override {}
    void ProcessEGLSurfaceStateDesc(U, U, const std::int32_t*, std::uint64_t) override {}
    void ProcessGLUniformsStateDesc(U, U, const Data::UniformData*) override {}
    void ProcessGLUniformBlocksStateDesc(U, U, const Data::UniformBlockData*) override {}
    void ProcessGLAttributesStateDesc(U, U, const Data::AttributeData*) override {}
    void ProcessGLAtomicCounterBufferStateDesc(U, U, const Data::AtomicCounterBufferData*) override {}
    void ProcessGLBufferVariablesStateDesc(U, U, const Data::BufferVariableData*) override {}
    void ProcessGLStorageBlocksStateDesc(U, U, const Data::ShaderStorageBlockData*) override {}
    void ProcessProfilerData(U, Bytes, std::uint64_t) override {}
    void ProcessGLLimits(U, U*) override {}
    void ProcessDefaultColorBuffer(U, U, U, U, U, U, U, Bytes) override {}
    void ProcessDefaultDepthBuffer(U, U, U, U, U, U, U, Bytes) override {}
    void ProcessDefaultStencilBuffer(U, U, U, U, U, U, U, Bytes) override {}
    void ProcessMultiSampleTexture(U, U, U, U, U, U, U, U, U, U, Bytes) override {}
};
struct Blocks : Data::BlockEventHandler {
    void BlockStart(Data::BlockType) override {}
    void BlockEnd(Data::BlockType) override {}
};
struct Hashes : Data::FrameHashHandler {
    void ProcessFrameHash(U, U, U, U, std::uint64_t) override {}
};
struct Processor : Data::DCAPFileProcessor {
    bool ProcessNextFrame() override { return false; }
};
struct Reader : Data::CaptureFileReader {
    Data::DCAPFileProcessor* GetFrameProcessor() override { return nullptr; }
    U GetCurrentFrame() const override { return 0; }
    U GetFrameCount() const override { return 0; }
};
struct Window : Playback::Window {
    bool IsValid() const override { return false; }
    bool CanShow() const override { return false; }
    bool CanHide() const override { return false; }
    bool CanRaise() const override { return false; }
    bool CanMove() const override { return false; }
    bool CanResize() const override { return false; }
    bool CanEnqueueResizeRequest() const override { return false; }
    bool SupportsFullscreen() const override { return false; }
    void Show() override {}
    void Hide() override {}
    void Raise() override {}
    void EnterFullscreenState() override {}
    void EnterFullscreenState(U, U) override {}
    void ExitFullscreenState() override {}
    void ExitFullscreenState(U, U) override {}
    bool IsVisible() const override { return false; }
    bool IsFullscreen() const override { return false; }
    void Move(U, U) override {}
    void Resize(U, U) override {}
    void Position(U, U, U, U) override {}
    void EnqueueResizeRequest(U, U) override {}
    void ProcessResizeRequest(bool) override {}
    U GetX() const override { return 0; }
    U GetY() const override { return 0; }
    U GetWidth() const override { return 0; }
    U GetHeight() const override { return 0; }
    void SetTitle(const std::string&) override {}
    void SetSubTitle(const std::string&) override {}
    void SetFrameCount(U, U) override {}
    U GetNativeHandle(NativeHandle, void**) override { return 0; }
    bool Create(U, U, bool) override { return false; }
};
struct Manager : Playback::WindowManager {
    Playback::Window* GetWindow(U) override { return nullptr; }
    void AddWindow(U) override {}
    void RemoveWindow(U) override {}
    void ActivateWindow(U) override {}
    Playback::Window* GetActiveWindow() override { return nullptr; }
    Playback::Window* CreateNewWindow() override { return nullptr; }
    void DestroyWindow(Playback::Window*) override {}
};

template <class... Types> constexpr bool AreComplete = ((sizeof(Types) > 0 && !std::is_abstract_v<Types>)&&...);
static_assert(
    AreComplete<Writer, Meta, Blocks, Hashes, Processor, Reader, Window, Manager, Data::CaptureFile, Data::PointerData,
                Data::EGLImageData, Data::GLNullAdapter, Data::EGLNullAdapter, Playback::GLPlaybackAdapter,
                Playback::EGLPlaybackAdapter, Playback::CommonMetaHandler, Playback::KHRMetaHandler,
                Playback::ImageMetaHandler, Playback::SingleWindowManager, Playback::WaylandWindow, Playback::Display,
                Playback::SkipApiBlockEventHandler, Playback::ForceFlushBlockEventHandler,
                Playback::EGLSingleSurfaceFactory, Playback::EGLOffscreenSurfaceFactory,
                Playback::EGLPassThruSurfaceFactory, Playback::EGLPbufferSurfaceFactory, Playback::StatsBin,
                Util::GLScreenshotHandler, Util::ParseArgs::CmdLineArgs>);
static_assert(std::is_base_of_v<Data::Adapter, Data::GLAdapter> && std::is_base_of_v<Data::Adapter, Data::EGLAdapter>);
static_assert(std::is_enum_v<Util::ImageFormat>);

// Functions and members, each of which a host may name.
template <auto... Names> constexpr std::size_t Count = sizeof...(Names);

template <class T>
constexpr bool HasLogAndRuntime =
    Count<&T::ClearEGLApi, &T::ClearEGLExtApi, &T::ClearGLESApi, &T::ClearGLESExpApi, &T::playbackEGLProcTable,
          &T::playbackEGLExtProcTable, &T::playbackGLESProcTable, &T::playbackGLESExtProcTable, &Core::Log::SetZones,
          &Core::LogFormat::GetGLEnumString, &Core::LogFormat::GetEGLEnumString, &Core::Console::Print> == 12;
static_assert(HasLogAndRuntime<Core::KHRLayer>);
static_assert(Count<&Util::String::FromInt, &Util::String::ToInt, &Util::Path::GetFilePart, &Util::Path::Exists,
                    &Util::ParseCmdArgsLogLevel, &Util::ParseCmdArgsLogZone, &Util::ParseCmdArgsLogIOPipe,
                    &Util::GetBindBuffer, &Util::GetInternalFormat, &Playback::RangeSeparator> == 10);

template <class T>
constexpr bool HasSurface =
    Count<&T::GetOriginalType, &T::SetSize, &T::GetWidth, &T::GetHeight, &T::MakeCurrent, &T::SwapBuffers,
          &T::CreateWindowSurface, &T::CreatePbufferSurface, &T::CreatePbufferFromClientBuffer, &T::CreatePixmapSurface,
          &T::DestroySurface, &T::BindTexImage, &T::ReleaseTexImage, &T::CopyBuffers, &T::SurfaceAttrib,
          &T::QuerySurface, &T::QuerySurface64KHR, &T::SetDamageRegionKHR, &T::LockSurfaceKHR, &T::UnlockSurfaceKHR,
          &T::GetSurface, &T::CreateWindowSurface64, &T::CreatePixmapSurface64> == 23;
template <class T>
constexpr bool HasFactory = Count<&T::CreateContext, &T::CreateWindowSurface, &T::CreateWindowSurface64,
                                  &T::CreatePbufferSurface, &T::CreatePbufferFromClientBuffer, &T::CreatePixmapSurface,
                                  &T::CreatePixmapSurface64, &T::DestroySurface, &T::Terminate> == 9;
static_assert(HasSurface<Playback::EGLProxySurface> && HasFactory<Playback::EGLProxySurfaceFactory>);

template <class T>
constexpr bool HasSettings =
    Count<&T::Instance, &T::Options, &T::InitDefaultSettings, &T::LoadSettings, &T::GetResourceType, &T::GetFilePrefix,
          &T::IsScreenshotFrame, &T::AddSkipApiIds, &T::m_windowModeSet, &T::m_fullscreen, &T::m_windowSizeSet,
          &T::m_windowWidth, &T::m_windowHeight, &T::m_playback, &T::m_stats, &T::m_pause, &T::m_pauseFrame,
          &T::m_stopFrameSet, &T::m_stopFrame, &T::m_loopFrame, &T::m_loopCount, &T::m_preloadFile, &T::m_threads,
          &T::m_threadFilterStartFrame, &T::m_extractTextures, &T::m_singleSurface, &T::m_pbufferSurface,
          &T::m_skipPbufferDisplay, &T::m_defaultFbo, &T::m_forceFlush, &T::m_swapFbo, &T::m_swapFboX, &T::m_swapFboY,
          &T::m_syncState, &T::m_skipErrorCheck, &T::m_config, &T::m_samples, &T::m_skipStateApiIds,
          &T::m_skipFrameApiIds, &T::m_dumpDefaultFbo, &T::m_screenshotInterval, &T::m_screenshotStartFrame,
          &T::m_screenshotEndFrame, &T::m_perDrawScreenshotFrame, &T::m_perDrawScreenshotFirstDraw,
          &T::m_perDrawScreenshotLastDraw, &T::m_screenshotFormat, &T::m_perDrawScreenshotFilter,
          &T::m_screenshotOpaque, &T::m_screenshotPath> == 50;
static_assert(HasSettings<Playback::PlaybackEnvironment>);

static_assert(Count<&Playback::Controller::Play, &Playback::Controller::Pause, &Playback::Controller::IsPaused,
                    &Playback::Controller::HasMoreFrames, &Playback::Controller::FrameForward,
                    &Playback::Controller::Update, &Playback::WaylandWindow::CreateNewWindow,
                    &Playback::WaylandWindow::GetWindowHandle, &Playback::EGLImageBuffer::GetGrallocFormat,
                    &Playback::EGLImageBuffer::GetTavoImageFormat, &Playback::EGLImageBuffer::GetNativeBuffer,
                    &Playback::EGLStatsAdapter::LogXml, &Playback::GLStatsAdapter::LogXml,
                    &Playback::GLStatsAdapter::LogCapTypeUsed, &Playback::GLStatsAdapter::LogIncrementDrawCount,
                    &Playback::GLStatsAdapter::LogTextureTargetUse, &Playback::GLStatsAdapter::LogStencilFaceInfo,
                    &Playback::GLStatsAdapter::LogStencilFuncInfo, &Playback::GLStatsAdapter::LogTexelDataFormat,
                    &Playback::GLStatsAdapter::LogTextureSize, &Playback::GLStatsAdapter::LogRenderBufferSize> == 21);

// The table of names: an Add, a Get and a Remove of each kind.
template <class Id, class Value, auto Add, auto Get, auto Remove>
constexpr bool IsKind = requires(Playback::GLResourceTable& table, Id id, Value value)
{
    (table.*Add)(id, value);
    value = (table.*Get)(id);
    (table.*Remove)(id);
};
#define KIND(Id, Value, Kind)                                                                                          \
    static_assert(IsKind<Id, Value, &Playback::GLResourceTable::AddId##Kind,                                           \
                         &Playback::GLResourceTable::GetValue##Kind, &Playback::GLResourceTable::RemoveId##Kind>)
KIND(U, U, GLProgram);
KIND(U, U, GLShader);
KIND(U, U, GLBuffer);
KIND(U, U, GLFramebuffer);
KIND(U, U, GLRenderbuffer);
KIND(U, U, GLTexture);
KIND(U, U, GLSampler);
KIND(U, U, GLQuery);
KIND(U, U, GLVertexArray);
KIND(U, U, GLTransformFeedback);
KIND(U, U, GLPipeline);
KIND(U, U, GLPerfMonitor);
KIND(U, U, GLPerfMonitorGroup);
KIND(U, U, GLCounter);
KIND(U, U, GLMemoryObject);
KIND(U, U, GLSemaphore);
KIND(int, int, GLSharedBuffer);
KIND(U, void*, GLVoidPtr);
KIND(U, void*, EGLDisplay);
KIND(U, void*, EGLConfig);
KIND(U, void*, EGLContext);
KIND(U, Playback::EGLProxySurface*, EGLSurface);
KIND(U, void*, EGLImage);
KIND(U, void*, EGLSync);
KIND(U, void*, EGLVoidPtr);
#undef KIND
template <class T>
constexpr bool HasTable =
    Count<&T::ReleaseResources, &T::SetCurrentAPI, &T::GetCurrentAPI, &T::SetCurrentContext, &T::GetCurrentContextInfo,
          &T::SetCurrentThread, &T::SetCurrentProgram, &T::GetCurrentProgram, &T::RemoveContextInfo,
          &T::SetSharedContextAssociation, &T::GetSharedResourceIndex, &T::GetSharedContextAssociation,
          &T::RemoveSharedContextAssociation, &T::AddIdGLAttribLocation, &T::GetValueGLAttribLocation,
          &T::AddIdGLUniformLocation, &T::GetValueGLUniformLocation, &T::AddIdGLUniformBlockIndex,
          &T::GetValueGLUniformBlockIndex, &T::AddIdGLFragDataLocation, &T::AddIdGLFragDataIndex,
          &T::GetDisplayResource, &T::AddEGLConfigAttribs, &T::AddEGLSurfaceAttribs, &T::GetEGLConfigAttribs,
          &T::GetEGLSurfaceAttribs, &T::MapBuffer, &T::GetMappedBufferId, &T::FlushMappedBufferRange, &T::UnmapBuffer,
          &T::AddEGLImageBuffer, &T::SetEGLImageData, &T::GetEGLImageBuffer, &T::AddEGLImageBufferRef,
          &T::RemoveEGLImageBuffer, &T::GetTextureEGLImageMap, &T::GetTextureEGLImage, &T::AddTextureEGLImage,
          &T::SetTextureEGLImage, &T::RemoveTextureEGLImage, &T::GetEGLImageTexture> == 41;
static_assert(HasTable<Playback::GLResourceTable>);

} // namespace

void Say()
{
    Core::Log::Print(Core::LogNotice, Core::ZoneGeneral, __LINE__, "names", true, "%d", 1);
    Core::Console::Print(1, false, "%d", 1);
}
