#include "Recorder/Symbols/Unrecorded.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <string_view>

#include "Data/Capture/CaptureWriter.h"
#include "Recorder/Symbols/CountedCalls.h"

namespace Recorder {
namespace {

/// Functions that neither draw nor change what is drawn: programs may have them, and a replay does without. They ask,
/// measure, wait, or hand on what others show.
constexpr std::string_view harmlessFunctions[] = {
    "eglClientWaitSyncNV",
    "eglCreateFenceSyncNV",
    "eglCreateWaylandBufferFromImageWL",
    "eglDebugMessageControlKHR",
    "eglDestroySyncNV",
    "eglExportDMABUFImageMESA",
    "eglExportDMABUFImageQueryMESA",
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
    "eglQueryDmaBufFormatsEXT",
    "eglQueryDmaBufModifiersEXT",
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

struct Counts {
    std::mutex mutex;
    std::map<std::string, std::uint64_t, std::less<>> byName;
};

/// Never destroyed: programs make calls until the very end.
Counts& TheCounts()
{
    static Counts& counts = *new Counts;
    return counts;
}

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
    try {
        Counts& counts = TheCounts();
        const std::lock_guard lock(counts.mutex);
        ++counts.byName[what];
    } catch (...) {
        // Without memory the count is lost; the program is not to notice.
    }
}

bool IsUnrecordable(const char* name) noexcept
{
    return IsOfGL(name) && std::ranges::find(harmlessFunctions, std::string_view(name)) == std::end(harmlessFunctions);
}

void NoteUnrecorded(Data::CaptureWriter& writer) noexcept
{
    Counts& counts = TheCounts();
    const std::lock_guard lock(counts.mutex);
    for (const auto& [name, count] : counts.byName) {
        writer.Note(name.c_str(), count);
    }
    NoteCountedCalls(writer);
}

} // namespace Recorder
