#include "core/scan/scan_report.h"

#include <algorithm>

#include "core/model/byte_sum.h"
#include "core/projects/project_cleanup.h"
#include "core/projects/project_relations.h"

namespace brindle {

namespace {

template <typename Member>
std::uint64_t sumOver(const std::vector<ModuleResult>& modules, Member member) {
    std::uint64_t sum = 0;
    for (const ModuleResult& module : modules) sum = addBytes(sum, member(module));
    return sum;
}

}  // namespace

std::vector<CleanupItem> ScanReport::allItems() const {
    std::vector<CleanupItem> items;
    for (const ModuleResult& module : modules)
        items.insert(items.end(), module.items.begin(), module.items.end());
    return items;
}

std::vector<UnreachableLocation> ScanReport::unreachable() const {
    std::vector<UnreachableLocation> locations;
    for (const ModuleResult& module : modules) {
        locations.insert(locations.end(), module.unreachable.begin(), module.unreachable.end());
    }
    return locations;
}

std::uint64_t ScanReport::developerBytes() const {
    return sumOver(modules, [](const ModuleResult& module) { return module.totalBytes(); });
}

std::uint64_t ScanReport::reclaimableBytes() const {
    return sumOver(modules, [](const ModuleResult& module) { return module.reclaimableBytes(); });
}

std::uint64_t ScanReport::bytes(Classification classification) const {
    return sumOver(modules,
                   [classification](const ModuleResult& module) { return module.bytes(classification); });
}

std::vector<ModuleResult> ScanReport::installedModules() const {
    std::vector<ModuleResult> installed;
    std::ranges::copy_if(modules, std::back_inserter(installed), [](const ModuleResult& module) {
        return module.isToolchainInstalled && !module.items.empty();
    });
    return installed;
}

std::vector<Project> ScanReport::dormantProjects() const {
    std::vector<Project> dormant;
    std::ranges::copy_if(projects, std::back_inserter(dormant),
                         [this](const Project& project) { return project.isDormant(finishedAt); });
    return dormant;
}

std::set<std::string> ScanReport::vouchedLeftoverPaths() const {
    std::set<std::string> paths;
    for (const ModuleResult& module : modules) paths.merge(module.vouchedLeftoverPaths());
    return paths;
}

std::set<std::string> ScanReport::vouchedProjectPaths() const {
    return brindle::vouchedProjectPaths(projects);
}

std::map<std::string, RelatedProjects> ScanReport::projectRelations() const {
    return relatedProjects(projects);
}

bool ScanReport::isPartial() const {
    const bool isSliceBlocked = std::ranges::any_of(
        storage, [](const StorageCategory& category) { return category.storedBlockedReason.has_value(); });
    return isSliceBlocked || std::ranges::any_of(modules, [](const ModuleResult& module) {
               return !module.unreachable.empty();
           });
}

}  // namespace brindle
