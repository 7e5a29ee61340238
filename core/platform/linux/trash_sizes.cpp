#include "core/platform/linux/trash_sizes.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <optional>

#include "core/platform/posix/descriptor.h"
#include "core/platform/posix/new_file.h"
#include "core/platform/posix/temporary_file.h"
#include "core/platform/trash_record.h"

namespace brindle {

namespace {

constexpr const char* kFile = "directorysizes";
constexpr off_t kMostBytes = off_t{16} << 20;

// Empty when there is none yet; absent when what lies there cannot be what it should be.
std::optional<std::string> readSizes(const OpenFolder& root) {
    const Descriptor file(retried([&] {
        return ::openat(root.descriptor(), kFile, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    }));
    if (!file) return errno == ENOENT ? std::optional<std::string>("") : std::nullopt;
    struct stat status{};
    if (::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_size > kMostBytes)
        return std::nullopt;
    std::string text(static_cast<std::size_t>(status.st_size), '\0');
    std::size_t had = 0;
    while (had < text.size()) {
        const ssize_t got = retried([&] {
            return ::pread(file.get(), text.data() + had, text.size() - had, static_cast<off_t>(had));
        });
        if (got <= 0) return std::nullopt;
        had += static_cast<std::size_t>(got);
    }
    return text;
}

void writeSizes(const OpenFolder& root, const std::string& text) {
    OpenFolder listing;
    if (listing.openAt(root, ".") == 0) removeAbandonedFrom(listing);
    const std::string fresh = nextTemporaryName();
    if (writeNewFileAt(root.descriptor(), fresh, text) != 0) return;
    if (::renameat(root.descriptor(), fresh.c_str(), root.descriptor(), kFile) != 0)
        ::unlinkat(root.descriptor(), fresh.c_str(), 0);
}

}  // namespace

void noteTrashSize(const TrashFolder& trash, const std::string& name, std::uint64_t bytes) {
    const auto sizes = readSizes(trash.root);
    FileStatus record;
    if (!sizes || trash.info.statusAt((name + std::string(kTrashInfoSuffix)).c_str(), record) != 0) return;
    writeSizes(trash.root, withTrashSize(*sizes, name, {bytes, record.modified}));
}

void forgetTrashSize(const OpenFolder& root, const std::string& name) {
    const auto sizes = readSizes(root);
    if (!sizes) return;
    const std::string kept = withoutTrashSize(*sizes, name);
    if (kept != *sizes) writeSizes(root, kept);
}

}  // namespace brindle
