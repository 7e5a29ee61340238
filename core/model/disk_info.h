// The capacity of a volume.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace brindle {

struct DiskInfo {
    std::string volumeName;
    std::uint64_t totalBytes = 0;
    std::uint64_t freeBytes = 0;  // available for important use, as the platform counts it

    bool operator==(const DiskInfo&) const = default;

    std::uint64_t usedBytes() const { return freeBytes > totalBytes ? 0 : totalBytes - freeBytes; }

    // Of the volume that holds the path; absent when the platform tells no capacity.
    static std::optional<DiskInfo> current(const std::string& path);
};

}  // namespace brindle
