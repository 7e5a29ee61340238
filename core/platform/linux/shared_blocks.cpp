#include "core/platform/shared_blocks.h"

#include <fcntl.h>
#include <linux/fiemap.h>
#include <linux/fs.h>
#include <sys/ioctl.h>

#include <array>
#include <cstddef>
#include <new>
#include <span>

#include "core/platform/posix/descriptor.h"

namespace brindle {

namespace {

constexpr std::uint32_t kExtentsAtOnce = 64;
constexpr std::uint32_t kNoPlace = FIEMAP_EXTENT_UNKNOWN | FIEMAP_EXTENT_DELALLOC | FIEMAP_EXTENT_NOT_ALIGNED;

// The kernel's record, and behind it the room for its answer.
class Question {
  public:
    Question() : head_(new(room_.data()) fiemap) {}

    bool ask(int file, std::uint64_t from) {
        head_->fm_start = from;
        head_->fm_length = FIEMAP_MAX_OFFSET - from;
        head_->fm_flags = 0;
        head_->fm_mapped_extents = 0;
        head_->fm_extent_count = kExtentsAtOnce;
        head_->fm_reserved = 0;
        return ::ioctl(file, FS_IOC_FIEMAP, head_) == 0;
    }
    std::span<const fiemap_extent> answer() const { return {head_->fm_extents, head_->fm_mapped_extents}; }

  private:
    alignas(fiemap) std::array<std::byte, sizeof(fiemap) + kExtentsAtOnce * sizeof(fiemap_extent)> room_{};
    fiemap* head_;
};

}  // namespace

std::optional<StoragePlaces> sharedStorageOf(const std::string& path) {
    const Descriptor file(
        retried([&] { return ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC); }));
    if (!file) return std::nullopt;
    StoragePlaces places;
    std::uint64_t from = 0;
    Question question;
    while (question.ask(file.get(), from) && !question.answer().empty()) {
        for (const fiemap_extent& extent : question.answer()) {
            const bool isShared = (extent.fe_flags & FIEMAP_EXTENT_SHARED) != 0;
            if (!isShared || (extent.fe_flags & kNoPlace) != 0) return std::nullopt;
            places.insert(places.end(), {extent.fe_logical, extent.fe_physical, extent.fe_length});
            from = extent.fe_logical + extent.fe_length;
            if ((extent.fe_flags & FIEMAP_EXTENT_LAST) != 0) return places;
        }
    }
    return std::nullopt;
}

}  // namespace brindle
