// A mount of a folder of the same volume has that volume's device number: only the kernel's own walk tells.
#include "core/platform/folder_removal.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

#include "core/platform/posix/descriptor.h"
#include "core/platform/posix/same_device.h"

namespace brindle {

namespace {

// Kernels before 5.6 do not know the call; the filters of some containers refuse it (EPERM).
std::atomic<bool> isUnknown = false;

}  // namespace

int openOnSameMount(OpenFolder& folder, const OpenFolder& parent, const char* name) {
    if (isUnknown.load(std::memory_order_relaxed)) return openOnSameDevice(folder, parent, name);
    open_how how{};
    how.flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    how.resolve = RESOLVE_NO_XDEV | RESOLVE_NO_SYMLINKS;
    const long descriptor =
        retried([&] { return ::syscall(SYS_openat2, parent.descriptor(), name, &how, sizeof how); });
    if (descriptor >= 0) {
        folder.adopt(static_cast<int>(descriptor));
        return 0;
    }
    if (errno != ENOSYS && errno != EPERM) return errno;
    if (errno == ENOSYS) isUnknown.store(true, std::memory_order_relaxed);
    return openOnSameDevice(folder, parent, name);
}

}  // namespace brindle
