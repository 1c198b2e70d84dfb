#include "Host/ConfigRequests.h"

#include <algorithm>

#include "Interfaces/Core.h"

namespace Host {

namespace {

constexpr EGLint SizeAttribs[] = {EGL_RED_SIZE,   EGL_GREEN_SIZE,   EGL_BLUE_SIZE,      EGL_ALPHA_SIZE,
                                  EGL_DEPTH_SIZE, EGL_STENCIL_SIZE, EGL_SAMPLE_BUFFERS, EGL_SAMPLES};

// A function in the table has no object to ask.
decltype(Core::EGLProcTable::eglChooseConfig) driverChooseConfig = nullptr;
SurfaceKind surfaceKind = SurfaceKind::Window;

bool HasExactSizes(EGLDisplay display, EGLConfig config, const std::vector<EGLint>& request)
{
    const auto getConfigAttrib = Core::KHRLayer::EGLProc().eglGetConfigAttrib;
    if (!getConfigAttrib) {
        return false;
    }
    for (std::size_t i = 0; i + 1 < request.size(); i += 2) {
        EGLint value = 0;
        if (std::find(std::begin(SizeAttribs), std::end(SizeAttribs), request[i]) != std::end(SizeAttribs) &&
            request[i + 1] != EGL_DONT_CARE &&
            (!getConfigAttrib(display, config, request[i], &value) || value != request[i + 1])) {
            return false;
        }
    }
    return true;
}

EGLBoolean EGLAPIENTRY ChooseConfig(EGLDisplay display, const EGLint* attribs, EGLConfig* configs, EGLint size,
                                    EGLint* count)
{
    const std::vector<EGLint> request = AdaptConfigRequest(attribs, surfaceKind);
    EGLint found = 0;
    if (!configs || size <= 0 || !driverChooseConfig(display, request.data(), nullptr, 0, &found) || found <= 0) {
        return driverChooseConfig(display, request.data(), configs, size, count);
    }
    // All of them, since the exact ones may be the last.
    std::vector<EGLConfig> all(static_cast<std::size_t>(found));
    const EGLBoolean result = driverChooseConfig(display, request.data(), all.data(), found, &found);
    all.resize(static_cast<std::size_t>(std::max(found, 0)));
    std::stable_partition(all.begin(), all.end(),
                          [&](EGLConfig config) { return HasExactSizes(display, config, request); });
    const std::size_t taken = std::min(all.size(), static_cast<std::size_t>(size));
    std::copy_n(all.begin(), taken, configs);
    if (count) {
        *count = static_cast<EGLint>(taken);
    }
    return result;
}

} // namespace

std::vector<EGLint> AdaptConfigRequest(const EGLint* attribs, SurfaceKind surfaces)
{
    std::vector<EGLint> request;
    bool asksForSurfaces = false;
    for (; attribs && *attribs != EGL_NONE; attribs += 2) {
        EGLint value = attribs[1];
        if (attribs[0] == EGL_SURFACE_TYPE) {
            asksForSurfaces = true;
            if (surfaces == SurfaceKind::Pbuffer && value != EGL_DONT_CARE &&
                (value & (EGL_WINDOW_BIT | EGL_PIXMAP_BIT)) != 0) {
                value = (value & ~(EGL_WINDOW_BIT | EGL_PIXMAP_BIT)) | EGL_PBUFFER_BIT;
            }
        }
        request.insert(request.end(), {attribs[0], value});
    }
    if (surfaces == SurfaceKind::Pbuffer && !asksForSurfaces) {
        request.insert(request.end(), {EGL_SURFACE_TYPE, EGL_PBUFFER_BIT});
    }
    request.push_back(EGL_NONE);
    return request;
}

void AdaptConfigRequests(SurfaceKind surfaces)
{
    driverChooseConfig = Core::KHRLayer::EGLProc().eglChooseConfig;
    surfaceKind = surfaces;
    if (driverChooseConfig) {
        Core::KHRLayer::Replace(&Core::EGLProcTable::eglChooseConfig, ChooseConfig);
    }
}

} // namespace Host
