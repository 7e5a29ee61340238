// Which item a person means by a name or a path.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "core/model/cleanup_item.h"
#include "core/model/unreachable_location.h"

namespace brindle {

// The module whose items have names that begin like this; absent for what can only be a path, or a part of a name.
std::optional<ModuleID> moduleNamedBy(const std::string& subject);

// What is said of a name that is no item's, with the one that may have been meant.
std::string unknownItemText(const std::string& subject, const std::vector<CleanupItem>& items);

bool looksLikePath(const std::string& subject);

// A typed path as an absolute one: "~" is the home, other relative ones lie in the working folder; links are
// resolved but for the last component. A path whose folder does not exist is tidied by its text alone. Absent
// for a relative path when there is no working folder.
std::optional<std::string> absolutePath(const std::string& typed, const std::string& workingFolder,
                                        const std::string& home);

struct Coverage {
    std::vector<CleanupItem> covering;  // the item whose paths hold the path: the closest one, or none
    std::vector<CleanupItem> inside;    // when none covers it: those that lie inside it
};

Coverage coverageOf(const std::string& path, const std::vector<CleanupItem>& items, const std::string& home);

// Why nothing can be said for certain of a path that no item covers: a place at or above it that was not
// looked at, otherwise one inside it. Absent when all of it was looked at.
struct Obstacle {
    UnreachableLocation location;
    bool isInside = false;
};

std::optional<Obstacle> obstacleFor(const std::string& path,
                                    const std::vector<UnreachableLocation>& locations);

// Where an item's bytes lie: the paths it would remove and, where a tool removes it, the path it shows.
std::vector<std::string> placesOf(const CleanupItem& item, const std::string& home);

// Whether the path is such a place itself, also where a link leads to it.
bool isPlaceOf(const CleanupItem& item, const std::string& path, const std::string& home);

}  // namespace brindle
