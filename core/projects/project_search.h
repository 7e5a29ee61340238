// What is looked for, and where.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "core/measure/directory_sizer.h"
#include "core/model/unreachable_location.h"
#include "core/platform/mount_points.h"
#include "core/text/calendar.h"

namespace brindle {

// A place that could not be looked at; may be called from several threads at once.
using ReportUnreachable = std::function<void(const std::string& path, UnreachableLocation::Reason reason)>;

// Where the time went, in seconds added over projects that are looked at side by side.
struct ProjectTimes {
    double walking = 0;
    double git = 0;
};

struct ProjectSearch {
    std::string home;                // absolute, links resolved
    std::vector<std::string> roots;  // absolute, or relative to the home folder
    int maximumDepth = 32;           // folders so many levels below a root are still looked into
    TimePoint now = {};
    HardlinkTracker* artifactHardlinks = nullptr;  // the scan's; null: every name of a file counts
    ReportUnreachable report = [](const std::string&, UnreachableLocation::Reason) {};
    CancellationTest isCancelled = [] { return false; };
    MountPoints mounts = MountPoints::current();
};

struct ProjectFolder {
    std::string path;                  // absolute, links resolved
    std::vector<std::string> entries;  // the names in it
};

}  // namespace brindle
