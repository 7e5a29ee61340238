#include "core/modules/measured_item.h"

#include "core/platform/known_folders.h"
#include "core/text/byte_format.h"

namespace brindle {

namespace {

constexpr std::string_view kLibraryCaches = "Library/Caches";

// Some file systems count an empty folder as occupied.
bool isEmptyFolder(const DirectoryMeasurement& measurement) {
    return measurement.isComplete() && measurement.fileCount == 0 && measurement.deduplicatedBytes == 0 &&
           measurement.directoryCount == 1;
}

}  // namespace

std::optional<DirectoryMeasurement> measureOccupied(const ScanContext& context, const std::string& path) {
    auto measurement = context.measure(path);
    if (!measurement || measurement->allocatedBytes == 0 || isEmptyFolder(*measurement)) return std::nullopt;
    if (context.isCancelled()) return std::nullopt;
    return measurement;
}

std::vector<std::string> foldersInHome(const ScanContext& context, const std::string& relativePath) {
    std::vector<std::string> folders = {context.path(relativePath)};
    if (relativePath.starts_with(kLibraryCaches) && kUserCachesFolder != kLibraryCaches) {
        folders.push_back(
            context.path(std::string(kUserCachesFolder) + relativePath.substr(kLibraryCaches.size())));
    }
    return folders;
}

std::vector<Fact> ageAndFileCount(const ScanContext& context, const DirectoryMeasurement& measurement) {
    return {
        {"Last modified", context.relativeAge(measurement.newestModified)},
        {"Files", ByteFormat::count(measurement.fileCount)},
    };
}

CleanupItemFields itemFields(const ItemHead& head, const DirectoryMeasurement& measurement) {
    return {
        .id = std::string(rawText(head.module)) + "." + head.key,
        .moduleID = head.module,
        .title = head.title,
        .detail = head.detail,
        .measurement = measurement,
        .classification = Classification::protected_,
        .explanation = {},
        .removal = {},
        .projectPath = std::nullopt,
        .clears = std::nullopt,
    };
}

void protect(CleanupItemFields& fields, const std::string& reason,
             const std::optional<std::string>& commandLine) {
    fields.classification = Classification::protected_;
    fields.explanation.storedWhatItIs = fields.explanation.whatItIs() + " " + reason;
    fields.explanation.storedWhatHappensNext = kNothingIsRemoved;
    fields.explanation.storedWhySuggested = std::nullopt;
    fields.explanation.regeneratedBy = std::nullopt;
    if (commandLine) fields.explanation.facts.push_back({"Remove it yourself with", *commandLine});
}

}  // namespace brindle
