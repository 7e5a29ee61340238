// Finds the software projects below some folders, and what in each of them is generated.
#pragma once

#include <expected>
#include <string>
#include <utility>
#include <vector>

#include "core/model/project.h"
#include "core/platform/error.h"
#include "core/projects/project_search.h"
#include "core/tools/toolbox.h"

namespace brindle {

// Immutable; blocking; any thread. Reading a project runs nothing that lies in it.
class ProjectDetector {
  public:
    explicit ProjectDetector(Toolbox tools) : tools_(std::move(tools)) {}

    // Largest first; of equal size by path. No project lies inside another one, and neither the home folder nor one
    // above it is ever a project. Cancelled: those that were finished. `times` may be null.
    std::vector<Project> discover(const ProjectSearch& search, ProjectTimes* times = nullptr) const;

    // The same for projects that were found before; `search.roots` is not used.
    std::vector<Project> inspectFound(const std::vector<ProjectFolder>& found, const ProjectSearch& search,
                                      ProjectTimes* times = nullptr) const;

    // One folder as a project, whether or not anything marks it as one. An error when it is no folder or cannot be
    // read, or when the walk was cancelled. `search.roots` and `maximumDepth` are not used.
    std::expected<Project, Error> inspect(const std::string& folder, const ProjectSearch& search) const;

  private:
    Toolbox tools_;
};

}  // namespace brindle
