#include "core/modules/cache_spec.h"

#include "core/modules/measured_item.h"

namespace brindle {

std::optional<CleanupItem> CacheSpec::item(const ScanContext& context, ModuleID module) const {
    for (const std::string& where : foldersInHome(context, relativePath)) {
        const auto measurement = measureOccupied(context, where);
        if (!measurement) continue;
        CleanupItemFields fields = itemFields({module, key, title, context.displayPath(where)}, *measurement);
        fields.classification = classification;
        fields.explanation = {whatItIs, whatHappensNext, whySuggested, regeneratedBy,
                              ageAndFileCount(context, *measurement)};
        fields.removal = command ? RemovalStrategy{*command} : RemovalStrategy{DeletePaths{{where}}};
        return CleanupItem(std::move(fields));
    }
    return std::nullopt;
}

std::optional<CleanupItem> ProtectedSpec::item(const ScanContext& context, ModuleID module) const {
    const std::string where = context.path(relativePath);
    const auto measurement = measureOccupied(context, where);
    if (!measurement) return std::nullopt;
    CleanupItemFields fields = itemFields({module, key, title, context.displayPath(where)}, *measurement);
    fields.explanation = {
        reason, std::string(kNothingIsRemoved), {}, {}, ageAndFileCount(context, *measurement)};
    fields.removal = {DeletePaths{{where}}};
    return CleanupItem(std::move(fields));
}

}  // namespace brindle
