// As much of other projects as comparing one with them takes: nothing is measured, and Git tells addresses alone.
#pragma once

#include <vector>

#include "core/model/project.h"
#include "core/projects/project_search.h"
#include "core/tools/toolbox.h"

namespace brindle {

// The projects of `found` but the one itself: path, names, and, where it may matter for `project`, the addresses of
// remotes and the main checkout. Nothing else of them is filled in. Cancelled: what was read until then. Blocking.
std::vector<Project> outlinesFor(const Project& project, const std::vector<ProjectFolder>& found,
                                 const ProjectSearch& search, const Toolbox& tools);

}  // namespace brindle
