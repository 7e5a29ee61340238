#include "core/modules/catalogue_module.h"

#include <algorithm>

#include "core/modules/measured_item.h"

namespace brindle {

CatalogueModule::CatalogueModule(ModuleID id, std::vector<CacheSpec> specs,
                                 std::vector<ProtectedSpec> protectedSpecs)
    : id_(id), specs_(std::move(specs)), protectedSpecs_(std::move(protectedSpecs)) {}

bool CatalogueModule::isPresent(const ScanContext& context) const {
    const auto exists = [&](const std::string& folder) { return context.exists(folder); };
    return std::ranges::any_of(specs_,
                               [&](const CacheSpec& spec) {
                                   return std::ranges::any_of(foldersInHome(context, spec.relativePath),
                                                              exists);
                               }) ||
           std::ranges::any_of(protectedSpecs_, [&](const ProtectedSpec& spec) {
               return exists(context.path(spec.relativePath));
           });
}

ModuleResult CatalogueModule::scan(const ScanContext& context) const {
    ModuleResult result{
        .moduleID = id_, .items = {}, .unreachable = {}, .isToolchainInstalled = isPresent(context)};
    for (const CacheSpec& spec : specs_) {
        if (auto item = spec.item(context, id_)) result.items.push_back(std::move(*item));
    }
    for (const ProtectedSpec& spec : protectedSpecs_) {
        if (auto item = spec.item(context, id_)) result.items.push_back(std::move(*item));
    }
    return result;
}

}  // namespace brindle
