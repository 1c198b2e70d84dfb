#include "Host/Timing/Telling.h"

#include <utility>

namespace Host {

bool Telling::Hold(bool isHeld)
{
    if (isHeld != m_isHeld) {
        if (isHeld)
            m_mutex.lock();
        else
            m_mutex.unlock();
    }
    return std::exchange(m_isHeld, isHeld);
}

} // namespace Host
