#include "Host/Verify/FrameVerifier.h"

#include <cinttypes>
#include <cstdio>

#include "Data/BackBuffer.h"
#include "Host/Timing/FrameTimer.h"
#include "Interfaces/Core.h"

namespace Host {

namespace {

/// The whole tables: functions that are skipped for the replay still serve here.
Data::BackBufferFunctions LiveFunctions()
{
    const Core::GLESProcTable& gl = Core::KHRLayer::GLESProc();
    return {gl.glGetString,       gl.glGetIntegerv, gl.glPixelStorei, gl.glBindBuffer,
            gl.glBindFramebuffer, gl.glReadBuffer,  gl.glReadPixels};
}

std::uint32_t QuerySurface(EGLDisplay display, EGLSurface surface, EGLint attribute)
{
    const auto query = Core::KHRLayer::EGLProc().eglQuerySurface;
    EGLint value = 0;
    return query && query(display, surface, attribute, &value) && value > 0 ? static_cast<std::uint32_t>(value) : 0;
}

} // namespace

void FrameVerifier::ProcessFrameHash(std::uint32_t frame, std::uint32_t surface, std::uint32_t width,
                                     std::uint32_t height, std::uint64_t hash)
{
    if (!m_isOn)
        return;
    const FrameTimer::Break pause(m_timer, FrameTimer::Beside::Comparison);
    const Picture recorded = {width, height, hash};
    const Picture replayed = ReadBackBuffer();
    const Telling::InHost inHost(m_timer ? &m_timer->Teller() : nullptr);
    ++m_compared;
    if (replayed == recorded)
        ++m_equal;
    else
        m_differences.push_back({m_pass, frame, surface, recorded, replayed});
}

FrameVerifier::Picture FrameVerifier::ReadBackBuffer()
{
    const Core::EGLProcTable& egl = Core::KHRLayer::EGLProc();
    if (!egl.eglGetCurrentDisplay || !egl.eglGetCurrentSurface)
        return {};
    const EGLDisplay display = egl.eglGetCurrentDisplay();
    const EGLSurface surface = egl.eglGetCurrentSurface(EGL_DRAW);
    if (display == EGL_NO_DISPLAY || surface == EGL_NO_SURFACE)
        return {};
    const std::uint32_t width = QuerySurface(display, surface, EGL_WIDTH);
    const std::uint32_t height = QuerySurface(display, surface, EGL_HEIGHT);
    return {width, height, Data::HashBackBuffer(LiveFunctions(), width, height, m_pixels)};
}

bool FrameVerifier::IsVerified(std::uint32_t expected) const
{
    return m_compared != 0 && m_compared == expected && m_equal == m_compared;
}

std::string FrameVerifier::Report(std::uint32_t expected, bool isCutShort) const
{
    if (m_compared == 0) {
        return expected == 0 ? "not verified: there is no frame to compare"
               : isCutShort  ? "not verified: no frame with a hash was reached"
                             : "not verified: the capture has no frame hashes; record it with playback-record --hash";
    }
    std::string report = (IsVerified(expected) ? "verified: " : "not verified: ") + std::to_string(m_equal) + " of " +
                         std::to_string(expected) + " frames equal";
    if (m_compared < expected)
        report += ", " + std::to_string(expected - m_compared) + " not compared";
    if (!m_differences.empty()) {
        const auto& [pass, frame, surface, recorded, replayed] = m_differences.front();
        report += "; first difference in frame " + std::to_string(frame) + ", surface " + std::to_string(surface) +
                  ": expected " + recorded.Text() + ", found " + replayed.Text();
    }
    return report;
}

std::string FrameVerifier::Picture::Text() const
{
    if (!hash)
        return "no frame to read";
    char text[64];
    std::snprintf(text, sizeof text, "%" PRIu32 "x%" PRIu32 " hash %016" PRIx64, width, height, *hash);
    return text;
}

} // namespace Host
