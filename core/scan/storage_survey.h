// The breakdown of the whole volume.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "core/model/disk_info.h"
#include "core/model/storage_category.h"

namespace brindle {

// What lies on the volume beside developer data. A slice that nobody has measured is absent.
struct StorageSurvey {
    std::optional<std::uint64_t> applicationsBytes;
    std::optional<std::uint64_t> documentsBytes;
};

// Developer, applications, documents, everything else and free, in this order. "Everything else" is what
// remains of the used bytes, so the slices sum to the capacity; when the measured slices exceed the used
// bytes (files that changed meanwhile, storage shared between files) it is 0. Without a capacity only the
// developer slice is there.
std::vector<StorageCategory> storageBreakdown(const std::optional<DiskInfo>& disk,
                                              std::uint64_t developerBytes, const StorageSurvey& survey);

}  // namespace brindle
