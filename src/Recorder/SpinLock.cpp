#include "Recorder/SpinLock.h"

#include <ctime>
#include <sched.h>

namespace Recorder {

void SpinLock::Wait()
{
    for (unsigned tries = 0; m_held.exchange(true, std::memory_order_acquire); ++tries) {
        if (tries >= 200) {
            const timespec pause = {0, 50'000};
            nanosleep(&pause, nullptr);
        } else if (tries >= 100) {
            sched_yield();
        }
    }
}

} // namespace Recorder
