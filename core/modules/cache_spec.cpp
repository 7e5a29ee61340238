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

// What both kinds of entries say of a folder that has been measured; the rest is the entry's own.
template <typename Spec>
CleanupItemFields fieldsOf(const Spec& spec, ModuleID module, const std::string& detail,
                           const DirectoryMeasurement& measurement) {
    return {
        .id = std::string(rawText(module)) + "." + spec.key,
        .moduleID = module,
        .title = spec.title,
        .detail = detail,
        .measurement = measurement,
        .classification = Classification::protected_,
        .explanation = {},
        .removal = {},
        .projectPath = std::nullopt,
        .clears = std::nullopt,
    };
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
        CleanupItemFields fields = fieldsOf(*this, module, context.displayPath(where), *measurement);
        fields.classification = classification;
        fields.explanation = {whatItIs, whatHappensNext, whySuggested, regeneratedBy,
                              factsOf(context, *measurement)};
        fields.removal = command ? RemovalStrategy{*command} : RemovalStrategy{DeletePaths{{where}}};
        return CleanupItem(std::move(fields));
    }
    return std::nullopt;
}

std::optional<CleanupItem> ProtectedSpec::item(const ScanContext& context, ModuleID module) const {
    const std::string where = context.path(relativePath);
    const auto measurement = measureOccupied(context, where);
    if (!measurement) return std::nullopt;
    CleanupItemFields fields = fieldsOf(*this, module, context.displayPath(where), *measurement);
    fields.explanation = {reason, "Nothing is removed by Brindle.", {}, {}, factsOf(context, *measurement)};
    fields.removal = {DeletePaths{{where}}};
    return CleanupItem(std::move(fields));
}

}  // namespace brindle
