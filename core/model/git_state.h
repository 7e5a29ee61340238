// What Git's own records on this disk say of one folder. Nothing here was asked of a network: every statement about a
// remote is about the refs that were recorded when somebody last fetched or pushed.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "core/text/calendar.h"

namespace brindle {

// A further working tree of a repository, made by "git worktree add".
struct Worktree {
    std::string path;                   // also its identity
    std::optional<std::string> branch;  // absent when detached
    bool isLocked = false;
    std::optional<std::string> prunableReason;  // Git's own words
    std::optional<TimePoint> lastUsed;
    std::int64_t modifiedFiles = 0;
    std::int64_t untrackedFiles = 0;
    std::int64_t localOnlyCommits = 0;  // on its HEAD, held by no remote-tracking ref
    bool inspectionComplete = false;    // false: no count is a claim

    bool operator==(const Worktree&) const = default;

    bool isPrunable() const { return prunableReason.has_value(); }
    bool carriesWork() const { return modifiedFiles > 0 || untrackedFiles > 0 || localOnlyCommits > 0; }
    bool isSpent() const { return inspectionComplete && !carriesWork() && !isPrunable(); }
    std::optional<int> daysSinceUse(TimePoint now) const;

    std::string state() const;  // one sentence, localised

    // For the user to run; Brindle never does. Absent for a path that cannot be copied as it is shown.
    std::optional<std::string> removalCommand() const;
};

struct GitState {
    bool isRepository = false;
    std::vector<std::string> remotes;     // names
    std::optional<std::string> branch;    // absent when HEAD is detached
    std::optional<std::string> upstream;  // as Git names it: "origin/main"
    std::int64_t unpushedCommits = 0;     // the branch's, ahead of its upstream
    std::int64_t modifiedFiles = 0;       // changed, staged or unmerged entries
    std::int64_t untrackedFiles = 0;      // entries: a folder of new files counts once
    bool hasStashes = false;
    std::vector<std::string> localBranches;  // short names
    std::int64_t localOnlyCommits = 0;       // here, held by no remote-tracking ref of a remote that is there
    bool inspectionComplete = false;         // every question was answered; false: no count is a claim
    std::vector<std::string> remoteURLs;
    std::vector<Worktree> worktrees = {};              // the linked ones, without the main checkout
    std::optional<std::string> mainWorktreePath = {};  // where this folder is itself a linked worktree
    // Of localOnlyCommits: those beyond the branches', which a tag, a detached HEAD or another ref holds.
    std::int64_t commitsOnNoBranch = 0;
    std::vector<std::string> repositoriesWithWork = {};  // inside the folder; what they hold is counted above

    bool operator==(const GitState&) const = default;

    static GitState notARepository() { return {}; }
    bool hasRemote() const { return !remotes.empty(); }
    // Everything that Git knows of is committed, and on a remote as far as the local refs tell.
    bool isFullyBackedUp() const;
};

}  // namespace brindle
