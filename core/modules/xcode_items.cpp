#include "core/modules/xcode_items.h"

#include "core/modules/real_folders.h"
#include "core/platform/path_text.h"

namespace brindle {

std::vector<NamedFolder> ownFolders(const ScanContext& context, std::string_view relative) {
    std::vector<NamedFolder> folders;
    if (!isRealFolder(context, relative)) return folders;
    for (std::string& path : realFoldersIn(context, context.path(relative)))
        folders.push_back({std::string(lastComponent(path)), std::move(path)});
    return folders;
}

CleanupItem protectedItem(const ScanContext& context, ProtectedRow row) {
    CleanupItemFields fields = itemFields(row.head, row.measurement);
    std::vector<Fact> facts = std::move(row.facts);
    if (row.measurement.source == DirectoryMeasurement::Source::measured) {
        for (Fact& fact : ageAndFileCount(context, row.measurement)) facts.push_back(std::move(fact));
    }
    fields.explanation = {std::move(row.reason), std::string(kNothingIsRemoved), {}, {}, std::move(facts)};
    fields.removal = {DeletePaths{std::move(row.paths)}};
    return CleanupItem(std::move(fields));
}

std::optional<CleanupItem> toolsFolderItem(const ScanContext& context, const ToolsFolder& folder) {
    if (!isRealFolder(context, folder.relativePath)) return std::nullopt;
    const std::string where = context.path(folder.relativePath);
    const auto measurement = measureOccupied(context, where);
    if (!measurement) return std::nullopt;
    return protectedItem(context,
                         {.head = {ModuleID::xcode, folder.key, folder.title, context.displayPath(where)},
                          .measurement = *measurement,
                          .reason = folder.reason,
                          .facts = {{std::string(kRemoveItYourself), folder.command}},
                          .paths = {where}});
}

}  // namespace brindle
