#include "core/platform/files.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <system_error>

#include <dirent.h>

#include "core/platform/posix/descriptor.h"
#include "core/platform/posix/durable.h"
#include "core/platform/posix/failure.h"
#include "core/platform/posix/ownership.h"

namespace brindle {

namespace {

// A pipe without a writer would hold up a plain open for ever: O_NONBLOCK, then a look at what was opened.
std::expected<Descriptor, Error> openRegular(const std::string& path) {
    Descriptor file(
        retried([&] { return ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY); }));
    if (!file) return failure("open", path);
    struct stat status{};
    if (::fstat(file.get(), &status) != 0) return failure("look at", path);
    if (S_ISDIR(status.st_mode)) return failure("read", path, EISDIR);
    if (!S_ISREG(status.st_mode)) return std::unexpected(malformedError("read", path, "not a regular file"));
    return file;
}

// The size is read, not asked for: files below /proc have none, and a log grows while it is read.
std::expected<std::string, Error> readAll(const Descriptor& file, const std::string& path,
                                          std::uint64_t offset, std::uint64_t most) {
    constexpr std::size_t kFirstChunk = 64U << 10U;
    constexpr std::size_t kBiggestChunk = 4U << 20U;
    std::string content;
    std::size_t chunk = kFirstChunk;
    while (content.size() < most) {
        const std::size_t had = content.size();
        content.resize(had + static_cast<std::size_t>(std::min<std::uint64_t>(chunk, most - had)));
        const ssize_t got = retried([&] {
            return ::pread(file.get(), content.data() + had, content.size() - had,
                           static_cast<off_t>(offset + had));
        });
        if (got < 0) return failure("read", path);
        content.resize(had + static_cast<std::size_t>(got));
        if (got == 0) break;
        chunk = std::min(chunk * 2, kBiggestChunk);
    }
    return content;
}

}  // namespace

std::expected<std::string, Error> readFile(const std::string& path, std::uint64_t limit) {
    const auto file = openRegular(path);
    if (!file) return std::unexpected(file.error());
    auto content = readAll(*file, path, 0, limit);
    if (!content || content->size() < limit) return content;
    char beyond = 0;
    const ssize_t got = retried([&] { return ::pread(file->get(), &beyond, 1, static_cast<off_t>(limit)); });
    if (got < 0) return failure("read", path);
    if (got > 0) return failure("read", path, EFBIG);
    return content;
}

std::expected<std::string, Error> readFileFrom(const std::string& path, std::uint64_t offset,
                                               std::uint64_t most) {
    const auto file = openRegular(path);
    if (!file) return std::unexpected(file.error());
    return readAll(*file, path, offset, most);
}

std::expected<void, Error> probeFile(const std::string& path, std::size_t most) {
    const auto content = readFileFrom(path, 0, most);
    if (!content) return std::unexpected(content.error());
    return {};
}

