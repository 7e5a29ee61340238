// A file that is read as it lies there: never through a link, never waited for.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <utility>

#include "core/platform/file_status.h"

namespace brindle {

// Owns the descriptor; one thread at a time. Failures are bare errno values.
class RegularFile {
  public:
    enum class Use { parts, whole };  // how it is going to be read: what the system should read ahead

    RegularFile() = default;
    ~RegularFile() { close(); }
    RegularFile(RegularFile&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    RegularFile& operator=(RegularFile&& other) noexcept {
        std::swap(descriptor_, other.descriptor_);
        return *this;
    }

    // 0 or an errno; a link at the end of the path is ELOOP. Also opens what is no regular file, without waiting: status()
    // tells.
    int open(const std::string& path);
    void close();

    int status(FileStatus& status) const;
    void expect(Use use, std::uint64_t from, std::uint64_t bytes) const;

    // Fills the room; `got` is less only where the file ends.
    int readAt(std::uint64_t offset, std::span<std::byte> room, std::size_t& got) const;

  private:
    int descriptor_ = -1;
};

}  // namespace brindle
