// What one scan hands to every module.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "core/measure/directory_sizer.h"
#include "core/scan/scan_diagnostics.h"
#include "core/text/calendar.h"

namespace brindle {

// One entry directly inside a folder.
struct ChildEntry {
    std::string path;
    std::chrono::sys_seconds modified;  // the earliest moment when it could not be read

    bool operator==(const ChildEntry&) const = default;
};

// Where the user's projects lie.
struct ProjectPlaces {
    std::set<std::string> paths;
    std::set<std::string>
        unread;  // further ones may lie there: not to be listed, too deep, or on another volume
};

// A value that lives for one scan; copies share the diagnostics and the tracker. Safe to use from any thread.
struct ScanContext {
    std::string home;  // absolute, without a trailing "/"
    std::shared_ptr<ScanDiagnostics> diagnostics = std::make_shared<ScanDiagnostics>();
    DirectorySizer sizer;
    std::shared_ptr<HardlinkTracker> hardlinks = std::make_shared<HardlinkTracker>();
    TimePoint now;                             // every age of the scan is measured against it
    std::set<std::string> activeProjectPaths;  // handed in by the caller
    // Below the user's project folders, whatever the scan includes. May wait until they are found.
    std::function<ProjectPlaces()> projectPlaces = [] { return ProjectPlaces(); };
    CancellationTest isCancelled = [] { return false; };
    MountPoints mounts = MountPoints::current();

    // The home folder with a relative path appended.
    std::string path(std::string_view relative) const;

    // Whether anything lies there, links followed.
    bool exists(const std::string& path) const;

    // Absent when cancelled or when nothing lies there (a missing cache is no error; a folder on the way that cannot
    // be entered is recorded). Unreadable, vanished and
    // foreign places met on the way are recorded in the diagnostics. The path stands in the measurement's places.
    std::optional<DirectoryMeasurement> measure(const std::string& path) const;

    // Hidden entries are left out. A folder that is there and cannot be listed is recorded and has no
    // children.
    std::vector<ChildEntry> children(const std::string& path) const;

    // Whole days by the calendar; negative for a date to come.
    std::optional<int> days(std::optional<std::chrono::sys_seconds> since) const;

    // "today", "3 days ago", "last month": localised.
    std::string relativeAge(std::optional<std::chrono::sys_seconds> date) const;

    // A path with the home folder written "~"; one outside the home is whole.
    std::string displayPath(const std::string& path) const;
};

}  // namespace brindle
