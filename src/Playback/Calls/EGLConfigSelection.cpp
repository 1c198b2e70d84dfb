// The part of EGLPlaybackAdapter that finds live configs for captured ones.
#include "Playback/Calls/EGLPlaybackAdapter.h"

#include <algorithm>
#include <iterator>

#include <EGL/eglext.h>

#include "Playback/Calls/LiveCall.h"
#include "Playback/PlaybackSettings.h"

namespace Playback {

namespace {

/// What a live config should have in common with the captured one.
constexpr int CheckedEglAttribs1[] = {
    EGL_RED_SIZE,     EGL_GREEN_SIZE,     EGL_BLUE_SIZE, EGL_ALPHA_SIZE,      EGL_DEPTH_SIZE,
    EGL_STENCIL_SIZE, EGL_SAMPLE_BUFFERS, EGL_SAMPLES,   EGL_RENDERABLE_TYPE, EGL_SURFACE_TYPE,
};

/// The least: what shows in the pixels.
constexpr int CheckedEglAttribs2[] = {
    EGL_RED_SIZE,   EGL_GREEN_SIZE,   EGL_BLUE_SIZE,      EGL_ALPHA_SIZE,
    EGL_DEPTH_SIZE, EGL_STENCIL_SIZE, EGL_SAMPLE_BUFFERS, EGL_SAMPLES,
};

using AttribList = std::vector<int>;

void Append(AttribList& list, int attribute, int value)
{
    list.insert(list.end(), {attribute, value});
}

/// The number after the first `letter`, 0 without one.
int ComponentSize(const std::string& spec, char letter)
{
    const auto at = spec.find(letter);
    return at == std::string::npos ? 0 : Util::String::ToInt(spec.substr(at + 1));
}

/// Adds what the form "R8G8B8A8D24S8", with "F" for floating point, asks for.
void AppendComponents(AttribList& list, const std::string& spec, int samples, const char* file)
{
    constexpr struct {
        char letter;
        int attribute;
    } Components[] = {{'R', EGL_RED_SIZE},   {'G', EGL_GREEN_SIZE}, {'B', EGL_BLUE_SIZE},
                      {'A', EGL_ALPHA_SIZE}, {'D', EGL_DEPTH_SIZE}, {'S', EGL_STENCIL_SIZE}};
    int sizes[std::size(Components)];
    for (std::size_t i = 0; i < std::size(Components); ++i) {
        sizes[i] = ComponentSize(spec, Components[i].letter);
        if (sizes[i] != 0)
            Append(list, Components[i].attribute, sizes[i]);
    }
    const bool floatingPoint = spec.find('F') != std::string::npos;
    if (floatingPoint)
        Append(list, EGL_COLOR_COMPONENT_TYPE_EXT, EGL_COLOR_COMPONENT_TYPE_FLOAT_EXT);
    PLAYBACK_LOG(Notice, General, file,
                 "Overriding EGLConfig with %d-bit R color, %d-bit G color, %d-bit B color, %d-bit alpha, "
                 "%d-bit depth, %d-bit stencil, %s, %d multi-sample",
                 sizes[0], sizes[1], sizes[2], sizes[3], sizes[4], sizes[5],
                 floatingPoint ? "floating-point" : "fixed-point", samples);
}

/// Adds what the form "c32d24" asks for: bits of colour and of depth, each after a character that is not read.
void AppendDepths(AttribList& list, const std::string& spec, int samples, const char* file)
{
    const int color = Util::String::ToInt(spec.substr(1, 2));
    const int depth = Util::String::ToInt(spec.substr(4, 2));
    const auto isValid = [](int bits) { return bits == 16 || bits == 24 || bits == 32; };
    if (!isValid(color) || !isValid(depth) || samples < 1) {
        PLAYBACK_LOG(Notice, General, file,
                     "Invalid EGLConfig override %s.  Valid color/depth values are 32, 24, and 16.", spec.c_str());
        return;
    }
    const int stencil = depth == 16 ? 0 : 8;
    PLAYBACK_LOG(Notice, General, file,
                 "Overriding EGLConfig with %d-bit color, %d-bit depth, %d-bit stencil and %d multi-sample.", color,
                 depth, stencil, samples);
    Append(list, EGL_RED_SIZE, color == 16 ? 5 : 8);
    Append(list, EGL_GREEN_SIZE, color == 16 ? 6 : 8);
    Append(list, EGL_BLUE_SIZE, color == 16 ? 5 : 8);
    Append(list, EGL_ALPHA_SIZE, color == 32 ? 8 : 0);
    Append(list, EGL_DEPTH_SIZE, depth);
    Append(list, EGL_STENCIL_SIZE, stencil);
}

} // namespace

EGLConfig EGLPlaybackAdapter::GetConfig(std::uint32_t capturedDisplay, std::uint32_t capturedConfig)
{
    if (const EGLDisplay display = m_resourceTable ? GetDisplay(capturedDisplay) : EGL_NO_DISPLAY) {
        if (!m_settings->m_config.empty()) {
            if (!m_overrideConfig)
                m_overrideConfig = CreateOverrideConfig(display, m_settings->m_config, m_settings->m_samples);
            if (m_overrideConfig)
                return m_overrideConfig;
        }
        EGLConfig config = nullptr;
        if (const EGLConfig recorded = m_resourceTable->GetValueEGLConfig(capturedConfig)) {
            AttribList full;
            BuildAttribList(capturedConfig, &full, CheckedEglAttribs1, std::size(CheckedEglAttribs1));
            config = MatchConfig(display, recorded, full.data()) ? recorded : ChooseConfig(display, full.data());
        }
        if (!config) {
            AttribList reduced;
            BuildAttribList(capturedConfig, &reduced, CheckedEglAttribs2, std::size(CheckedEglAttribs2));
            config = ChooseConfig(display, reduced.data());
        }
        if (config)
            return config;
    }
    PLAYBACK_LOG(Error, General, SourceFile, "Failed to find a valid match for EGLConfig %d",
                 static_cast<int>(capturedConfig));
    return nullptr;
}

void EGLPlaybackAdapter::BuildAttribList(std::uint32_t capturedConfig, std::vector<int>* out, const int* keys,
                                         std::size_t count) const
{
    if (!out)
        return;
    if (const auto* attribs = m_resourceTable->GetEGLConfigAttribs(capturedConfig)) {
        for (std::size_t i = 0; i < count; ++i)
            if (const auto found = attribs->find(keys[i]); found != attribs->end())
                Append(*out, found->first, found->second);
    }
    out->push_back(EGL_NONE);
}

bool EGLPlaybackAdapter::MatchConfig(EGLDisplay display, EGLConfig config, const EGLint* attribs)
{
    if (!display || !config || !attribs || attribs[0] == EGL_NONE || !LiveEGL.eglGetConfigAttrib)
        return false;
    for (; attribs[0] != EGL_NONE; attribs += 2) {
        EGLint value = 0;
        if (LiveEGL.eglGetConfigAttrib(display, config, attribs[0], &value) != EGL_TRUE || value != attribs[1])
            return false;
    }
    return true;
}

EGLConfig EGLPlaybackAdapter::ChooseConfig(EGLDisplay display, const EGLint* attribs)
{
    EGLint count = 0;
    if (!CallLive(LiveEGL.eglChooseConfig, display, attribs, nullptr, 0, &count) || count <= 0)
        return nullptr;
    std::vector<EGLConfig> configs(static_cast<std::size_t>(count));
    if (!LiveEGL.eglChooseConfig(display, attribs, configs.data(), count, &count))
        return nullptr;
    const auto match = std::find_if(configs.begin(), configs.end(),
                                    [&](EGLConfig config) { return MatchConfig(display, config, attribs); });
    return match == configs.end() ? configs.front() : *match;
}

EGLConfig EGLPlaybackAdapter::CreateOverrideConfig(EGLDisplay display, const std::string& spec, int samples)
{
    if (!display)
        return nullptr;
    AttribList list;
    if (spec.find('R') != std::string::npos)
        AppendComponents(list, spec, samples, SourceFile);
    else
        AppendDepths(list, spec, samples, SourceFile);
    if (samples > 1) {
        Append(list, EGL_SAMPLES, samples);
        Append(list, EGL_SAMPLE_BUFFERS, 1);
    }
    Append(list, EGL_RENDERABLE_TYPE, EGL_OPENGL_ES2_BIT | EGL_OPENGL_ES3_BIT_KHR);
    list.push_back(EGL_NONE);
    const EGLConfig config = ChooseConfig(display, list.data());
    if (!config) {
        PLAYBACK_LOG(Notice, General, SourceFile,
                     "EGLConfig override failed.  No match for specified config settings.");
    }
    return config;
}

template <class Query>
void EGLPlaybackAdapter::ListConfigs(const char* name, Data::PointerData* configs, std::int32_t capacity,
                                     Data::PointerData* count, Query query)
{
    // The driver writes its configs over the captured numbers, which are all the capture says of which is which.
    std::vector<std::uint64_t> captured;
    if (configs->HasData()) {
        const auto* numbers = configs->As<std::uint64_t>();
        captured.assign(numbers, numbers + configs->GetCount());
    }
    if (capacity > configs->GetCount())
        configs->ResizeArray(static_cast<std::uint32_t>(capacity));
    auto* live = configs->As<EGLConfig>();
    auto* liveCount = count->As<EGLint>();
    const EGLBoolean listed = query(live, live ? std::min(capacity, configs->GetCount()) : capacity, liveCount);
    CheckErrorState(name);
    if (!listed || !live || !liveCount || *liveCount < 0)
        return;
    const auto pairs = std::min(captured.size(), static_cast<std::size_t>(*liveCount));
    for (std::size_t i = 0; i < pairs; ++i)
        m_resourceTable->AddIdEGLConfig(static_cast<std::uint32_t>(captured[i]), live[i]);
}

void EGLPlaybackAdapter::Process_eglGetConfigs(std::int32_t /*captured*/, std::uint32_t dpy, Data::PointerData* configs,
                                               std::int32_t config_size, Data::PointerData* num_config)
{
    Trace("eglGetConfigs", __LINE__);
    if (!LiveEGL.eglGetConfigs)
        return;
    const EGLDisplay display = GetDisplay(dpy);
    ListConfigs("eglGetConfigs", configs, config_size, num_config, [&](EGLConfig* live, EGLint room, EGLint* count) {
        return LiveEGL.eglGetConfigs(display, live, room, count);
    });
}

void EGLPlaybackAdapter::Process_eglChooseConfig(std::int32_t /*captured*/, std::uint32_t dpy,
                                                 Data::PointerData* attrib_list, Data::PointerData* configs,
                                                 std::int32_t config_size, Data::PointerData* num_config)
{
    Trace("eglChooseConfig", __LINE__);
    if (!LiveEGL.eglChooseConfig)
        return;
    const EGLDisplay display = GetDisplay(dpy);
    ListConfigs("eglChooseConfig", configs, config_size, num_config, [&](EGLConfig* live, EGLint room, EGLint* count) {
        return LiveEGL.eglChooseConfig(display, attrib_list->As<EGLint>(), live, room, count);
    });
}

} // namespace Playback
