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
    /// The platform is that of OpenDriver.
    explicit DriverProbe(wl_display* compositor);
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
    EGLDisplay m_display = EGL_NO_DISPLAY;
    EGLContext m_context = EGL_NO_CONTEXT;
};

} // namespace Host
