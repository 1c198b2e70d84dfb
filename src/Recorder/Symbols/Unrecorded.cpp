#include "Recorder/Symbols/Unrecorded.h"

#include <algorithm>
#include <string_view>

#include "Recorder/Capture.h"
#include "Recorder/Channel/Connection.h"

namespace Recorder {
namespace {

/// Functions that neither draw nor change what is drawn: programs may have them, and a replay does without. They ask,
/// measure, wait, or hand on what others show.
constexpr std::string_view HarmlessFunctions[] = {
    "eglClientWaitSyncNV",
    "eglCreateFenceSyncNV",
    "eglCreateWaylandBufferFromImageWL",
    "eglDebugMessageControlKHR",
    "eglDestroySyncNV",
    "eglFenceNV",
    "eglGetCompositorTimingANDROID",
    "eglGetCompositorTimingSupportedANDROID",
    "eglGetDisplayDriverConfig",
    "eglGetDisplayDriverName",
    "eglGetFrameTimestampSupportedANDROID",
    "eglGetFrameTimestampsANDROID",
    "eglGetMscRateANGLE",
    "eglGetNextFrameIdANDROID",
    "eglGetSyncAttribNV",
    "eglGetSyncValuesCHROMIUM",
    "eglGetSystemTimeFrequencyNV",
    "eglGetSystemTimeNV",
    "eglLabelObjectKHR",
    "eglPresentationTimeANDROID",
    "eglQueryDebugKHR",
    "eglQueryDeviceAttribEXT",
    "eglQueryDeviceBinaryEXT",
    "eglQueryDeviceStringEXT",
    "eglQueryDevicesEXT",
    "eglQueryDisplayAttribEXT",
    "eglQueryDisplayAttribKHR",
    "eglQueryDisplayAttribNV",
    "eglQueryNativeDisplayNV",
    "eglQueryNativePixmapNV",
    "eglQueryNativeWindowNV",
    "eglQuerySupportedCompressionRatesEXT",
    "eglSignalSyncNV",
    "glBeginPerfQueryINTEL",
    "glCreatePerfQueryINTEL",
    "glDeleteFencesNV",
    "glDeletePerfQueryINTEL",
    "glEndPerfQueryINTEL",
    "glExtGetBufferPointervQCOM",
    "glExtGetBuffersQCOM",
    "glExtGetFramebuffersQCOM",
    "glExtGetProgramBinarySourceQCOM",
    "glExtGetProgramsQCOM",
    "glExtGetRenderbuffersQCOM",
    "glExtGetShadersQCOM",
    "glExtGetTexLevelParameterivQCOM",
    "glExtGetTexSubImageQCOM",
    "glExtGetTexturesQCOM",
    "glExtIsProgramBinaryQCOM",
    "glFinishFenceNV",
    "glGenFencesNV",
    "glGetFenceivNV",
    "glGetFirstPerfQueryIdINTEL",
    "glGetNextPerfQueryIdINTEL",
    "glGetPerfCounterInfoINTEL",
    "glGetPerfQueryDataINTEL",
    "glGetPerfQueryIdByNameINTEL",
    "glGetPerfQueryInfoINTEL",
    "glIsFenceNV",
    "glSetFenceNV",
    "glTestFenceNV",
};

/// "glX" begins the names of another API.
bool IsOfGL(std::string_view name)
{
    const std::size_t prefix = name.starts_with("egl") ? 3 : 2;
    return (prefix == 3 || (name.starts_with("gl") && !name.starts_with("glX"))) && name.size() > prefix &&
           name[prefix] >= 'A' && name[prefix] <= 'Z';
}

} // namespace

void CountUnrecorded(const char* what) noexcept
{
    auto* const count = capture.channel != nullptr ? SharedCount(*capture.channel, what) : nullptr;
    if (count != nullptr)
        ++*count;
}

bool IsUnrecordable(const char* name) noexcept
{
    return IsOfGL(name) && std::ranges::find(HarmlessFunctions, std::string_view(name)) == std::end(HarmlessFunctions);
}

} // namespace Recorder
