#include "core/projects/project_place.h"

#include <algorithm>

#include "core/platform/files.h"
#include "core/platform/path_text.h"
#include "core/projects/project_collector.h"
#include "core/projects/project_tables.h"

namespace brindle {

namespace {

enum class Sign { none, marker, repository };

Sign signOf(const std::string& folder) {
    const auto entries = listFolder(folder);
    if (!entries) return Sign::none;
    if (std::ranges::find(*entries, ".git") != entries->end()) return Sign::repository;
    return kindsAmong(*entries).empty() ? Sign::none : Sign::marker;
}

// A repository knows of what lies in it; a marker alone only until a project around it is found.
std::optional<std::string> enclosingProject(const std::string& path, const std::string& home) {
    std::optional<std::string> outermost;
    for (std::string folder = folderOf(path); !isAtOrBelow(home, folder); folder = folderOf(folder)) {
        const Sign sign = signOf(folder);
        if (sign == Sign::repository) return folder;
        if (sign == Sign::marker) outermost = folder;
    }
    return outermost;
}

}  // namespace

ProjectPlace placeAmongProjects(const std::string& path, const ProjectSearch& search) {
    const Sign sign = signOf(path);
    ProjectPlace place{.isProject = sign == Sign::repository,
                       .enclosing = enclosingProject(path, search.home)};
    place.isProject = place.isProject || (sign == Sign::marker && !place.enclosing);
    if (place.isProject || place.enclosing) return place;
    ProjectSearch inside = search;
    inside.roots = {path};
    inside.report = [](const std::string&, UnreachableLocation::Reason) {};
    for (ProjectFolder& each : collectProjects(inside)) place.contained.push_back(std::move(each.path));
    return place;
}

}  // namespace brindle
