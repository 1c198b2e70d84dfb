#pragma once

#include <cstdint>

#include "Interfaces/GLAdapter.h"
#include "Playback/Statistics/FeatureLog.h"

namespace Playback {

struct Feature;

/// Takes the place of the replay of OpenGL ES calls in a run with -stats: nothing is executed, uses of features are
/// recorded in the store and in "glstats.txt". Calls without a handler here are ignored. Handlers that count calls or
/// only notice an extension are generated from api/90-statistics.api, as are the tables of values.
class GLStatsAdapter : public Data::GLNullAdapter, public FeatureLog {
public:
    /// Records nothing but the lines of the text file.
    GLStatsAdapter();
    /// The store outlives the adapter.
    explicit GLStatsAdapter(StatsBin* store);

    void SetCurrentThread(std::uint32_t threadId) override { SetThread(threadId); }

    /// Writes the two reports of the adapter's own categories, of which there are none: "_gl.xml" and, under the name
    /// of the store's, "_flat.xml".
    void LogXml();

    /// Counts a glFinish or a glFlush, which is what number_of_draws and the lines "Draw Called" stand for.
    void LogIncrementDrawCount();
    void LogTextureTargetUse(std::uint32_t target);
    void LogStencilFaceInfo(std::uint32_t face);
    void LogStencilFuncInfo(std::uint32_t function);
    void LogTexelDataFormat(std::uint32_t format);
    /// Pixels. A minimum of 0 gives way to any size, so 2D uploads, whose depth is 0, take a minimum depth back to 0.
    void LogTextureSize(std::int32_t dimensions, std::int32_t width, std::int32_t height, std::int32_t depth);
    void LogRenderBufferSize(std::int32_t width, std::int32_t height);

    void Process_glSamplerParameteri(std::uint32_t, std::uint32_t pname, std::int32_t) override;
    void Process_glSamplerParameterf(std::uint32_t, std::uint32_t pname, float) override;
    void Process_glSamplerParameterfv(std::uint32_t, std::uint32_t pname, Data::PointerData*) override;
    void Process_glFinish() override;
    void Process_glFlush() override;
    void Process_glClientWaitSync(std::uint32_t, std::uint32_t, std::uint32_t, std::int64_t timeout) override;
    void Process_glEndTilingTAVO(std::uint32_t) override;
    /// Compares the name of the texture, not the target, with the targets.
    void Process_glBindTexture(std::uint32_t, std::uint32_t texture) override;
    void Process_glCreateShader(std::uint32_t, std::uint32_t type) override;
    void Process_glCreateShaderProgramv(std::uint32_t, std::uint32_t type, std::int32_t, Data::PointerData*) override;
    void Process_glQueryCounterEXT(std::uint32_t, std::uint32_t target) override;
    void Process_glEnable(std::uint32_t cap) override;
    void Process_glStencilFunc(std::uint32_t func, std::int32_t, std::uint32_t) override;
    void Process_glStencilFuncSeparate(std::uint32_t, std::uint32_t func, std::int32_t, std::uint32_t) override;
    void Process_glTexImage2D(std::uint32_t target, std::int32_t, std::int32_t internalformat, std::int32_t width,
                              std::int32_t height, std::int32_t, std::uint32_t format, std::uint32_t,
                              Data::PointerData*) override;
    void Process_glTexSubImage2D(std::uint32_t target, std::int32_t, std::int32_t, std::int32_t, std::int32_t width,
                                 std::int32_t height, std::uint32_t format, std::uint32_t, Data::PointerData*) override;
    void Process_glTexImage3D(std::uint32_t target, std::int32_t, std::int32_t internalformat, std::int32_t width,
                              std::int32_t height, std::int32_t depth, std::int32_t, std::uint32_t format,
                              std::uint32_t, Data::PointerData*) override;
    void Process_glTexSubImage3D(std::uint32_t target, std::int32_t, std::int32_t, std::int32_t, std::int32_t,
                                 std::int32_t width, std::int32_t height, std::int32_t depth, std::uint32_t format,
                                 std::uint32_t, Data::PointerData*) override;
    void Process_glRenderbufferStorage(std::uint32_t, std::uint32_t, std::int32_t width, std::int32_t height) override;
    void Process_glRenderbufferStorageMultisample(std::uint32_t, std::int32_t, std::uint32_t, std::int32_t width,
                                                  std::int32_t height) override;

#include "Playback/GLStatsHandlers.inc"

private:
    /// Records the use that `value` stands for, or logs that it stands for none.
    void LogFeature(const Feature& feature, std::uint32_t value);
    void LogSize(std::string_view minimumKey, std::string_view maximumKey, std::int32_t value);
    void LogSamplerParameter(std::uint32_t pname);

    StatsCategories m_categories;
};

} // namespace Playback
