#include "Recorder/Symbols/PreferEs.h"

#include <cstdlib>

#include "Recorder/Settings.h"
#include "Recorder/Thread.h"

namespace Recorder {

bool PrefersEs() noexcept
{
    static const bool isWanted = [] {
        const char* const value = std::getenv(PreferEsVariable);
        return value != nullptr && *value != '\0';
    }();
    return isWanted;
}

bool HidesDesktopGL() noexcept
{
    return PrefersEs() && !DriverGuard::Inside();
}

} // namespace Recorder
