#include "cli/item_lookup.h"

#include <algorithm>
#include <filesystem>

#include "cli/suggestion.h"
#include "core/platform/machine.h"
#include "core/text/core_strings.h"
#include "core/text/printable.h"

namespace brindle {

namespace {

bool holds(const std::string& folder, const std::string& path) {
    return path == folder || (path.starts_with(folder) && (folder == "/" || path[folder.size()] == '/'));
}

std::string withoutTrailingSlashes(std::string path) {
    while (path.size() > 1 && path.ends_with('/')) path.pop_back();
    return path;
}

// As it is written and with the links above it resolved: a cache folder may itself lie behind a link.
std::vector<std::string> spellings(const std::string& place) {
    std::vector<std::string> all = {place};
    if (auto resolved = canonicalPath(place); resolved && *resolved != place) all.push_back(*resolved);
    return all;
}

// The length of the longest place that holds the path; 0 when none does.
std::size_t depthOfCover(const CleanupItem& item, const std::string& path, const std::string& home) {
    std::size_t depth = 0;
    for (const std::string& place : placesOf(item, home)) {
        for (const std::string& spelling : spellings(place)) {
            if (holds(spelling, path)) depth = std::max(depth, spelling.size());
        }
    }
    return depth;
}

bool liesInside(const CleanupItem& item, const std::string& path, const std::string& home) {
    for (const std::string& place : placesOf(item, home)) {
        for (const std::string& spelling : spellings(place)) {
            if (holds(path, spelling)) return true;
        }
    }
    return false;
}

}  // namespace

std::optional<ModuleID> moduleNamedBy(const std::string& subject) {
    const std::size_t dot = subject.find('.');
    if (dot == std::string::npos || dot + 1 == subject.size()) return std::nullopt;
    return moduleIDFrom(subject.substr(0, dot));
}

std::string unknownItemText(const std::string& subject, const std::vector<CleanupItem>& items) {
    std::vector<std::string> known;
    for (const CleanupItem& item : items) known.push_back(item.id);
    std::string sentence = localized("this scan found no item %@", printable(subject));
    const auto close = closest(subject, known);
    sentence += close ? localized("; did you mean %@?", printable(*close))
                      : localized("; \"brindle scan\" lists the items that are there");
    return sentence;
}

bool looksLikePath(const std::string& subject) {
    return subject.contains('/') || subject.starts_with('~') || subject.starts_with('.');
}

bool isPlaceOf(const CleanupItem& item, const std::string& path, const std::string& home) {
    return std::ranges::any_of(placesOf(item, home), [&](const std::string& place) {
        const auto all = spellings(place);
        return std::ranges::find(all, path) != all.end();
    });
}

std::optional<std::string> absolutePath(const std::string& typed, const std::string& workingFolder,
                                        const std::string& home) {
    std::string path = typed;
    if (path == "~" || path.starts_with("~/")) path = home + path.substr(1);
    if (!path.starts_with('/')) {
        if (workingFolder.empty()) return std::nullopt;
        path = workingFolder + "/" + path;
    }
    path = withoutTrailingSlashes(path);
    const std::size_t slash = path.rfind('/');
    const std::string last = path.substr(slash + 1);
    if (last.empty() || last == "." || last == "..") {
        if (auto resolved = canonicalPath(path)) return *resolved;
    } else if (auto parent = canonicalPath(slash == 0 ? "/" : path.substr(0, slash))) {
        return (*parent == "/" ? "" : *parent) + "/" + last;
    }
    return withoutTrailingSlashes(std::filesystem::path(path).lexically_normal().string());
}

std::optional<Obstacle> obstacleFor(const std::string& path,
                                    const std::vector<UnreachableLocation>& locations) {
    std::optional<Obstacle> inside;
    for (const UnreachableLocation& location : locations) {
        if (!location.path.starts_with('/')) continue;  // a tool that did not answer
        for (const std::string& spelling : spellings(location.path)) {
            if (holds(spelling, path)) return Obstacle{location, false};
            if (!inside && holds(path, spelling)) inside = Obstacle{location, true};
        }
    }
    return inside;
}

std::vector<std::string> placesOf(const CleanupItem& item, const std::string& home) {
    std::vector<std::string> places = item.removal.affectedPaths();
    // A tool's item names its place in the detail, perhaps with a remark behind it.
    const std::string shown = item.storedDetail.substr(0, item.storedDetail.find(" · "));
    if (places.empty() && shown.starts_with("~/")) places.push_back(home + shown.substr(1));
    if (places.empty() && shown.starts_with('/')) places.push_back(shown);
    return places;
}

Coverage coverageOf(const std::string& path, const std::vector<CleanupItem>& items, const std::string& home) {
    Coverage coverage;
    std::size_t deepest = 0;
    for (const CleanupItem& item : items) {
        const std::size_t depth = depthOfCover(item, path, home);
        if (depth <= deepest) continue;
        deepest = depth;
        coverage.covering.assign(1, item);
    }
    if (!coverage.covering.empty()) return coverage;
    for (const CleanupItem& item : items) {
        if (liesInside(item, path, home)) coverage.inside.push_back(item);
    }
    return coverage;
}

}  // namespace brindle
