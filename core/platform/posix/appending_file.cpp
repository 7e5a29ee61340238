#include "core/platform/appending_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "core/platform/path_text.h"
#include "core/platform/posix/descriptor.h"
#include "core/platform/posix/durable.h"
#include "core/platform/posix/failure.h"
#include "core/platform/posix/ownership.h"

namespace brindle {

namespace {

std::expected<Descriptor, Error> folderHolding(const std::string& path) {
    const std::string parent = folderOf(path);
    Descriptor folder(retried([&] { return ::open(parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
    if (!folder) return failure("open", parent);
    return folder;
}

}  // namespace

std::expected<AppendingFile, Error> AppendingFile::create(const std::string& path,
                                                          std::string_view firstLine) {
    const auto folder = folderHolding(path);
    if (!folder) return std::unexpected(folder.error());
    const std::string name(lastComponent(path));
    constexpr int kFlags = O_WRONLY | O_APPEND | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    Descriptor opened(retried([&] { return ::openat(folder->get(), name.c_str(), kFlags, 0600); }));
    if (!opened) return failure("create", path);
    AppendingFile file(path, opened.release());
    const bool isPrivate =
        giveToOwnerOf(folder->get(), file.descriptor_) && ::fchmod(file.descriptor_, 0600) == 0;
    auto done = isPrivate ? file.append(firstLine) : std::expected<void, Error>(failure("prepare", path));
    if (done && (syncToDisk(file.descriptor_) != 0 || syncFolder(folder->get()) != 0)) {
        done = failure("sync the folder of", path);
    }
    if (done) return file;
    ::unlinkat(folder->get(), name.c_str(), 0);
    return std::unexpected(done.error());
}

AppendingFile::~AppendingFile() {
    const Descriptor closed(descriptor_);
}

AppendingFile::AppendingFile(AppendingFile&& other) noexcept
    : path_(std::move(other.path_)), descriptor_(std::exchange(other.descriptor_, -1)), size_(other.size_) {}

AppendingFile& AppendingFile::operator=(AppendingFile&& other) noexcept {
    if (this != &other) {
        const Descriptor closed(descriptor_);
        path_ = std::move(other.path_);
        descriptor_ = std::exchange(other.descriptor_, -1);
        size_ = other.size_;
    }
    return *this;
}

std::expected<void, Error> AppendingFile::append(std::string_view line) {
    if (descriptor_ < 0) return failure("write", path_, EBADF);
    std::string whole(line);
    whole += '\n';
    if (writeAll(descriptor_, whole) && syncContent(descriptor_) == 0) {
        size_ += whole.size();
        return {};
    }
    const int reason = errno;
    // A line written behind half a line would be lost with it.
    [[maybe_unused]] const int cut = ::ftruncate(descriptor_, static_cast<off_t>(size_));
    const Descriptor closed(std::exchange(descriptor_, -1));
    return failure("write", path_, reason);
}

std::expected<void, Error> removeFileSynced(const std::string& path) {
    const auto folder = folderHolding(path);
    if (!folder) return std::unexpected(folder.error());
    const std::string name(lastComponent(path));
    if (::unlinkat(folder->get(), name.c_str(), 0) != 0) return failure("remove", path);
    if (syncFolder(folder->get()) != 0) return failure("sync the folder of", path);
    return {};
}

}  // namespace brindle
