// All that is known of one project, as a page.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/palette.h"
#include "cli/project_view.h"
#include "core/model/project.h"
#include "core/model/project_relation.h"
#include "core/model/unreachable_location.h"
#include "core/projects/project_disposal.h"
#include "core/projects/project_recovery.h"

namespace brindle {

// Gathered before anything of it is written; page and JSON are made of the same.
struct ProjectFacts {
    Project project;
    std::vector<UnreachableLocation> unreachable = {};  // in it
    RelatedProjects related = {};
    ProjectDisposal disposal = {};
    std::optional<ProjectRecovery> recovery = {};
    ProjectOffer offer = {};
    bool isInterrupted = false;  // some of it may be missing
};

struct PageSetting {
    std::string home;
    TimePoint now;
    Look look;
};

// Ends with a line feed. Paths in the home are written with "~", but for those in commands.
std::string projectPage(const ProjectFacts& facts, const PageSetting& setting);

// The commands of a step, one a line; none when one of them cannot be shown exactly as it is.
std::optional<std::vector<std::string>> shownCommands(const ProjectRecovery& recovery);

}  // namespace brindle
