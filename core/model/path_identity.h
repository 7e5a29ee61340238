// Which object lay at a path: compared again just before anything is removed.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace brindle {

struct PathIdentity {
    std::int32_t device = 0;
    std::uint64_t inode = 0;
    std::uint16_t mode = 0;  // type and permission bits

    bool operator==(const PathIdentity&) const = default;

    // By lstat: a symbolic link is identified as the link. Absent when that fails.
    static std::optional<PathIdentity> read(const std::string& path);
};

}  // namespace brindle
