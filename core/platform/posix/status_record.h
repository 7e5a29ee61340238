// The system's status record in Brindle's widths. For the bodies of core/platform only.
#pragma once

#include <sys/stat.h>

#include "core/platform/file_status.h"

namespace brindle {

inline const timespec& modificationOf(const struct stat& record) {
#ifdef __APPLE__
    return record.st_mtimespec;
#else
    return record.st_mtim;
#endif
}

inline std::int64_t changeOf(const struct stat& record) {
#ifdef __APPLE__
    const timespec& change = record.st_ctimespec;
#else
    const timespec& change = record.st_ctim;
#endif
    // A volume may say any second: what does not fit wraps, and is only ever compared.
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(change.tv_sec) * 1'000'000'000U +
                                     static_cast<std::uint64_t>(change.tv_nsec));
}

inline FileStatus statusFrom(const struct stat& record) {
    return {
        .device = static_cast<std::int32_t>(record.st_dev),
        .inode = static_cast<std::uint64_t>(record.st_ino),
        .mode = static_cast<std::uint16_t>(record.st_mode),
        .linkCount = static_cast<std::uint64_t>(record.st_nlink),
        .size = static_cast<std::int64_t>(record.st_size),
        .blocks = static_cast<std::uint64_t>(record.st_blocks),
        .modified = static_cast<std::int64_t>(modificationOf(record).tv_sec),
        .modifiedNanoseconds = static_cast<std::int32_t>(modificationOf(record).tv_nsec),
        .changedNanoseconds = changeOf(record),
    };
}

}  // namespace brindle
