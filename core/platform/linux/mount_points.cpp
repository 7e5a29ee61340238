#include "core/platform/mount_points.h"

#include "core/platform/files.h"

namespace brindle {

// Of the thread: one may have mounts of its own.
MountPoints MountPoints::current() {
    const auto table = readFile("/proc/thread-self/mountinfo");
    return table ? fromTable(*table) : MountPoints();
}

}  // namespace brindle
