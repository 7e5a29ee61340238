// The threads that walks share: one arena for the whole process, and one for reading.
#pragma once

#include <tbb/task_arena.h>

namespace brindle {

// Built on first use; threads start when there is work for them. Nothing but walks runs here, so no worker
// ever waits for a tool.
tbb::task_arena& walkArena();

int walkWorkerCount();

// Beside it, for reading whole files: as many at a time as keep a disk busy, and no more, for each has its buffer.
tbb::task_arena& readerArena();
inline constexpr int kReaders = 8;

}  // namespace brindle
