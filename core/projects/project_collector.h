// Where projects lie below some folders. Looks at names only.
#pragma once

#include <vector>

#include "core/projects/project_search.h"

namespace brindle {

// Sorted by path, each place once, also when roots overlap or lead to the same place; no project inside another one.
//
// A folder is a project when a marker of some kind or ".git" lies in it. The home folder and those above it never are: a
// repository in the home would make everything below it its own. Hidden folders, folders named like generated data,
// links, other volumes and what is mounted are not entered. What cannot be listed, what lies too deep and where a volume
// begins is reported, unless it is a root itself. Blocking; one folder after the other, and `search.report` with it.
std::vector<ProjectFolder> collectProjects(const ProjectSearch& search);

}  // namespace brindle
