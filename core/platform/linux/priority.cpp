#include "core/platform/priority.h"

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace brindle {

void lowerPriority() {
    // On this system both are the thread's own, and are handed on to what it starts.
    constexpr int kLowest = 19;
    ::setpriority(PRIO_PROCESS, 0, kLowest);
    // From linux/ioprio.h, which older systems lack.
    constexpr int kWhoProcess = 1;
    constexpr int kIdleClass = 3;
    constexpr int kClassShift = 13;
    ::syscall(SYS_ioprio_set, kWhoProcess, 0, kIdleClass << kClassShift);
}

}  // namespace brindle
