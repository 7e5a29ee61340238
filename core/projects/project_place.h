// Where a folder stands among projects: one itself, inside one, or above some. Looks at names only.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "core/projects/project_search.h"

namespace brindle {

struct ProjectPlace {
    bool isProject = false;  // a repository, or marked as a project inside no other one
    std::optional<std::string> enclosing =
        {};  // the closest repository around it, or else the outermost project
    std::vector<std::string> contained =
        {};  // projects inside, by path; only looked for in what is no project
};

// `path`: absolute, links resolved; neither the home nor above it. `search.roots` and `report` are not used. Blocking.
ProjectPlace placeAmongProjects(const std::string& path, const ProjectSearch& search);

}  // namespace brindle
