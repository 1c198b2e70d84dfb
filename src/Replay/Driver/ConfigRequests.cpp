#include "Replay/Driver/ConfigRequests.h"

#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "Interfaces/Core.h"
#include "Playback/PlaybackSettings.h"

namespace Replay {

namespace {

/// Those that a picture misses most come first.
constexpr EGLint SizeAttribs[] = {EGL_RED_SIZE,     EGL_GREEN_SIZE,     EGL_BLUE_SIZE, EGL_ALPHA_SIZE, EGL_DEPTH_SIZE,
                                  EGL_STENCIL_SIZE, EGL_SAMPLE_BUFFERS, EGL_SAMPLES,   EGL_BUFFER_SIZE};

/// Attributes and their values, closed by EGL_NONE.
using Request = std::vector<EGLint>;

// A function in the table has no object to ask.
decltype(Core::EGLProcTable::eglChooseConfig) driverChooseConfig = nullptr;
SurfaceKind surfaceKind = SurfaceKind::Window;
bool isQuiet = false;
/// Attribute, size asked for, size taken.
std::set<std::array<EGLint, 3>> toldSteps;
/// Requests that a display has no configs for, and what is asked in their place: programs ask for the same again and
/// again. What a display has does not change.
std::map<std::pair<EGLDisplay, Request>, Request> relaxedRequests;

bool IsSize(EGLint attribute)
{
    return std::find(std::begin(SizeAttribs), std::end(SizeAttribs), attribute) != std::end(SizeAttribs);
}

EGLint GetValue(EGLDisplay display, EGLConfig config, EGLint attribute)
{
    const auto getConfigAttrib = Core::KHRLayer::EGLProc().eglGetConfigAttrib;
    EGLint value = -1;
    return getConfigAttrib && getConfigAttrib(display, config, attribute, &value) ? value : -1;
}

bool HasExactSizes(EGLDisplay display, EGLConfig config, const Request& request)
{
    for (std::size_t i = 0; i + 1 < request.size(); i += 2)
        if (IsSize(request[i]) && request[i + 1] != EGL_DONT_CARE &&
            GetValue(display, config, request[i]) != request[i + 1])
            return false;
    return true;
}

/// All configs for a request, in the driver's order.
std::vector<EGLConfig> FindConfigs(EGLDisplay display, const Request& request)
{
    // Asking for the number first would have the driver search twice.
    std::vector<EGLConfig> configs(256);
    for (;;) {
        const auto room = static_cast<EGLint>(configs.size());
        EGLint count = 0;
        if (!driverChooseConfig(display, request.data(), configs.data(), room, &count))
            return {};
        if (count < room) {
            configs.resize(static_cast<std::size_t>(std::max(count, 0)));
            return configs;
        }
        configs.resize(2 * configs.size());
    }
}

/// The request without its sizes, or with its sizes alone.
Request Part(const Request& request, bool isOfSizes)
{
    Request part;
    for (std::size_t i = 0; i + 1 < request.size(); i += 2)
        if (IsSize(request[i]) == isOfSizes)
            part.insert(part.end(), {request[i], request[i + 1]});
    part.push_back(EGL_NONE);
    return part;
}

void TellStep(EGLint attribute, EGLint asked, EGLint taken)
{
    if (!isQuiet && toldSteps.insert({attribute, asked, taken}).second) {
        const std::string name = Core::LogFormat::GetEGLEnumString(static_cast<unsigned int>(attribute));
        PLAYBACK_LOG(Notice, General, "src/Replay/ConfigRequests",
                     "The driver has no config with %s %d here: the replay draws with %d", name.c_str(), asked, taken);
    }
}

/// A request that the driver has configs for, as near to one that it has none for as there is; that one itself where
/// the sizes are not, or not alone, what it fails for.
Request Relax(EGLDisplay display, const Request& asked)
{
    Request relaxed = Part(asked, false);
    if (FindConfigs(display, relaxed).empty() ||
        !FindConfigs(display, AdaptConfigRequest(Part(asked, true).data(), surfaceKind)).empty())
        return asked;
    for (const EGLint attribute : SizeAttribs) {
        for (std::size_t i = 0; i + 1 < asked.size(); i += 2) {
            if (asked[i] != attribute)
                continue;
            const std::vector<EGLConfig> before = FindConfigs(display, relaxed);
            relaxed.insert(relaxed.begin(), {attribute, asked[i + 1]});
            if (FindConfigs(display, relaxed).empty()) {
                EGLint& taken = relaxed[1];
                taken = 0;
                for (EGLConfig config : before)
                    taken = std::max(taken, GetValue(display, config, attribute));
                TellStep(attribute, asked[i + 1], taken);
            }
        }
    }
    return relaxed;
}

EGLBoolean EGLAPIENTRY ChooseConfig(EGLDisplay display, const EGLint* attribs, EGLConfig* configs, EGLint size,
                                    EGLint* count)
{
    Request request = AdaptConfigRequest(attribs, surfaceKind);
    const auto known = relaxedRequests.find({display, request});
    if (known != relaxedRequests.end())
        request = known->second;
    // All of them, since the exact ones may be the last.
    std::vector<EGLConfig> all = FindConfigs(display, request);
    if (all.empty() && known == relaxedRequests.end() && Playback::PlaybackEnvironment::Instance()->m_config.empty()) {
        Request relaxed = Relax(display, request);
        all = FindConfigs(display, relaxed);
        // Nothing is told of requests that only look; those that follow may do more.
        if (!isQuiet)
            relaxedRequests.emplace(std::pair(display, request), relaxed);
        request = std::move(relaxed);
    }
    if (all.empty() || !count)
        return driverChooseConfig(display, request.data(), configs, size, count);
    std::size_t taken = all.size();
    if (configs) {
        std::stable_partition(all.begin(), all.end(),
                              [&](EGLConfig config) { return HasExactSizes(display, config, request); });
        taken = std::min(taken, static_cast<std::size_t>(std::max(size, 0)));
        std::copy_n(all.begin(), taken, configs);
    }
    *count = static_cast<EGLint>(taken);
    return EGL_TRUE;
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
                (value & (EGL_WINDOW_BIT | EGL_PIXMAP_BIT)) != 0)
                value = (value & ~(EGL_WINDOW_BIT | EGL_PIXMAP_BIT)) | EGL_PBUFFER_BIT;
        }
        request.insert(request.end(), {attribs[0], value});
    }
    if (surfaces == SurfaceKind::Pbuffer && !asksForSurfaces)
        request.insert(request.end(), {EGL_SURFACE_TYPE, EGL_PBUFFER_BIT});
    request.push_back(EGL_NONE);
    return request;
}

void AdaptConfigRequests(SurfaceKind surfaces)
{
    driverChooseConfig = Core::KHRLayer::EGLProc().eglChooseConfig;
    surfaceKind = surfaces;
    toldSteps.clear();
    relaxedRequests.clear();
    if (driverChooseConfig)
        Core::KHRLayer::Replace(&Core::EGLProcTable::eglChooseConfig, ChooseConfig);
}

QuietConfigRequests::QuietConfigRequests()
{
    isQuiet = true;
}

QuietConfigRequests::~QuietConfigRequests()
{
    isQuiet = false;
}

} // namespace Replay
