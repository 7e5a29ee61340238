#include "core/scan/storage_survey.h"

#include <algorithm>

namespace brindle {

namespace {

using Kind = StorageCategory::Kind;

StorageCategory sliceOf(Kind kind, const StorageSurvey::Slice& slice) {
    return {kind, slice.bytes.value_or(0), slice.bytes.has_value(), slice.blockedReason};
}

}  // namespace

std::vector<StorageCategory> storageBreakdown(const std::optional<DiskInfo>& disk,
                                              std::uint64_t developerBytes, const StorageSurvey& survey) {
    std::vector<StorageCategory> slices = {{Kind::developer, developerBytes, true, std::nullopt}};
    if (!disk) return slices;
    slices.push_back(sliceOf(Kind::applications, survey.applications));
    slices.push_back(sliceOf(Kind::documents, survey.documents));
    std::uint64_t left = disk->usedBytes();
    for (StorageCategory& slice : slices) {
        slice.bytes = std::min(slice.bytes, left);
        left -= slice.bytes;
    }
    slices.push_back({Kind::other, left, true, std::nullopt});
    slices.push_back({Kind::free, std::min(disk->freeBytes, disk->totalBytes), true, std::nullopt});
    return slices;
}

}  // namespace brindle
