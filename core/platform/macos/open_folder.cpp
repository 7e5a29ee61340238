// Listing through the C library's stream, packed into blocks: one byte of type, then the name with its NUL.
#include "core/platform/open_folder.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "core/platform/posix/directory_entry.h"

namespace brindle {

namespace {

// A stream of its own descriptor: closing it must not close the folder that status calls still use.
DIR* streamOf(int descriptor) {
    const int copy = ::openat(descriptor, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (copy < 0) return nullptr;
    DIR* stream = ::fdopendir(copy);
    if (stream == nullptr) ::close(copy);
    return stream;
}

}  // namespace

bool EntryBlock::next(ListedEntry& entry) {
    if (position_ >= used_) return false;
    const std::byte* record = bytes_.get() + position_;
    entry.kind = kindOfEntry(std::to_integer<unsigned char>(record[0]));
    entry.name = reinterpret_cast<const char*>(record + 1);
    position_ += 1 + std::strlen(entry.name) + 1;
    return true;
}

void OpenFolder::close() {
    if (stream_ != nullptr) ::closedir(static_cast<DIR*>(stream_));
    stream_ = nullptr;
    if (descriptor_ >= 0) ::close(descriptor_);
    descriptor_ = -1;
}

int OpenFolder::read(EntryBlock& block, bool& isAtEnd) {
    block.position_ = 0;
    block.used_ = 0;
    isAtEnd = false;
    if (stream_ == nullptr) stream_ = streamOf(descriptor_);
    if (stream_ == nullptr) return errno;
    constexpr std::size_t kLargestRecord = 1 + sizeof(dirent::d_name);
    while (block.used_ + kLargestRecord <= EntryBlock::kCapacity) {
        errno = 0;
        const dirent* entry = ::readdir(static_cast<DIR*>(stream_));
        if (entry == nullptr && errno != 0) return errno;
        if (entry == nullptr) break;
        if (isSelfOrParent(entry->d_name)) continue;
        const std::size_t length = std::strlen(entry->d_name) + 1;
        block.bytes_[block.used_] = static_cast<std::byte>(entry->d_type);
        std::memcpy(block.bytes_.get() + block.used_ + 1, entry->d_name, length);
        block.used_ += 1 + length;
    }
    isAtEnd = block.used_ == 0;
    return 0;
}

}  // namespace brindle
