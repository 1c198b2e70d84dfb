#pragma once

#include <string>
#include <vector>

#include <EGL/egl.h>

#include "Data/Records/References.h"
#include "Host/Advice/Requirements.h"

struct wl_display;

namespace Data {
struct CaptureHeader;
}

namespace Host {

/// A look at the driver that is open, through a context of its own without a surface. Takes context and function tables
/// back when it is gone, so that a replay finds all as it was. A driver that makes no such context cannot be looked at.
class DriverProbe {
public:
    /// The platform is that of OpenDriver. `glVersion` is the GL_VERSION of the recording's first context: the look is
    /// through a context of OpenGL ES 1.1 when that was one, and the driver makes it.
    explicit DriverProbe(wl_display* compositor, const std::string& glVersion = {});
    ~DriverProbe();
    DriverProbe(const DriverProbe&) = delete;
    DriverProbe& operator=(const DriverProbe&) = delete;

    [[nodiscard]] bool HasContext() const { return m_context != EGL_NO_CONTEXT; }
    /// The driver is the one that the capture was recorded with, which has all that is needed.
    [[nodiscard]] bool IsRecordedWith(const Data::CaptureHeader& header) const;
    /// Empty without a context.
    [[nodiscard]] Data::DriverName Name() const;
    /// What the driver lacks, and what will happen for it, a line each.
    [[nodiscard]] std::vector<std::string> FindMissing(const Requirements& needed) const;

private:
    /// Of OpenGL ES 1.1, or of a later version; makes it current, and loads its functions.
    [[nodiscard]] EGLContext MakeContext(bool hasFixedFunctions) const;
    /// Loads the functions too that the context does not have.
    void LoadOtherApi() const;

    EGLDisplay m_display = EGL_NO_DISPLAY;
    EGLContext m_context = EGL_NO_CONTEXT;
    bool m_hasFixedFunctions = false;
};

} // namespace Host
