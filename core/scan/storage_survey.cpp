#include "core/scan/storage_survey.h"

#include "core/model/byte_sum.h"

namespace brindle {

namespace {

StorageCategory slice(StorageCategory::Kind kind, const std::optional<std::uint64_t>& bytes) {
    return {kind, bytes.value_or(0), bytes.has_value(), std::nullopt};
}

}  // namespace

std::vector<StorageCategory> storageBreakdown(const std::optional<DiskInfo>& disk,
                                              std::uint64_t developerBytes, const StorageSurvey& survey) {
    using Kind = StorageCategory::Kind;
    std::vector<StorageCategory> slices = {slice(Kind::developer, developerBytes)};
    if (!disk) return slices;
    slices.push_back(slice(Kind::applications, survey.applicationsBytes));
    slices.push_back(slice(Kind::documents, survey.documentsBytes));
    std::uint64_t named = 0;
    for (const StorageCategory& category : slices) named = addBytes(named, category.bytes);
    const std::uint64_t used = disk->usedBytes();
    slices.push_back(slice(Kind::other, used > named ? used - named : 0));
    slices.push_back(slice(Kind::free, disk->freeBytes));
    return slices;
}

}  // namespace brindle
