#pragma once

#include <cstdint>

#include "Interfaces/EGLAdapter.h"
#include "Playback/Statistics/FeatureLog.h"

namespace Playback {

/// Takes the place of the replay of EGL calls in a run with -stats: counts surfaces, and calls by whether they wait,
/// and notices extensions. "eglstats.txt" stays empty. Handlers that follow a rule are generated from
/// api/90-statistics.api; those of functions that no capture of this system has take whatever arguments a reader has.
class EGLStatsAdapter : public Data::EGLNullAdapter, public FeatureLog {
public:
    /// Records nothing.
    EGLStatsAdapter();
    /// The store outlives the adapter.
    explicit EGLStatsAdapter(StatsBin* store);

    void SetCurrentThread(std::uint32_t threadId) override { SetThread(threadId); }

    /// Nothing: the store writes the reports.
    void LogXml() {}

    void Process_eglCreateWindowSurface(std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t,
                                        Data::PointerData*) override;
    void Process_eglCreatePixmapSurface(std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t,
                                        Data::PointerData*) override;
    void Process_eglCreatePbufferSurface(std::uint32_t, std::uint32_t, std::uint32_t, Data::PointerData*) override;
    void Process_eglClientWaitSyncKHR(std::int32_t, std::uint32_t, std::uint32_t, std::int32_t,
                                      std::uint64_t timeout) override;

#include "Playback/EGLStatsHandlers.inc"

private:
    void CountSurface();
};

} // namespace Playback
