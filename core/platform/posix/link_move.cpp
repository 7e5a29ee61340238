#include "core/platform/posix/link_move.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace brindle {

int moveByLink(const OpenFolder& from, const std::string& name, const OpenFolder& to,
               const std::string& newName) {
    FileStatus before;
    if (const int failure = from.statusAt(name.c_str(), before); failure != 0) return failure;
    if (before.isFolder()) return EINVAL;
    if (::linkat(from.descriptor(), name.c_str(), to.descriptor(), newName.c_str(), 0) != 0) return errno;
    FileStatus left;
    FileStatus arrived;
    // What has taken the old name in the meantime is not ours to remove; what we linked has lost that name already.
    if (from.statusAt(name.c_str(), left) != 0 || to.statusAt(newName.c_str(), arrived) != 0 ||
        !isSameObject(left, arrived))
        return 0;
    if (::unlinkat(from.descriptor(), name.c_str(), 0) == 0 || errno == ENOENT) return 0;
    const int failure = errno;
    ::unlinkat(to.descriptor(), newName.c_str(), 0);
    return failure;
}

}  // namespace brindle
