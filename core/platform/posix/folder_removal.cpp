#include "core/platform/folder_removal.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "core/platform/posix/descriptor.h"

namespace brindle {

namespace {

int failureOf(int result) {
    return result < 0 ? errno : 0;
}

}  // namespace

int removeEntryAt(const OpenFolder& folder, const char* name) {
    return failureOf(retried([&] { return ::unlinkat(folder.descriptor(), name, 0); }));
}

int removeFolderAt(const OpenFolder& folder, const char* name) {
    return failureOf(retried([&] { return ::unlinkat(folder.descriptor(), name, AT_REMOVEDIR); }));
}

int openParentOf(OpenFolder& parent, const OpenFolder& folder) {
    return parent.openAt(folder, "..");
}

int listAgain(OpenFolder& folder) {
    OpenFolder fresh;
    const int failure = fresh.openAt(folder, ".");
    if (failure == 0) folder = std::move(fresh);
    return failure;
}

int mayChange(const OpenFolder& folder) {
    return failureOf(::faccessat(folder.descriptor(), ".", W_OK | X_OK, AT_EACCESS));
}

int grantOwnerAccess(const OpenFolder& folder) {
    struct stat record{};
    if (::fstat(folder.descriptor(), &record) != 0) return errno;
    if (record.st_uid != ::geteuid() || (record.st_mode & S_IRWXU) == S_IRWXU) return EACCES;
    const mode_t mode = (record.st_mode & 07777U) | S_IRWXU;
    return failureOf(retried([&] { return ::fchmod(folder.descriptor(), mode); }));
}

}  // namespace brindle
