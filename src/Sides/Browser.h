#pragma once

#include <string>

namespace Sides {

/// Has the desktop's browser open an address, without waiting for it; says so, as `program`, where there is none.
void OpenBrowser(const std::string& program, const std::string& address);

} // namespace Sides
