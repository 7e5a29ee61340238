// The breakdown of the whole volume.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "core/model/disk_info.h"
#include "core/model/storage_category.h"

namespace brindle {

// What lies on the volume beside developer data.
struct StorageSurvey {
    struct Slice {
        std::optional<std::uint64_t> bytes;        // absent: not measured
        std::optional<std::string> blockedReason;  // why not, where somebody tried; English source

        bool operator==(const Slice&) const = default;
    };

    Slice applications;
    Slice documents;
};

// Developer, applications, documents, everything else and free, in this order. They sum to the capacity, whatever was
// measured: "everything else" is what remains of the used bytes, what nobody measured among it. When the measured slices
// exceed the used bytes (files that changed meanwhile, blocks that clones share, figures that a tool reports), "everything
// else" is 0 and documents are cut, then applications, and developer data last: what two slices share was counted for the
// first of them. More free than there is counts as the capacity. Without a capacity only the developer slice is there.
std::vector<StorageCategory> storageBreakdown(const std::optional<DiskInfo>& disk,
                                              std::uint64_t developerBytes, const StorageSurvey& survey);

}  // namespace brindle
