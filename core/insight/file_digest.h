// The digest of a file's content, from the file that was seen and from no other.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/measure/directory_sizer.h"
#include "core/platform/file_status.h"
#include "core/platform/regular_file.h"

namespace brindle {

using Sha256 = std::array<unsigned char, 32>;

std::string hexadecimal(const Sha256& digest);  // lower case

// A regular file without other names, as it was when it was seen.
struct SeenFile {
    std::int32_t device = 0;
    std::uint64_t inode = 0;
    std::uint64_t size = 0;
    std::int64_t modified = 0;
    std::int32_t modifiedNanoseconds = 0;

    // Still that file, nothing written to it since, and no other name given to it.
    bool is(const FileStatus& status) const;
};

// Reads one file after the other with one buffer: one of these a thread. Before the first byte the open file must be the one
// that was seen, and after the last byte so must what lies at the path. Absent otherwise, for what cannot be read, for a path
// that is longer than the system takes in one call, and when the test says so.
class DigestReader {
  public:
    explicit DigestReader(CancellationTest isCancelled);
    ~DigestReader();
    DigestReader(const DigestReader&) = delete;
    DigestReader& operator=(const DigestReader&) = delete;

    // Of the whole content.
    std::optional<Sha256> whole(const std::string& path, const SeenFile& seen);

    // Of the first and the last bytes: files of one size whose ends differ are different. Of a file of no more than
    // kEndsHoldAll bytes it is the digest of the whole.
    std::optional<Sha256> ends(const std::string& path, const SeenFile& seen);
    static constexpr std::uint64_t kEndsHoldAll = 16 * 1024;

  private:
    struct Span {
        std::uint64_t from;
        std::uint64_t bytes;
    };
    std::optional<Sha256> digest(const std::string& path, const SeenFile& seen, std::span<const Span> spans);
    bool take(const RegularFile& file, const Span& span);

    CancellationTest isCancelled_;
    std::vector<std::byte> room_;
    void* state_;  // libcrypto's; null when it has no such digest
};

}  // namespace brindle
