// Reads what Git has recorded of a folder. It changes nothing, asks no network, and starts no program that the
// repository names (git_safety.h): where an answer cannot be had that way, the state is incomplete.
//
// - A folder without an entry ".git" of its own is no repository, also inside one. A ".git" that is broken, belongs to
//   another user, points nowhere, is bare, or names another working tree gives an incomplete state.
// - Repositories inside the folder (submodules, clones) are read with the same care, and their uncommitted changes,
//   untracked entries, stashes and unpushed commits are added to the folder's own. One that cannot be read, or more
//   than kMostNested of them, make the state incomplete.
// - Linked worktrees are read by themselves, also those of repositories inside and with what lies in them; more than
//   kMostWorktrees, or a path with a line break, make the state incomplete.
// - A remote whose address is a folder in this project, or one that is not there, is none. Commits count as being on a
//   remote only where a ref of one that is there records them.
// - A change that Git was told not to look for counts when the file is not as Git recorded it.
// - When the repository's own filters would have taken part, they did not: if anything seems changed then, the state is
//   incomplete, for it may only look so.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "core/model/git_state.h"
#include "core/projects/git_folder.h"

namespace brindle {

// Of one folder; used by one thread. Git's questions are asked one after another.
class GitInspector {
  public:
    static constexpr std::size_t kMostNested = 64;
    static constexpr std::size_t kMostWorktrees = 64;

    // `nested`: the folders below it, at any depth, that hold an entry ".git"; absent when that is not known. `use` must
    // outlive it.
    GitInspector(std::string folder, const std::optional<std::vector<std::string>>& nested, GitUse& use);

    // Never fails.
    GitState inspect();

    // Those of the paths that Git confirms to be ignored and free of tracked files, and that hold no repository's
    // own data, each asked of the innermost
    // repository that holds it. One run for each repository. A path outside, one that Git does not print, and a failure
    // mean no.
    std::set<std::string> ignoredPaths(const std::vector<std::string>& paths);

  private:
    enum class Openness { unknown, open, closed };

    bool open();
    void readRemotes(GitState& state);
    void readBranches(GitState& state);
    void readStatus(GitState& state);
    void readWorktrees(GitFolder& git, GitState& state);
    void addNested(GitState& state, GitFolder& nested);
    void addSubmoduleStores(GitState& state);
    std::optional<std::vector<std::string>> neededFolders() const;
    GitFolder& innermost(const std::string& path);

    GitFolder git_;
    std::vector<GitFolder> nested_;
    std::vector<std::string> within_;      // what lies there is no place elsewhere
    std::set<std::string> counted_;        // repositories whose commits are counted
    bool areFiltersOfRepository_ = false;  // here or in a nested one
    Openness openness_ = Openness::unknown;
};

}  // namespace brindle
