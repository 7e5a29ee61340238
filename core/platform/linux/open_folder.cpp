// Listing through getdents64: the C library's stream would cost an extra status call and a copy for each
// folder.
#include "core/platform/open_folder.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "core/platform/posix/directory_entry.h"

namespace brindle {

namespace {

// The kernel's record (getdents64(2)): inode 8 bytes, offset 8, length 2, type 1, then the name with its NUL.
constexpr std::size_t kLengthOffset = 16;
constexpr std::size_t kTypeOffset = 18;
constexpr std::size_t kNameOffset = 19;

}  // namespace

bool EntryBlock::next(ListedEntry& entry) {
    while (position_ < used_) {
        const std::byte* record = bytes_.get() + position_;
        std::uint16_t length = 0;
        std::memcpy(&length, record + kLengthOffset, sizeof length);
        position_ += length;
        entry.name = reinterpret_cast<const char*>(record + kNameOffset);
        if (isSelfOrParent(entry.name)) continue;
        entry.kind = kindOfEntry(std::to_integer<unsigned char>(record[kTypeOffset]));
        return true;
    }
    return false;
}

void OpenFolder::close() {
    if (descriptor_ >= 0) ::close(descriptor_);
    descriptor_ = -1;
}

int OpenFolder::read(EntryBlock& block, bool& isAtEnd) {
    block.position_ = 0;
    block.used_ = 0;
    const long got = ::syscall(SYS_getdents64, descriptor_, block.bytes_.get(), EntryBlock::kCapacity);
    if (got < 0) return errno;
    block.used_ = static_cast<std::size_t>(got);
    isAtEnd = got == 0;
    return 0;
}

}  // namespace brindle
