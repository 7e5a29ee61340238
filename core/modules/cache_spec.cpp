#include "core/modules/cache_spec.h"

#include "core/platform/known_folders.h"
#include "core/text/byte_format.h"

namespace brindle {

namespace {

constexpr std::string_view kLibraryCaches = "Library/Caches";

bool isEmptyFolder(const DirectoryMeasurement& measurement) {
    return measurement.isComplete() && measurement.fileCount == 0 && measurement.deduplicatedBytes == 0 &&
           measurement.directoryCount == 1;
}

// Some file systems count an empty folder as occupied, and a walk that was broken off knows only part of the
// truth.
std::optional<DirectoryMeasurement> measureOccupied(const ScanContext& context, const std::string& folder) {
    auto measurement = context.measure(folder);
    if (!measurement || measurement->allocatedBytes == 0 || isEmptyFolder(*measurement)) return std::nullopt;
    if (context.isCancelled()) return std::nullopt;
    return measurement;
}

std::vector<Fact> factsOf(const ScanContext& context, const DirectoryMeasurement& measurement) {
    return {
        {"Last modified", context.relativeAge(measurement.newestModified)},
        {"Files", ByteFormat::count(measurement.fileCount)},
    };
}

std::string itemID(ModuleID module, const std::string& key) {
    return std::string(rawText(module)) + "." + key;
}

}  // namespace

std::vector<std::string> CacheSpec::folders(const ScanContext& context) const {
    std::vector<std::string> folders = {context.path(relativePath)};
    if (relativePath.starts_with(kLibraryCaches) && kUserCachesFolder != kLibraryCaches) {
        folders.push_back(
            context.path(std::string(kUserCachesFolder) + relativePath.substr(kLibraryCaches.size())));
    }
    return folders;
}

std::optional<CleanupItem> CacheSpec::item(const ScanContext& context, ModuleID module) const {
    for (const std::string& where : folders(context)) {
        const auto measurement = measureOccupied(context, where);
        if (!measurement) continue;
        return CleanupItem(CleanupItemFields{
            .id = itemID(module, key),
            .moduleID = module,
            .title = title,
            .detail = context.displayPath(where),
            .measurement = *measurement,
            .classification = classification,
            .explanation = {whatItIs, whatHappensNext, whySuggested, regeneratedBy,
                            factsOf(context, *measurement)},
            .removal = command ? RemovalStrategy{*command} : RemovalStrategy{DeletePaths{{where}}},
            .projectPath = std::nullopt,
            .clears = std::nullopt,
        });
    }
    return std::nullopt;
}

std::optional<CleanupItem> ProtectedSpec::item(const ScanContext& context, ModuleID module) const {
    const std::string where = context.path(relativePath);
    const auto measurement = measureOccupied(context, where);
    if (!measurement) return std::nullopt;
    return CleanupItem(CleanupItemFields{
        .id = itemID(module, key),
        .moduleID = module,
        .title = title,
        .detail = context.displayPath(where),
        .measurement = *measurement,
        .classification = Classification::protected_,
        .explanation = {reason, "Nothing is removed by Brindle.", {}, {}, factsOf(context, *measurement)},
        .removal = {DeletePaths{{where}}},
        .projectPath = std::nullopt,
        .clears = std::nullopt,
    });
}

}  // namespace brindle