namespace {

// Best effort: a folder that stays root's can still be read by its user's programs, and a parent that may not be
// opened cannot be synced either. False when what is new in the parent may not outlast a power cut.
bool settleInParent(const std::string& path) {
    const Descriptor made(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!made) return true;
    const Descriptor parent(::openat(made.get(), "..", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!parent) return true;
    giveToOwnerOf(parent.get(), made.get());
    return syncFolder(parent.get()) == 0;
}

}  // namespace

std::expected<void, Error> createFolders(const std::string& path, std::uint32_t mode) {
    struct stat status{};
    if (::stat(path.c_str(), &status) == 0) {
        if (S_ISDIR(status.st_mode)) return {};
        return failure("create the folder", path, EEXIST);
    }
    if (errno != ENOENT) return failure("create the folder", path);
    const std::size_t end = path.find_last_not_of('/');
    if (end == std::string::npos) return failure("create the folder", path, ENOENT);
    const std::size_t slash = path.find_last_of('/', end);
    if (slash != std::string::npos && slash > 0) {
        if (auto parent = createFolders(path.substr(0, slash), mode); !parent) return parent;
    }
    if (::mkdir(path.c_str(), static_cast<mode_t>(mode)) == 0) {
        if (!settleInParent(path)) return failure("sync the folder of", path);
        return {};
    }
    const int reason = errno;
    // Somebody else may have made it in the meantime.
    if (::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) return {};
    return failure("create the folder", path, reason);
}

std::expected<std::vector<std::string>, Error> listFolder(const std::string& path) {
    Descriptor folder(retried([&] { return ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
    if (!folder) return failure("open", path);
    const std::unique_ptr<DIR, int (*)(DIR*)> stream(::fdopendir(folder.get()), &::closedir);
    if (!stream) return failure("list", path);
    folder.release();
    std::vector<std::string> names;
    errno = 0;
    while (const dirent* entry = ::readdir(stream.get())) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") names.emplace_back(name);
        errno = 0;
    }
    if (errno != 0) return failure("list", path);
    return names;
}

bool isExecutableFile(const std::string& path) {
    struct stat status{};
    return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
           ::faccessat(AT_FDCWD, path.c_str(), X_OK, AT_EACCESS) == 0;
}

std::string systemTemporaryFolder() {
#ifdef _CS_DARWIN_USER_TEMP_DIR
    char path[PATH_MAX] = {};
    const std::size_t length = ::confstr(_CS_DARWIN_USER_TEMP_DIR, path, sizeof path);
    if (length > 1 && length <= sizeof path) return path;
#endif
    return "/tmp";
}

std::expected<TemporaryFolder, Error> TemporaryFolder::create(std::string_view prefix,
                                                              const std::string& parent) {
    const bool closed = parent.ends_with('/');
    std::string path = parent + (closed ? "" : "/") + std::string(prefix) + "-XXXXXX";
    if (::mkdtemp(path.data()) == nullptr) return failure("create a temporary folder in", parent);
    return TemporaryFolder(std::move(path));
}

TemporaryFolder::~TemporaryFolder() {
    remove();
}

TemporaryFolder::TemporaryFolder(TemporaryFolder&& other) noexcept : path_(std::exchange(other.path_, {})) {}

TemporaryFolder& TemporaryFolder::operator=(TemporaryFolder&& other) noexcept {
    if (this != &other) {
        remove();
        path_ = std::exchange(other.path_, {});
    }
    return *this;
}

// What may lie there is known: no need to ask what it is, and nothing that hangs.
std::expected<std::string, Error> TemporaryFolder::takeFile(std::string_view name, std::uint64_t most) const {
    const std::string path = path_ + "/" + std::string(name);
    const Descriptor file(
        retried([&] { return ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK); }));
    if (!file) return failure("open", path);
    auto content = readAll(file, path, 0, most);
    ::unlink(path.c_str());
    return content;
}

void TemporaryFolder::remove() noexcept {
    if (path_.empty()) return;
    std::error_code ignored;
    // An empty one needs no descriptor, of which there may be none left.
    if (!std::filesystem::remove(path_, ignored)) std::filesystem::remove_all(path_, ignored);
    path_.clear();
}

namespace {

std::expected<Descriptor, Error> lockedFile(const std::string& path, int operation) {
    const std::size_t slash = path.find_last_of('/');
    if (slash != std::string::npos && slash > 0) {
        if (auto made = createFolders(path.substr(0, slash)); !made) return std::unexpected(made.error());
    }
    // Never through a link, and only what was made here is given away: root may be led anywhere.
    constexpr int kFlags = O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
    Descriptor file(retried([&] { return ::open(path.c_str(), kFlags | O_CREAT | O_EXCL, 0600); }));
    if (file) {
        const std::string folderPath = slash == std::string::npos ? "." : path.substr(0, slash + 1);
        const Descriptor folder(::open(folderPath.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (folder) giveToOwnerOf(folder.get(), file.get());
    } else if (errno == EEXIST) {
        file = Descriptor(retried([&] { return ::open(path.c_str(), kFlags); }));
    }
    if (!file) return failure("open the lock", path);
    if (retried([&] { return ::flock(file.get(), operation); }) != 0) return failure("lock", path);
    return file;
}

}  // namespace

std::expected<FileLock, Error> FileLock::acquire(const std::string& path) {
    auto file = lockedFile(path, LOCK_EX);
    if (!file) return std::unexpected(file.error());
    return FileLock(file->release());
}

std::expected<FileLock, Error> FileLock::tryAcquire(const std::string& path) {
    auto file = lockedFile(path, LOCK_EX | LOCK_NB);
    if (!file) return std::unexpected(file.error());
    return FileLock(file->release());
}

FileLock::~FileLock() {
    const Descriptor closed(descriptor_);
}

FileLock::FileLock(FileLock&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}

FileLock& FileLock::operator=(FileLock&& other) noexcept {
    if (this != &other) {
        const Descriptor closed(descriptor_);
        descriptor_ = std::exchange(other.descriptor_, -1);
    }
    return *this;
}

std::expected<bool, Error> isFileLocked(const std::string& path) {
    const Descriptor file(retried(
        [&] { return ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | O_NOFOLLOW); }));
    if (!file) return failure("open", path);
    struct stat status{};
    if (::fstat(file.get(), &status) != 0) return failure("look at", path);
    if (!S_ISREG(status.st_mode))
        return std::unexpected(malformedError("ask for the lock of", path, "not a regular file"));
    // Only an exclusive lock meets every other. It goes with the descriptor.
    if (retried([&] { return ::flock(file.get(), LOCK_EX | LOCK_NB); }) == 0) return false;
    if (errno == EWOULDBLOCK) return true;
    return failure("ask for the lock of", path);
}

}  // namespace brindle
