#include "core/platform/rename.h"

#include <stdio.h>
#include <sys/stdio.h>

#include <cerrno>

#include "core/platform/posix/descriptor.h"
#include "core/platform/posix/link_move.h"

namespace brindle {

int renameWithoutReplacing(const OpenFolder& from, const std::string& name, const OpenFolder& to,
                           const std::string& newName) {
    const int outcome = retried([&] {
        return ::renameatx_np(from.descriptor(), name.c_str(), to.descriptor(), newName.c_str(), RENAME_EXCL);
    });
    if (outcome == 0) return 0;
    if (errno == ENOTSUP || errno == EINVAL) return moveByLink(from, name, to, newName);
    return errno;
}

}  // namespace brindle
