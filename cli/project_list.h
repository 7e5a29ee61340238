// The projects that were found, as a person reads them.
#pragma once

#include <string>
#include <vector>

#include "cli/options.h"
#include "cli/palette.h"
#include "cli/project_view.h"
#include "core/model/project.h"
#include "core/model/unreachable_location.h"

namespace brindle {

struct ListedProject {
    Project project;
    ProjectOffer offer;
};

struct ProjectListPage {
    std::vector<ListedProject> projects;  // in the order in which they are shown
    std::size_t foundCount = 0;           // also those that are not shown
    std::vector<UnreachableLocation> unreachable = {};
    std::vector<std::string> roots;  // where they were looked for: absolute, or in the home folder
    std::string home;
    TimePoint now;
    bool isInterrupted = false;
    Look look = {};
};

// Of equal rank by path. By size: the largest first. By age: who was left alone longest first, who has no date last.
void sortProjects(std::vector<Project>& projects, ProjectOrder order);

// Ends with a line feed.
std::string projectListText(const ProjectListPage& page);

}  // namespace brindle
