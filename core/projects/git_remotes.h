// Which of a repository's remotes are places elsewhere, and which recorded refs are theirs.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "core/projects/git_output.h"

namespace brindle {

struct GitRemote {
    std::string name;
    std::vector<std::string>
        tracked;  // patterns of the refs that record what it holds: "refs/remotes/origin/*"

    bool operator==(const GitRemote&) const = default;
};

// Those that Git has an address for, but for folders that are not there, hold no repository, or lie at or below one of
// `within`: what is there goes with the project, or went already. `folder` is what relative addresses start from. Absent
// when there are more than a person makes, or one has a name that Git would take for a pattern.
std::optional<std::vector<GitRemote>> remotesElsewhere(const std::vector<GitSetting>& settings,
                                                       const std::string& folder,
                                                       const std::vector<std::string>& within);

// The commits that some refs hold, as arguments of rev-list, and no ref of these remotes. What background maintenance has
// fetched ahead of time from one of them is its, too.
std::vector<std::string> questionForCommitsOnlyHere(const std::vector<std::string>& of,
                                                    const std::vector<GitRemote>& remotes);

// Whatever branch, tag, detached HEAD of a worktree or other ref. Stashes are asked for by themselves.
std::vector<std::string> allRefs();

}  // namespace brindle
