#include "core/platform/regular_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "core/platform/posix/descriptor.h"
#include "core/platform/posix/status_record.h"

namespace brindle {

namespace {

constexpr int kFlags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

}  // namespace

int RegularFile::open(const std::string& path) {
    close();
    descriptor_ = retried([&] { return ::open(path.c_str(), kFlags); });
    return descriptor_ < 0 ? errno : 0;
}

void RegularFile::close() {
    if (descriptor_ >= 0) ::close(std::exchange(descriptor_, -1));
}

int RegularFile::status(FileStatus& status) const {
    struct stat record{};
    if (::fstat(descriptor_, &record) != 0) return errno;
    status = statusFrom(record);
    return 0;
}

// Advice; that a system takes none is no failure.
void RegularFile::expect(Use use, std::uint64_t from, std::uint64_t bytes) const {
#ifdef POSIX_FADV_SEQUENTIAL
    (void)::posix_fadvise(descriptor_, static_cast<off_t>(from), static_cast<off_t>(bytes),
                          use == Use::whole ? POSIX_FADV_SEQUENTIAL : POSIX_FADV_RANDOM);
#else
    (void)::fcntl(descriptor_, F_RDAHEAD, use == Use::whole ? 1 : 0);
    (void)from;
    (void)bytes;
#endif
}

int RegularFile::readAt(std::uint64_t offset, std::span<std::byte> room, std::size_t& got) const {
    got = 0;
    while (got < room.size()) {
        const auto here = static_cast<off_t>(offset + got);
        const ssize_t now =
            retried([&] { return ::pread(descriptor_, room.data() + got, room.size() - got, here); });
        if (now < 0) return errno;
        if (now == 0) break;
        got += static_cast<std::size_t>(now);
    }
    return 0;
}

}  // namespace brindle
