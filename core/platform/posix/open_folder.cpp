#include "core/platform/open_folder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <utility>

#include "core/platform/posix/folder_flags.h"
#include "core/platform/posix/status_record.h"

namespace brindle {

namespace {

// What the system takes in one call (1,024 on macOS, 4,096 on Linux), its NUL included.
constexpr std::size_t kLongestPathInOneCall = PATH_MAX - 1;

constexpr int kListingFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

int openRetrying(int parent, const char* path, int flags) {
    int descriptor = -1;
    do {
        descriptor = ::openat(parent, path, flags);
    } while (descriptor < 0 && errno == EINTR);
    return descriptor;
}

// Goes down a long path in steps that the system takes; `rest` is what remains for the last call.
int openParentOfRest(const std::string& path, std::size_t& rest) {
    int folder = AT_FDCWD;
    while (path.size() - rest > kLongestPathInOneCall) {
        const std::size_t cut = path.rfind('/', rest + kLongestPathInOneCall);
        if (cut == std::string::npos || cut <= rest) {
            if (folder != AT_FDCWD) ::close(folder);
            errno = ENAMETOOLONG;
            return -1;
        }
        const std::string step = path.substr(rest, cut - rest);
        const int next = openRetrying(folder, step.c_str(), kSearchOnlyFlags);
        const int failure = errno;
        if (folder != AT_FDCWD) ::close(folder);
        if (next < 0) {
            errno = failure;
            return -1;
        }
        folder = next;
        rest = cut + 1;
    }
    return folder;
}

}  // namespace

OpenFolder::OpenFolder(OpenFolder&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)), stream_(std::exchange(other.stream_, nullptr)) {}

OpenFolder& OpenFolder::operator=(OpenFolder&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    std::swap(stream_, other.stream_);
    return *this;
}

int OpenFolder::openAt(const OpenFolder& parent, const char* name) {
    close();
    descriptor_ = openRetrying(parent.descriptor_, name, kListingFlags);
    return descriptor_ < 0 ? errno : 0;
}

int OpenFolder::openPath(const std::string& path) {
    close();
    std::size_t rest = 0;
    const int parent = openParentOfRest(path, rest);
    if (parent == -1) return errno;
    descriptor_ = openRetrying(parent, path.c_str() + rest, kListingFlags);
    const int failure = errno;
    if (parent != AT_FDCWD) ::close(parent);
    return descriptor_ < 0 ? failure : 0;
}

void OpenFolder::adopt(int descriptor) {
    close();
    descriptor_ = descriptor;
}

int OpenFolder::status(FileStatus& status) const {
    struct stat record{};
    if (::fstat(descriptor_, &record) != 0) return errno;
    status = statusFrom(record);
    return 0;
}

int OpenFolder::statusAt(const char* name, FileStatus& status) const {
    struct stat record{};
    if (::fstatat(descriptor_, name, &record, AT_SYMLINK_NOFOLLOW) != 0) return errno;
    status = statusFrom(record);
    return 0;
}

EntryBlock::EntryBlock() : bytes_(std::make_unique_for_overwrite<std::byte[]>(kCapacity)) {}

}  // namespace brindle
