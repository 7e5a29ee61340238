#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

#include "core/platform/open_folder.h"
#include "core/platform/path_text.h"
#include "core/platform/posix/descriptor.h"
#include "core/platform/posix/directory_entry.h"
#include "core/platform/posix/folder_flags.h"
#include "core/platform/posix/ownership.h"

namespace brindle {

namespace {

constexpr int kLastFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr int kPassedFlags = kSearchOnlyFlags | O_NOFOLLOW;

Descriptor openOne(int parent, const char* name, int flags) {
    return Descriptor(retried([&] { return ::openat(parent, name, flags); }));
}

// Somebody else may make it at the same moment: then theirs is the one.
Descriptor openMaking(int parent, const char* name, int flags, std::uint32_t mode) {
    Descriptor found = openOne(parent, name, flags);
    if (found || errno != ENOENT) return found;
    const bool isOurs = ::mkdirat(parent, name, static_cast<mode_t>(mode)) == 0;
    if (!isOurs && errno != EEXIST) return Descriptor();
    Descriptor made = openOne(parent, name, isOurs ? kLastFlags : flags);
    if (made && isOurs) giveToOwnerOf(parent, made.get());
    return made;
}

}  // namespace

int OpenFolder::openBelow(const OpenFolder& start, std::string_view relative,
                          std::optional<std::uint32_t> making) {
    const std::vector<std::string_view> names = pathComponents(relative);
    close();
    Descriptor folder = openOne(start.descriptor_, ".", names.empty() ? kLastFlags : kPassedFlags);
    for (std::size_t index = 0; folder && index < names.size(); ++index) {
        const std::string name(names[index]);
        if (isSelfOrParent(name.c_str()) || name.contains('\0')) return EINVAL;
        const int flags = index + 1 == names.size() ? kLastFlags : kPassedFlags;
        folder = making ? openMaking(folder.get(), name.c_str(), flags, *making)
                        : openOne(folder.get(), name.c_str(), flags);
    }
    if (!folder) return errno;
    descriptor_ = folder.release();
    return 0;
}

int OpenFolder::openWithoutLinks(const std::string& path) {
    close();
    if (!path.starts_with('/')) return EINVAL;
    OpenFolder top;
    const int failure = top.openPath("/");
    return failure != 0 ? failure : openBelow(top, path);
}

}  // namespace brindle
