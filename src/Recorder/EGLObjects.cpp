#include "Recorder/EGLObjects.h"

#include <mutex>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "Data/State/Contexts.h"
#include "Recorder/RecordCalls.h"
#include "Recorder/Symbols/LiveFunctions.h"

namespace Recorder {

constinit thread_local CurrentObjects current;

namespace {

using Query = EGLBoolean (*)(EGLDisplay, void*, EGLint, EGLint*);

struct Objects {
    std::mutex mutex;
    /// By the program's handles.
    Data::Contexts<Context, ShareGroup, EGLContext> contexts{nullptr};
    std::unordered_set<std::uint32_t> describedConfigs;
    /// Window surfaces, with the sizes last written.
    std::unordered_map<EGLSurface, SurfaceSize> windows;
};

/// Never destroyed: programs make calls until the very end.
Objects& TheObjects()
{
    static Objects& objects = *new Objects;
    return objects;
}

/// Runs `action` on the objects, under their lock. Without memory the answer is the empty one.
template <class Action> auto Locked(Action action) noexcept -> decltype(action(TheObjects()))
{
    try {
        Objects& objects = TheObjects();
        const std::lock_guard lock(objects.mutex);
        return action(objects);
    } catch (...) {
        return decltype(action(TheObjects()))();
    }
}

constexpr EGLint ConfigAttributes[] = {
    EGL_CONFIG_ID,
    EGL_BUFFER_SIZE,
    EGL_RED_SIZE,
    EGL_GREEN_SIZE,
    EGL_BLUE_SIZE,
    EGL_ALPHA_SIZE,
    EGL_LUMINANCE_SIZE,
    EGL_ALPHA_MASK_SIZE,
    EGL_DEPTH_SIZE,
    EGL_STENCIL_SIZE,
    EGL_SAMPLE_BUFFERS,
    EGL_SAMPLES,
    EGL_COLOR_BUFFER_TYPE,
    EGL_RENDERABLE_TYPE,
    EGL_SURFACE_TYPE,
    EGL_CONFORMANT,
    EGL_CONFIG_CAVEAT,
    EGL_LEVEL,
    EGL_BIND_TO_TEXTURE_RGB,
    EGL_BIND_TO_TEXTURE_RGBA,
    EGL_MAX_PBUFFER_WIDTH,
    EGL_MAX_PBUFFER_HEIGHT,
    EGL_MAX_PBUFFER_PIXELS,
    EGL_MIN_SWAP_INTERVAL,
    EGL_MAX_SWAP_INTERVAL,
    EGL_NATIVE_RENDERABLE,
    EGL_NATIVE_VISUAL_ID,
    EGL_NATIVE_VISUAL_TYPE,
    EGL_TRANSPARENT_TYPE,
};

/// Those that every surface has in every version from 1.4 on; the last one leaves EGL's error at success.
constexpr EGLint SurfaceAttributes[] = {
    EGL_CONFIG_ID, EGL_RENDER_BUFFER, EGL_SWAP_BEHAVIOR, EGL_MULTISAMPLE_RESOLVE, EGL_HEIGHT, EGL_WIDTH,
};

template <std::size_t Count>
std::vector<EGLint> QueryAll(Query query, EGLDisplay display, void* object, const EGLint (&attributes)[Count])
{
    std::vector<EGLint> list;
    for (const EGLint attribute : attributes) {
        EGLint value = 0;
        if (query(display, object, attribute, &value) == EGL_TRUE)
            list.insert(list.end(), {attribute, value});
    }
    list.push_back(EGL_NONE);
    return list;
}

Query SurfaceQuery()
{
    return Live<Query>(Entry::eglQuerySurface);
}

void WriteSize(const Capturing& capturing, EGLDisplay display, EGLSurface surface, const SurfaceSize& size)
{
    capturing->WindowSize(Identify(Identifier::Display, display), Identify(Identifier::Surface, surface), size.width,
                          size.height);
}

} // namespace

bool AddContext(EGLContext handle, EGLContext share, EGLConfig config) noexcept
{
    return Locked([&](Objects& objects) {
        objects.contexts.Create(handle, share).config = config;
        return true;
    });
}

void RemoveContext(EGLContext handle) noexcept
{
    Locked([&](Objects& objects) {
        objects.contexts.Destroy(handle);
        return true;
    });
}

std::shared_ptr<Context> FindContext(EGLContext handle) noexcept
{
    return Locked([&](Objects& objects) { return objects.contexts.Share(handle); });
}

void SetThreadContext(std::shared_ptr<Context> context) noexcept
{
    thread.context = context.get();
    Locked([&](Objects& objects) {
        objects.contexts.SetThread(thread.number);
        objects.contexts.Use(std::move(context));
        return true;
    });
}

void DescribeConfig(EGLDisplay display, EGLConfig config) noexcept
{
    const std::uint32_t number = Identify(Identifier::Config, config);
    if (config == EGL_NO_CONFIG_KHR ||
        Locked([&](Objects& objects) { return objects.describedConfigs.contains(number); }))
        return;
    Guarded([&] {
        const auto attribs = QueryAll(Live<Query>(Entry::eglGetConfigAttrib), display, config, ConfigAttributes);
        Locked([&](Objects& objects) {
            const bool isNew = objects.describedConfigs.insert(number).second;
            const Capturing capturing;
            if (isNew && capturing)
                capturing->ConfigAttribs(Identify(Identifier::Display, display), number, attribs.data(),
                                         static_cast<std::uint32_t>(attribs.size()));
            return isNew;
        });
    });
}

void DescribeNewSurface(EGLDisplay display, EGLSurface surface, bool isWindow) noexcept
{
    Guarded([&] {
        const auto attribs = QueryAll(SurfaceQuery(), display, surface, SurfaceAttributes);
        const SurfaceSize size = QuerySize(display, surface);
        if (isWindow)
            Locked([&](Objects& objects) { return objects.windows.insert_or_assign(surface, size).second; });
        const Capturing capturing;
        if (!capturing)
            return;
        if (isWindow)
            WriteSize(capturing, display, surface, size);
        capturing->SurfaceAttribs(Identify(Identifier::Display, display), Identify(Identifier::Surface, surface),
                                  attribs.data(), static_cast<std::uint32_t>(attribs.size()));
    });
}

void CheckWindowSize(EGLDisplay display, EGLSurface surface) noexcept
{
    if (!Locked([&](Objects& objects) { return objects.windows.contains(surface); }))
        return;
    const SurfaceSize size = QuerySize(display, surface);
    Locked([&](Objects& objects) {
        const auto window = objects.windows.find(surface);
        if (window == objects.windows.end() || std::exchange(window->second, size) == size)
            return false;
        const Capturing capturing;
        if (!capturing)
            return false;
        WriteSize(capturing, display, surface, size);
        if (surface == current.draw) {
            // A replay takes up a new size when the surface is made current.
            Record::eglMakeCurrent(capturing, EGL_TRUE, current.display, current.draw, current.read, current.context);
        }
        return true;
    });
}

KeptEGLError::KeptEGLError() noexcept : m_error(Live<EGLint (*)()>(Entry::eglGetError)()) {}

KeptEGLError::~KeptEGLError()
{
    if (m_error != EGL_SUCCESS)
        thread.eglError = m_error;
}

void RemoveSurface(EGLSurface surface) noexcept
{
    Locked([&](Objects& objects) { return objects.windows.erase(surface); });
}

bool UsesDesktopGL() noexcept
{
    const DriverGuard guard;
    return Live<EGLenum (*)()>(Entry::eglQueryAPI)() == EGL_OPENGL_API;
}

SurfaceSize QuerySize(EGLDisplay display, EGLSurface surface) noexcept
{
    EGLint width = 0;
    EGLint height = 0;
    SurfaceQuery()(display, surface, EGL_WIDTH, &width);
    SurfaceQuery()(display, surface, EGL_HEIGHT, &height);
    return {static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height)};
}

SurfaceSize RecordedSize(EGLDisplay display, EGLSurface surface) noexcept
{
    const auto written = Locked([&](Objects& objects) {
        const auto window = objects.windows.find(surface);
        return window != objects.windows.end() ? std::optional(window->second) : std::nullopt;
    });
    return written ? *written : QuerySize(display, surface);
}

} // namespace Recorder
