#include "Host/Verify/FrameVerifier.h"

#include <algorithm>
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
    return {gl.glGetString,
            gl.glGetIntegerv,
            gl.glPixelStorei,
            gl.glBindBuffer,
            gl.glBindFramebuffer,
            gl.glReadBuffer,
            gl.glReadPixels,
            gl.glGetError,
            gl.glIsFramebuffer,
            gl.glCheckFramebufferStatus,
            gl.glGetFramebufferAttachmentParameteriv,
            gl.glBindRenderbuffer,
            gl.glGetRenderbufferParameteriv,
            gl.glBindTexture,
            gl.glGetTexLevelParameteriv};
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
    Compare(
        {m_pass, frame, surface, 0, {width, height, hash}, {}}, [this] { return ReadBackBuffer(); });
}

void FrameVerifier::Compare(const Data::FramePicture& picture, std::optional<unsigned int> framebuffer)
{
    if (picture.hash) {
        Compare(
            {m_pass, picture.frame, 0, picture.framebuffer, {picture.width, picture.height, picture.hash}, {}},
            [&] { return framebuffer ? ReadFramebuffer(*framebuffer) : Picture(); });
    } else if (m_isOn && !picture.isThere) {
        ++m_withoutPicture;
    }
}

template <class Read> void FrameVerifier::Compare(Difference frame, Read read)
{
    if (!m_isOn)
        return;
    const FrameTimer::Break pause(m_timer, FrameTimer::Beside::Comparison);
    frame.replayed = read();
    const Telling::InHost inHost(m_timer ? &m_timer->Teller() : nullptr);
    ++m_compared;
    if (frame.replayed == frame.recorded)
        ++m_equal;
    else
        m_differences.push_back(frame);
}

FrameVerifier::Picture FrameVerifier::ReadFramebuffer(unsigned int framebuffer)
{
    if (framebuffer == 0)
        return ReadBackBuffer();
    const auto found = Data::HashFramebuffer(LiveFunctions(), framebuffer, m_pixels);
    return found ? Picture{found->width, found->height, found->hash} : Picture();
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
    return m_compared != 0 && m_compared + m_withoutPicture == expected && m_equal == m_compared;
}

std::string FrameVerifier::Report(std::uint32_t expected, bool isCutShort) const
{
    if (m_compared == 0) {
        return expected == 0 ? "not verified: there is no frame to compare"
               : isCutShort  ? "not verified: no frame with a hash was reached"
                             : "not verified: the capture has no frame hashes; record it with playback-record --hash";
    }
    const std::uint32_t comparable = expected - std::min(expected, m_withoutPicture);
    std::string report = (IsVerified(expected) ? "verified: " : "not verified: ") + std::to_string(m_equal) + " of " +
                         std::to_string(comparable) + " frames equal";
    if (m_compared < comparable)
        report += ", " + std::to_string(comparable - m_compared) + " not compared";
    if (m_withoutPicture != 0)
        report += ", " + std::to_string(m_withoutPicture) + " had no picture when recorded";
    if (!m_differences.empty()) {
        const Difference& first = m_differences.front();
        report += "; first difference in frame " + std::to_string(first.frame) +
                  (first.surface != 0 ? ", surface " + std::to_string(first.surface)
                                      : ", framebuffer " + std::to_string(first.framebuffer)) +
                  ": expected " + first.recorded.Text() + ", found " + first.replayed.Text();
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
