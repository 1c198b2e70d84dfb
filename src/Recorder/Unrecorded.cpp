#include "Recorder/Unrecorded.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <string_view>

#include "Data/CaptureWriter.h"

namespace Recorder {
namespace {

/// Functions that neither draw nor change what is drawn: programs may have them, and a replay does without.
constexpr std::string_view harmlessFunctions[] = {
    "eglDebugMessageControlKHR",
    "eglGetDisplayDriverConfig",
    "eglGetDisplayDriverName",
    "eglLabelObjectKHR",
    "eglQueryDebugKHR",
    "eglQueryDeviceAttribEXT",
    "eglQueryDeviceStringEXT",
    "eglQueryDevicesEXT",
    "eglQueryDisplayAttribEXT",
    "eglQueryDisplayAttribKHR",
    "eglQueryDisplayAttribNV",
    "eglQueryDmaBufFormatsEXT",
    "eglQueryDmaBufModifiersEXT",
    "eglQuerySupportedCompressionRatesEXT",
    "glGetInternalformatSampleivNV",
    "glMaxShaderCompilerThreadsKHR",
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

bool IsGlxName(std::string_view name)
{
    return name.starts_with("glX");
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

bool HideUnknownFunction(const char* name) noexcept
{
    const std::string_view view = name;
    if (IsGlxName(view) || !(view.starts_with("gl") || view.starts_with("egl")) ||
        std::ranges::find(harmlessFunctions, view) != std::end(harmlessFunctions)) {
        return false;
    }
    CountUnrecorded(name);
    return true;
}

void NoteUnrecorded(Data::CaptureWriter& writer) noexcept
{
    Counts& counts = TheCounts();
    const std::lock_guard lock(counts.mutex);
    for (const auto& [name, count] : counts.byName) {
        writer.Note(name.c_str(), count);
    }
}

} // namespace Recorder
