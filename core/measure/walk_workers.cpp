#include "core/measure/walk_workers.h"

#include <tbb/global_control.h>

#include <algorithm>

#include "core/platform/machine.h"

namespace brindle {

namespace {

struct Workers {
    tbb::global_control limit{tbb::global_control::max_allowed_parallelism,
                              static_cast<std::size_t>(walkWorkerCount())};
    tbb::task_arena arena{walkWorkerCount()};
    tbb::task_arena readers{kReaders};
};

// Never destroyed: a thread of a face may still be in a walk when the process exits.
Workers& workers() {
    static auto* const kWorkers = new Workers;
    return *kWorkers;
}

}  // namespace

// A walk that finds nothing cached waits for the disk, and a disk answers many questions at once: sixteen
// threads on two processors took about half the time of two, and cost nothing where everything was cached.
int walkWorkerCount() {
    constexpr int kFewest = 16;
    constexpr int kMost = 64;
    return std::clamp(2 * static_cast<int>(processorCount()), kFewest, kMost);
}

tbb::task_arena& walkArena() {
    return workers().arena;
}

tbb::task_arena& readerArena() {
    return workers().readers;
}

}  // namespace brindle
