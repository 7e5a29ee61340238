// How much is there? Walks a tree and counts what it occupies.
//
// - Symbolic links are never followed: a link counts as itself.
// - The walk stays on the volume where it began; folders on another one are listed, not entered. So is whatever is
//   mounted in the tree, also when it is another place of the same volume.
// - A file with several names counts once for each tracker; further sightings go to deduplicatedBytes.
// - A folder that cannot be opened, an entry whose status cannot be read, and a listing that breaks off are
//   listed in unreadablePaths while everything beside them is counted. A folder that has vanished is not
//   listed.
// - One status call an entry; a folder's own comes from its open descriptor. Memory grows with the breadth of
//   what is pending, not with the number of files, and some 150 descriptors are open at a time: one for each
//   worker, at most 128 for pending subfolders, and those of large folders whose portions wait.
// - A root may be as long as the system takes a path in one call; below it there is no limit.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "core/measure/hardlink_tracker.h"
#include "core/measure/measured_tree.h"
#include "core/model/directory_measurement.h"
#include "core/platform/mount_points.h"

namespace brindle {

// Polled before every entry, from several threads at once; must be cheap and thread-safe. A null function
// never cancels.
using CancellationTest = std::function<bool()>;

struct MeasureOptions {
    HardlinkTracker* hardlinks = nullptr;  // null: every name of a file counts
    CancellationTest isCancelled = {};
    MountPoints mounts = MountPoints::current();  // whoever measures often asks once
    // Where it is given, a file with several names is told instead of counted, at each of its names; from several threads
    // at once.
    std::function<void(const FileStatus&)> onLinkedFile = {};
};

// Blocking; call it off the interface thread. A cancelled walk returns what it had counted so far.
class DirectorySizer {
  public:
    // On the calling thread alone. Works for files and links too; a path without status is listed as
    // unreadable.
    DirectoryMeasurement measure(const std::string& path, const MeasureOptions& options = {}) const;

    // The same numbers, walked by all the workers of the process.
    DirectoryMeasurement measureConcurrently(const std::string& path,
                                             const MeasureOptions& options = {}) const;

    // The same walk, which also measures parts of the tree by themselves: no entry is looked at twice.
    MeasuredTree measureWithAreas(const std::string& path, const MeasureOptions& options,
                                  const AreaRule& rule) const;

    // Each path by itself, all at once, with one tracker.
    std::map<std::string, DirectoryMeasurement> measure(const std::vector<std::string>& paths,
                                                        const MeasureOptions& options = {}) const;
};

}  // namespace brindle
