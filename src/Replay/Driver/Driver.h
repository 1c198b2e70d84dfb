#pragma once

#include <map>
#include <string>

#include "Data/Records/References.h"

struct wl_display;

namespace Replay {

/// Opens the live driver for a replay on this compositor, or off screen when it is null, and initialises its display.
/// `directory` holds the driver's libraries; empty for the system's. Returns what failed and what to do about it; empty
/// when all went well. A driver that lacks functions is opened as it is.
std::string OpenDriver(const std::string& directory, wl_display* compositor);

/// After a frame: why the driver cannot have drawn it, as a sentence; empty when a context is current, or when
/// functions that make contexts are missing or skipped.
std::string MissingContext();

/// Strings by which a driver is known, by the names of the enums that query them; none without a current context.
std::map<std::string, std::string> DriverStrings();

/// The same as captures name drivers; empty without a current context.
Data::DriverName CurrentDriver();

/// True when the current context was lost, for instance because the GPU was reset.
bool IsContextLost();

} // namespace Replay
