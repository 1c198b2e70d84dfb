#include "Recorder/Calls/ReadBack.h"

#include <mutex>
#include <vector>

#include "Data/BackBuffer.h"
#include "Recorder/Symbols/LiveFunctions.h"

namespace Recorder {
namespace {

Data::BackBufferFunctions ReadBackFunctions()
{
    Data::BackBufferFunctions functions = {};
    functions.glGetString = Live<decltype(functions.glGetString)>(Entry::glGetString);
    functions.glGetIntegerv = Live<decltype(functions.glGetIntegerv)>(Entry::glGetIntegerv);
    functions.glPixelStorei = Live<decltype(functions.glPixelStorei)>(Entry::glPixelStorei);
    functions.glBindBuffer = Live<decltype(functions.glBindBuffer)>(Entry::glBindBuffer);
    functions.glBindFramebuffer = Live<decltype(functions.glBindFramebuffer)>(Entry::glBindFramebuffer);
    functions.glReadBuffer = Live<decltype(functions.glReadBuffer)>(Entry::glReadBuffer);
    functions.glReadPixels = Live<decltype(functions.glReadPixels)>(Entry::glReadPixels);
    return functions;
}

} // namespace

std::optional<std::uint64_t> ReadBack(const SurfaceSize& size) noexcept
{
    std::optional<std::uint64_t> hash;
    Guarded([&] {
        // Grows to the largest frame. The pixels stay out of the threads' own storage, which cannot be destroyed
        // safely.
        static std::mutex mutex;
        static std::vector<std::uint8_t>& pixels = *new std::vector<std::uint8_t>;
        const std::lock_guard lock(mutex);
        hash = Data::HashBackBuffer(ReadBackFunctions(), size.width, size.height, pixels);
    });
    return hash;
}

} // namespace Recorder
