#include "Recorder/Calls/ReadBack.h"

#include <mutex>
#include <utility>
#include <vector>

#include "Recorder/Symbols/LiveFunctions.h"
#include "Recorder/Thread.h"

namespace Recorder {
namespace {

template <class Function> void Fill(Function& function, Entry entry)
{
    function = Live<Function>(entry);
}

/// Of the current context: one of OpenGL ES 1.1 has framebuffer objects by an extension.
Data::BackBufferFunctions ReadBackFunctions()
{
    const bool isFirst = thread.context != nullptr && thread.context->State().HasFixedFunctions();
    Data::BackBufferFunctions functions = {};
    Fill(functions.glGetString, Entry::glGetString);
    Fill(functions.glGetIntegerv, Entry::glGetIntegerv);
    Fill(functions.glPixelStorei, Entry::glPixelStorei);
    Fill(functions.glBindBuffer, Entry::glBindBuffer);
    Fill(functions.glBindFramebuffer, isFirst ? Entry::glBindFramebufferOES : Entry::glBindFramebuffer);
    Fill(functions.glReadBuffer, Entry::glReadBuffer);
    Fill(functions.glReadPixels, Entry::glReadPixels);
    Fill(functions.glGetError, Entry::glGetError);
    Fill(functions.glIsFramebuffer, isFirst ? Entry::glIsFramebufferOES : Entry::glIsFramebuffer);
    Fill(functions.glCheckFramebufferStatus,
         isFirst ? Entry::glCheckFramebufferStatusOES : Entry::glCheckFramebufferStatus);
    Fill(functions.glGetFramebufferAttachmentParameteriv,
         isFirst ? Entry::glGetFramebufferAttachmentParameterivOES : Entry::glGetFramebufferAttachmentParameteriv);
    Fill(functions.glBindRenderbuffer, isFirst ? Entry::glBindRenderbufferOES : Entry::glBindRenderbuffer);
    Fill(functions.glGetRenderbufferParameteriv,
         isFirst ? Entry::glGetRenderbufferParameterivOES : Entry::glGetRenderbufferParameteriv);
    Fill(functions.glBindTexture, Entry::glBindTexture);
    Fill(functions.glGetTexLevelParameteriv, Entry::glGetTexLevelParameteriv);
    return functions;
}

/// Answers what `hash` does with the driver's functions and memory for the pixels; nothing without memory.
template <class Hash> auto Read(Hash hash) noexcept
{
    decltype(hash(ReadBackFunctions(), std::declval<std::vector<std::uint8_t>&>())) result;
    Guarded([&] {
        // Grows to the largest frame. The pixels stay out of the threads' own storage, which cannot be destroyed
        // safely.
        static std::mutex mutex;
        static std::vector<std::uint8_t>& pixels = *new std::vector<std::uint8_t>;
        const std::lock_guard lock(mutex);
        result = hash(ReadBackFunctions(), pixels);
    });
    return result;
}

} // namespace

std::optional<std::uint64_t> ReadBack(const SurfaceSize& size) noexcept
{
    return Read([&](const Data::BackBufferFunctions& functions, std::vector<std::uint8_t>& pixels) {
        return Data::HashBackBuffer(functions, size.width, size.height, pixels);
    });
}

std::optional<Data::FramebufferHash> ReadBackDrawn(Context& context, std::uint32_t framebuffer) noexcept
{
    if (framebuffer == 0) {
        // Without a surface there is no default framebuffer.
        if (current.draw == EGL_NO_SURFACE || current.draw == context.Placeholder())
            return std::nullopt;
        const SurfaceSize size = RecordedSize(current.display, current.draw);
        const auto hash = ReadBack(size);
        return hash ? std::optional(Data::FramebufferHash{size.width, size.height, *hash}) : std::nullopt;
    }
    context.KeepErrors();
    return Read([&](const Data::BackBufferFunctions& functions, std::vector<std::uint8_t>& pixels) {
        return Data::HashFramebuffer(functions, framebuffer, pixels);
    });
}

} // namespace Recorder
