#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdio>

#include "core/platform/files.h"
#include "core/platform/path_text.h"
#include "core/platform/posix/descriptor.h"
#include "core/platform/posix/durable.h"
#include "core/platform/posix/failure.h"
#include "core/platform/posix/ownership.h"
#include "core/platform/posix/temporary_file.h"

namespace brindle {

namespace {

// The last component's links, followed by hand because the file at their end need not exist yet.
std::expected<std::string, Error> endOfLinks(std::string path) {
    constexpr int kMostLinks = 40;
    for (int followed = 0; followed < kMostLinks; ++followed) {
        std::string target(PATH_MAX, '\0');
        const ssize_t length = ::readlink(path.c_str(), target.data(), target.size());
        if (length < 0 && (errno == EINVAL || errno == ENOENT)) return path;
        if (length < 0) return failure("follow", path);
        target.resize(static_cast<std::size_t>(length));
        path = target.starts_with('/') ? target : folderOf(path) + "/" + target;
    }
    return failure("follow", path, ELOOP);
}

// A file beside the one to be replaced, gone again unless it took the other's place.
class ReplacementFile {
  public:
    explicit ReplacementFile(int folder) : folder_(folder) {}
    ReplacementFile(const ReplacementFile&) = delete;
    ReplacementFile& operator=(const ReplacementFile&) = delete;
    ~ReplacementFile() {
        const int before = errno;
        if (file_) ::unlinkat(folder_, name_.c_str(), 0);
        errno = before;
    }

    // Not named after the file: its name may already be as long as a name can be.
    bool create() {
        do {
            name_ = nextTemporaryName();
            file_ = Descriptor(retried([&] {
                return ::openat(folder_, name_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW,
                                0600);
            }));
        } while (!file_ && errno == EEXIST);
        return static_cast<bool>(file_);
    }

    bool fill(std::string_view content, std::uint32_t mode) {
        return writeAll(file_.get(), content) && giveToOwnerOf(folder_, file_.get()) &&
               ::fchmod(file_.get(), static_cast<mode_t>(mode)) == 0 && syncToDisk(file_.get()) == 0;
    }

    bool takePlaceOf(const std::string& name) {
        if (::renameat(folder_, name_.c_str(), folder_, name.c_str()) != 0) return false;
        file_.reset();
        return true;
    }

  private:
    int folder_;
    std::string name_;
    Descriptor file_;
};

}  // namespace

std::expected<void, Error> writeFileAtomically(const std::string& path, std::string_view content,
                                               std::uint32_t mode) {
    const auto target = endOfLinks(path);
    if (!target) return std::unexpected(target.error());
    const std::string parent = folderOf(*target);
    const std::string name(lastComponent(*target));
    if (name.empty()) return failure("write", path, EISDIR);
    if (auto made = createFolders(parent); !made) return made;
    const Descriptor folder(
        retried([&] { return ::open(parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
    if (!folder) return failure("open", parent);

    ReplacementFile replacement(folder.get());
    if (!replacement.create()) return failure("create a file in", parent);
    if (!replacement.fill(content, mode)) return failure("write", path);
    if (!replacement.takePlaceOf(name)) return failure("replace", path);
    if (syncFolder(folder.get()) != 0) return failure("sync the folder of", path);
    return {};
}

}  // namespace brindle
