#include "Playback/Windows/WindowManager.h"

namespace Playback {

WindowManager::~WindowManager()
{
    m_windows.clear();
}

} // namespace Playback
