#include "core/platform/priority.h"

#include <sys/resource.h>

namespace brindle {

void lowerPriority() {
    ::setpriority(PRIO_DARWIN_THREAD, 0, PRIO_DARWIN_BG);
}

}  // namespace brindle
