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
    functions.getString = Live<decltype(functions.getString)>(Entry::glGetString);
    functions.getIntegerv = Live<decltype(functions.getIntegerv)>(Entry::glGetIntegerv);
    functions.pixelStorei = Live<decltype(functions.pixelStorei)>(Entry::glPixelStorei);
    functions.bindBuffer = Live<decltype(functions.bindBuffer)>(Entry::glBindBuffer);
    functions.bindFramebuffer = Live<decltype(functions.bindFramebuffer)>(Entry::glBindFramebuffer);
    functions.readBuffer = Live<decltype(functions.readBuffer)>(Entry::glReadBuffer);
    functions.readPixels = Live<decltype(functions.readPixels)>(Entry::glReadPixels);
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
