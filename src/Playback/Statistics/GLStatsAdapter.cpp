#include "Playback/Statistics/GLStatsAdapter.h"

#include <GLES2/gl2.h>
#include <GLES2/gl2ext.h>
#include <algorithm>
#include <cstdlib>
#include <span>
#include <string>

#include "Interfaces/Core.h"
#include "Playback/Statistics/StatsReport.h"

namespace Playback {

/// A value of an argument that is the use of a feature.
struct FeatureValue {
    std::uint32_t value;
    const char* item;
    /// Keys that the use sets to True; the second may be null.
    const char* keys[2];
};

struct Feature {
    /// Key of the list that the items go to.
    std::string_view items;
    /// What an unknown value is called in the log.
    const char* name;
    std::span<const FeatureValue> values;
};

namespace {

#include "Playback/StatsFeatures.inc"

} // namespace

GLStatsAdapter::GLStatsAdapter() : GLStatsAdapter(nullptr) {}

GLStatsAdapter::GLStatsAdapter(StatsBin* store) : FeatureLog(store, "glstats.txt", 'G')
{
    static constexpr ExtensionFunction Functions[] = {
#include "Playback/GLStatsExtensions.inc"
    };
    InitializeExtnMap(Functions);
}

void GLStatsAdapter::LogXml()
{
    StatsMap none;
    StatsMap& statistics = m_statistics ? *m_statistics : none;
    static_cast<void>(WriteGroupedReport(m_captureFileName + "_gl.xml", m_categories, statistics));
    static_cast<void>(WriteFlatReport(m_captureFileName + "_flat.xml", m_categories, statistics));
}

void GLStatsAdapter::LogIncrementDrawCount()
{
    Note("Draw Called\n");
    FeatureLog::LogIncrementDrawCount();
}

void GLStatsAdapter::LogFeature(const Feature& feature, std::uint32_t value)
{
    const auto used = std::find_if(feature.values.begin(), feature.values.end(),
                                   [value](const FeatureValue& known) { return known.value == value; });
    if (used == feature.values.end()) {
        PLAYBACK_LOG(Warning, General, "src/Playback/GLStatsAdapter", "Unhandled %s = %d", feature.name,
                     static_cast<std::int32_t>(value));
        return;
    }
    for (const char* key : used->keys)
        if (key)
            Set(key, "True");
    if (feature.items == "texture_type")
        LogTextureTypeUsed(used->item);
    else if (feature.items == "shader_type")
        LogShaderTypeUsed(used->item);
    else if (feature.items == "query_type")
        LogQueryTypeUsed(used->item);
    else
        LogItemTypeUsed(feature.items, used->item);
}

void GLStatsAdapter::LogTextureTargetUse(std::uint32_t target)
{
    LogFeature(textureTargets, target);
}

void GLStatsAdapter::LogStencilFaceInfo(std::uint32_t face)
{
    LogFeature(stencilFaces, face);
}

void GLStatsAdapter::LogStencilFuncInfo(std::uint32_t function)
{
    LogFeature(stencilFunctions, function);
}

void GLStatsAdapter::LogTexelDataFormat(std::uint32_t format)
{
    LogFeature(texelFormats, format);
}

void GLStatsAdapter::LogSize(std::string_view minimumKey, std::string_view maximumKey, std::int32_t value)
{
    const auto number = [this](std::string_view key) {
        return static_cast<std::int32_t>(std::strtol(std::string(Get(key)).c_str(), nullptr, 10));
    };
    if (const std::int32_t minimum = number(minimumKey); minimum == 0 || value < minimum)
        Set(minimumKey, std::to_string(value));
    if (const std::int32_t maximum = number(maximumKey); maximum == 0 || maximum < value)
        Set(maximumKey, std::to_string(value));
}

void GLStatsAdapter::LogTextureSize(std::int32_t /*dimensions*/, std::int32_t width, std::int32_t height,
                                    std::int32_t depth)
{
    LogSize("Min_Texture_Width", "Max_Texture_Width", width);
    LogSize("Min_Texture_Height", "Max_Texture_Height", height);
    LogSize("Min_Texture_Depth", "Max_Texture_Depth", depth);
}

void GLStatsAdapter::LogRenderBufferSize(std::int32_t width, std::int32_t height)
{
    LogSize("Min_Render_Buf_Width", "Max_Render_Buf_Width", width);
    LogSize("Min_Render_Buf_Height", "Max_Render_Buf_Height", height);
}

void GLStatsAdapter::LogSamplerParameter(std::uint32_t pname)
{
    if (pname == GL_TEXTURE_MAX_ANISOTROPY_EXT)
        Set("anisotropic_sampling_used", "True");
}

void GLStatsAdapter::Process_glSamplerParameteri(std::uint32_t, std::uint32_t pname, std::int32_t)
{
    LogSamplerParameter(pname);
}

void GLStatsAdapter::Process_glSamplerParameterf(std::uint32_t, std::uint32_t pname, float)
{
    LogSamplerParameter(pname);
}

void GLStatsAdapter::Process_glSamplerParameterfv(std::uint32_t, std::uint32_t pname, Data::PointerData*)
{
    LogSamplerParameter(pname);
}

void GLStatsAdapter::Process_glFinish()
{
    LogIncrementDrawCount();
    LogBlockingCallUsed("glFinish");
}

void GLStatsAdapter::Process_glFlush()
{
    LogIncrementDrawCount();
    LogNonBlockingCallUsed("glFlush");
}

void GLStatsAdapter::Process_glClientWaitSync(std::uint32_t, std::uint32_t, std::uint32_t, std::int64_t timeout)
{
    if (timeout == 0)
        LogNonBlockingCallUsed("glClientWaitSync");
    else
        LogBlockingCallUsed("glClientWaitSync");
}

void GLStatsAdapter::Process_glEndTilingTAVO(std::uint32_t)
{
    LogNonBlockingCallUsed("glEndTilingTAVO");
    LogExtensionCall("Process_glEndTilingTAVO");
}

void GLStatsAdapter::Process_glBindTexture(std::uint32_t, std::uint32_t texture)
{
    LogFeature(textureNames, texture);
}

void GLStatsAdapter::Process_glCreateShader(std::uint32_t, std::uint32_t type)
{
    LogFeature(shaderTypes, type);
}

void GLStatsAdapter::Process_glCreateShaderProgramv(std::uint32_t, std::uint32_t type, std::int32_t, Data::PointerData*)
{
    LogFeature(shaderTypes, type);
}

void GLStatsAdapter::Process_glQueryCounterEXT(std::uint32_t, std::uint32_t target)
{
    LogFeature(queryTypes, target);
    LogExtensionCall("Process_glQueryCounterEXT");
}

void GLStatsAdapter::Process_glEnable(std::uint32_t cap)
{
    LogFeature(capabilities, cap);
}

void GLStatsAdapter::Process_glStencilFunc(std::uint32_t func, std::int32_t, std::uint32_t)
{
    LogStencilFuncInfo(func);
}

void GLStatsAdapter::Process_glStencilFuncSeparate(std::uint32_t, std::uint32_t func, std::int32_t, std::uint32_t)
{
    LogStencilFuncInfo(func);
}

void GLStatsAdapter::Process_glTexImage2D(std::uint32_t target, std::int32_t, std::int32_t internalformat,
                                          std::int32_t width, std::int32_t height, std::int32_t, std::uint32_t format,
                                          std::uint32_t, Data::PointerData*)
{
    LogTextureTargetUse(target);
    LogTexelDataFormat(format);
    LogTexelDataFormat(static_cast<std::uint32_t>(internalformat));
    LogTextureSize(2, width, height, 0);
}

void GLStatsAdapter::Process_glTexSubImage2D(std::uint32_t target, std::int32_t, std::int32_t, std::int32_t,
                                             std::int32_t width, std::int32_t height, std::uint32_t format,
                                             std::uint32_t, Data::PointerData*)
{
    LogTextureTargetUse(target);
    LogTexelDataFormat(format);
    LogTextureSize(2, width, height, 0);
}

void GLStatsAdapter::Process_glTexImage3D(std::uint32_t target, std::int32_t, std::int32_t internalformat,
                                          std::int32_t width, std::int32_t height, std::int32_t depth, std::int32_t,
                                          std::uint32_t format, std::uint32_t, Data::PointerData*)
{
    LogTextureTargetUse(target);
    LogTexelDataFormat(format);
    LogTexelDataFormat(static_cast<std::uint32_t>(internalformat));
    LogTextureSize(3, width, height, depth);
}

void GLStatsAdapter::Process_glTexSubImage3D(std::uint32_t target, std::int32_t, std::int32_t, std::int32_t,
                                             std::int32_t, std::int32_t width, std::int32_t height, std::int32_t depth,
                                             std::uint32_t format, std::uint32_t, Data::PointerData*)
{
    LogTextureTargetUse(target);
    LogTexelDataFormat(format);
    LogTextureSize(3, width, height, depth);
}

void GLStatsAdapter::Process_glRenderbufferStorage(std::uint32_t, std::uint32_t, std::int32_t width,
                                                   std::int32_t height)
{
    LogRenderBufferSize(width, height);
}

void GLStatsAdapter::Process_glRenderbufferStorageMultisample(std::uint32_t, std::int32_t, std::uint32_t,
                                                              std::int32_t width, std::int32_t height)
{
    LogRenderBufferSize(width, height);
}

} // namespace Playback
