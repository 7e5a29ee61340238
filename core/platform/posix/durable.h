// Bytes that outlast a power cut. For the bodies of core/platform only. Each keeps errno from its last call.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <string_view>

#include "core/platform/posix/descriptor.h"

namespace brindle {

// On macOS a plain fsync leaves the bytes in the drive's own memory.
inline int syncToDisk(int descriptor) {
#ifdef F_FULLFSYNC
    if (::fcntl(descriptor, F_FULLFSYNC) == 0) return 0;
#endif
    return retried([&] { return ::fsync(descriptor); });
}

// Content and length of a file, before whatever this process changes on the same disk afterwards.
inline int syncContent(int descriptor) {
#ifdef F_BARRIERFSYNC
    if (::fcntl(descriptor, F_BARRIERFSYNC) == 0) return 0;
#endif
#ifdef F_FULLFSYNC
    return syncToDisk(descriptor);
#else
    return retried([&] { return ::fdatasync(descriptor); });
#endif
}

// The names in a folder. Some network and user-space file systems cannot sync a folder at all, and say so.
inline int syncFolder(int descriptor) {
    const int result = syncToDisk(descriptor);
    return result != 0 && (errno == EINVAL || errno == ENOTSUP) ? 0 : result;
}

inline bool writeAll(int descriptor, std::string_view content) {
    while (!content.empty()) {
        const ssize_t written = retried([&] { return ::write(descriptor, content.data(), content.size()); });
        if (written < 0) return false;
        content.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

}  // namespace brindle
