#include "core/platform/rename.h"

#include <cerrno>
#include <cstdio>

#include "core/platform/posix/descriptor.h"
#include "core/platform/posix/link_move.h"

namespace brindle {

int renameWithoutReplacing(const OpenFolder& from, const std::string& name, const OpenFolder& to,
                           const std::string& newName) {
    const int outcome = retried([&] {
        return ::renameat2(from.descriptor(), name.c_str(), to.descriptor(), newName.c_str(),
                           RENAME_NOREPLACE);
    });
    if (outcome == 0) return 0;
    // Both mean that this cannot be had here; EINVAL also that a folder was to go into itself.
    if (errno == EINVAL || errno == ENOSYS) return moveByLink(from, name, to, newName);
    return errno;
}

}  // namespace brindle
