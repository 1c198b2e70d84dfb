#include "Playback/Statistics/EGLStatsAdapter.h"

namespace Playback {

EGLStatsAdapter::EGLStatsAdapter() : EGLStatsAdapter(nullptr) {}

EGLStatsAdapter::EGLStatsAdapter(StatsBin* store) : FeatureLog(store, "eglstats.txt", 'E')
{
    static constexpr ExtensionFunction Functions[] = {
#include "Playback/EGLStatsExtensions.inc"
    };
    InitializeExtnMap(Functions);
}

void EGLStatsAdapter::CountSurface()
{
    if (m_store)
        m_store->IncrementSurfaceCountForActiveGlThread();
}

void EGLStatsAdapter::Process_eglCreateWindowSurface(std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t,
                                                     Data::PointerData*)
{
    CountSurface();
}

void EGLStatsAdapter::Process_eglCreatePixmapSurface(std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t,
                                                     Data::PointerData*)
{
    CountSurface();
}

void EGLStatsAdapter::Process_eglCreatePbufferSurface(std::uint32_t, std::uint32_t, std::uint32_t, Data::PointerData*)
{
    CountSurface();
}

void EGLStatsAdapter::Process_eglClientWaitSyncKHR(std::int32_t, std::uint32_t, std::uint32_t, std::int32_t,
                                                   std::uint64_t timeout)
{
    // The keys end in KHR, those of the category do not.
    if (timeout == 0)
        LogNonBlockingCallUsed("eglClientWaitSyncKHR");
    else
        LogBlockingCallUsed("eglClientWaitSyncKHR");
    LogExtensionCall("Process_eglClientWaitSyncKHR");
}

} // namespace Playback
