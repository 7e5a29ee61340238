// Files that root makes in somebody's folder belong to that somebody. For the bodies of core/platform only.
#pragma once

#include <sys/stat.h>
#include <unistd.h>

namespace brindle {

// Gives a file just made to the owner of the folder in which it lies; nothing to do for anyone but root. A file that
// root left behind with mode 0600 would lock its owner out of their own settings.
inline bool giveToOwnerOf(int folder, int file) {
    if (::geteuid() != 0) return true;
    struct stat status{};
    return ::fstat(folder, &status) == 0 && ::fchown(file, status.st_uid, status.st_gid) == 0;
}

}  // namespace brindle
