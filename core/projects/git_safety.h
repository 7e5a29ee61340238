// Under which settings Git may look into a folder that somebody else may have prepared.
//
// A repository's own configuration can make Git start programs: file-system monitors, hooks, filters, transports. The
// settings here reach Git through its environment, where they outrank the repository's. What the user configured for
// all repositories stays in force.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "core/projects/git_output.h"
#include "core/tools/process_runner.h"

namespace brindle {

// Key -> value, in force over everything else.
using GitOverrides = std::map<std::string, std::string>;

// For every repository.
const GitOverrides& baseGitOverrides();

// What a look at a repository's configuration tells of its filters.
struct GitFilters {
    GitOverrides
        overrides;  // each filter setting of the repository's own, put back to the user's, or to nothing
    bool areOfRepository = false;  // some of them would have run
};
GitFilters filtersAmong(const std::vector<GitSetting>& settings);

// An environment in which a question about `folder` is answered from it and nowhere above it, without a network, a
// prompt or a lock, and by no variable of the caller's. The time-out is 10 seconds.
RunOptions gitRunOptions(const std::string& folder, const GitOverrides& overrides);

}  // namespace brindle
