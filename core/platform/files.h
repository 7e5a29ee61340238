// Whole files and folders by path: small configuration and record files, never the trees that are measured.
//
// Every function is safe to call from any thread. Paths are bytes. All descriptors are close-on-exec. Calls
// that a signal interrupts are repeated.
#pragma once

#include <cstdint>
#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/platform/error.h"

namespace brindle {

// The biggest file that is taken into memory unless the caller says otherwise.
inline constexpr std::uint64_t kReadLimit = 256ULL << 20U;

// The content of a regular file, whole. Follows links. A folder is Kind::other (EISDIR), a file of more than
// `limit` bytes is Kind::other (EFBIG), a pipe, socket or device is Kind::malformed; none of them is ever
// waited for.
std::expected<std::string, Error> readFile(const std::string& path, std::uint64_t limit = kReadLimit);

// What stands in the file from byte `offset` on, at most `most` bytes; empty when nothing has been added.
std::expected<std::string, Error> readFileFrom(const std::string& path, std::uint64_t offset,
                                               std::uint64_t most = kReadLimit);

// Opens the file for reading and reads at most `most` bytes, to learn whether it can be read at all.
std::expected<void, Error> probeFile(const std::string& path, std::size_t most = 1);

// Replaces the file by `content` so that a reader sees the old bytes or the new ones, never a mixture, also
// after a power cut: a new file beside it, synced, renamed over it, the folder synced. Missing parents are
// made (0700). A link is replaced where it points to, not itself. The file has exactly `mode`, whatever the
// umask. On failure the old file is untouched and no remnant stays; only when the very last step fails
// (operation "sync the folder of") are the new bytes there already, and may be lost in a power cut.
std::expected<void, Error> writeFileAtomically(const std::string& path, std::string_view content,
                                               std::uint32_t mode = 0600);

// Removes from a folder what writeFileAtomically could not, because its process was killed. What belongs to a process that
// still runs is left.
void removeAbandonedFiles(const std::string& directory);

// Makes the folder and its missing parents, each synced; one that is there already, also through a link, is success.
// Anything else in the way is Kind::alreadyExists, or Kind::missing where a parent is no folder.
std::expected<void, Error> createFolders(const std::string& path, std::uint32_t mode = 0700);

// The names directly inside a folder, without "." and "..", in no particular order.
std::expected<std::vector<std::string>, Error> listFolder(const std::string& path);

// Whether a regular file lies there that this process may execute (links are followed).
bool isExecutableFile(const std::string& path);

// The user's own temporary folder on macOS, /tmp elsewhere: no environment is read.
std::string systemTemporaryFolder();

// A fresh folder (0700) whose name begins with `prefix`, inside `parent`; removed with all it holds when the
// object goes.
class TemporaryFolder {
  public:
    static std::expected<TemporaryFolder, Error> create(std::string_view prefix,
                                                        const std::string& parent = systemTemporaryFolder());
    ~TemporaryFolder();
    TemporaryFolder(TemporaryFolder&& other) noexcept;
    TemporaryFolder& operator=(TemporaryFolder&& other) noexcept;

    const std::string& path() const { return path_; }

    // The first `most` bytes of a regular file in it, which is gone afterwards.
    std::expected<std::string, Error> takeFile(std::string_view name, std::uint64_t most) const;

  private:
    explicit TemporaryFolder(std::string path) : path_(std::move(path)) {}
    void remove() noexcept;
    std::string path_;  // empty after a move
};

// An exclusive lock between processes on a file that is created when missing (0600, missing parents 0700) and
// never removed. It dies with its holder and is not handed to child processes. Two locks of one process on
// one file also exclude each other, so a thread that acquires a lock it holds already waits for ever.
class FileLock {
  public:
    // Waits until the lock is held.
    static std::expected<FileLock, Error> acquire(const std::string& path);
    // Kind::busy when somebody else holds it.
    static std::expected<FileLock, Error> tryAcquire(const std::string& path);
    ~FileLock();
    FileLock(FileLock&& other) noexcept;
    FileLock& operator=(FileLock&& other) noexcept;

  private:
    explicit FileLock(int descriptor) : descriptor_(descriptor) {}
    int descriptor_ = -1;
};

// Whether some process holds a lock of FileLock's kind on a regular file, exclusive or shared. The file is neither made
// nor changed; an open lock is held for the moment of asking. A link is not followed (Kind::other, ELOOP).
std::expected<bool, Error> isFileLocked(const std::string& path);

}  // namespace brindle
