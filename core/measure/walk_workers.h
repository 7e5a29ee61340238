// The threads that walks share: one arena for the whole process.
#pragma once

#include <tbb/task_arena.h>

namespace brindle {

// Built on first use; threads start when there is work for them. Nothing but walks runs here, so no worker
// ever waits for a tool.
tbb::task_arena& walkArena();

int walkWorkerCount();

}  // namespace brindle
