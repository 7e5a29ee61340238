#include "core/platform/file_status.h"

#include <sys/stat.h>

#include <cerrno>

#include "core/platform/posix/status_record.h"

namespace brindle {

bool FileStatus::isFolder() const {
    return S_ISDIR(mode);
}
bool FileStatus::isLink() const {
    return S_ISLNK(mode);
}
bool FileStatus::isRegular() const {
    return S_ISREG(mode);
}

bool isSameObject(const FileStatus& one, const FileStatus& other) {
    return one.device == other.device && one.inode == other.inode && one.mode == other.mode;
}

std::expected<FileStatus, Error> statusOf(const std::string& path) {
    struct stat record{};
    if (::lstat(path.c_str(), &record) != 0) {
        return std::unexpected(errorFrom(errno, "examine", path));
    }
    return statusFrom(record);
}

bool exists(const std::string& path) {
    struct stat record{};
    return ::stat(path.c_str(), &record) == 0;
}

}  // namespace brindle
