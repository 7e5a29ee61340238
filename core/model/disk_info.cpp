#include "core/model/disk_info.h"

#include "core/platform/volume.h"

namespace brindle {

std::optional<DiskInfo> DiskInfo::current(const std::string& path) {
    const auto capacity = volumeCapacity(path);
    if (!capacity) return std::nullopt;
    return DiskInfo{capacity->name.value_or("Macintosh HD"), capacity->totalBytes, capacity->availableBytes};
}

}  // namespace brindle
