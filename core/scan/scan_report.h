// The result of one scan: never changed after it is built, free to pass between threads.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "core/model/disk_info.h"
#include "core/model/project.h"
#include "core/model/project_relation.h"
#include "core/model/storage_category.h"
#include "core/scan/module_result.h"
#include "core/text/calendar.h"

namespace brindle {

struct ScanReport {
    std::vector<ModuleResult> modules;  // largest first
    std::optional<DiskInfo> disk;       // absent when the capacity could not be read
    double duration = 0;                // seconds of wall time
    TimePoint finishedAt;
    std::vector<Project> projects;
    std::vector<StorageCategory> storage;

    bool operator==(const ScanReport&) const = default;

    std::vector<CleanupItem> allItems() const;
    std::vector<UnreachableLocation> unreachable() const;
    std::uint64_t developerBytes() const;
    std::uint64_t reclaimableBytes() const;
    std::uint64_t bytes(Classification classification) const;
    std::vector<ModuleResult> installedModules() const;  // tool present and something found
    std::vector<Project> dormantProjects() const;        // last used 90 whole days or more before the end
    // What the safety guard may take for folders of applications that are gone.
    std::set<std::string> vouchedLeftoverPaths() const;
    // The generated folders of the projects: the only ones in them that it may let go.
    std::set<std::string> vouchedProjectPaths() const;
    // Project path -> the projects that look like the same work.
    std::map<std::string, RelatedProjects> projectRelations() const;
    bool isPartial() const;  // some place or slice could not be measured
};

}  // namespace brindle
