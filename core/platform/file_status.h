// What lstat says of an object, in the widths that Brindle compares and persists.
#pragma once

#include <cstdint>
#include <expected>
#include <string>

#include "core/platform/error.h"

namespace brindle {

struct FileStatus {
    std::int32_t device = 0;  // the low 32 bits of st_dev
    std::uint64_t inode = 0;
    std::uint16_t mode = 0;  // type and permission bits
    std::uint64_t linkCount = 0;
    std::int64_t size = 0;                 // bytes
    std::uint64_t blocks = 0;              // of 512 bytes
    std::int64_t modified = 0;             // seconds since 1970, rounded down
    std::int32_t modifiedNanoseconds = 0;  // beyond the second
    // Of the last change of content, name, owner or times themselves, in nanoseconds since 1970: nobody can set it.
    std::int64_t changedNanoseconds = 0;

    bool isFolder() const;
    bool isLink() const;
    bool isRegular() const;
};

// Whether both describe one object: device, inode and mode. What was written into it meanwhile does not matter.
bool isSameObject(const FileStatus& one, const FileStatus& other);

// Of the path itself: a symbolic link is described as the link.
std::expected<FileStatus, Error> statusOf(const std::string& path);

// Whether anything lies there, links followed: a link that leads nowhere does not exist.
bool exists(const std::string& path);

}  // namespace brindle
