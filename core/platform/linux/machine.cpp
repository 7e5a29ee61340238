#include "core/platform/machine.h"

#include <sched.h>

#include <algorithm>
#include <thread>

namespace brindle {

std::expected<std::string, Error> executablePath() {
    return canonicalPath("/proc/self/exe");
}

unsigned processorCount() {
    cpu_set_t allowed;
    CPU_ZERO(&allowed);
    if (sched_getaffinity(0, sizeof(allowed), &allowed) == 0) {
        return static_cast<unsigned>(std::max(1, CPU_COUNT(&allowed)));
    }
    return std::max(1U, std::thread::hardware_concurrency());
}

}  // namespace brindle
