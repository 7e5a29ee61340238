// What can be learned from a repository's files without asking Git: small files of a simple and stable format.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace brindle {

// Whether the files that Git reads whole are of a size that a person could have made: a sparse one of some GB would
// cost that much memory. Of files that Git finds deeper in the working tree nothing is known.
bool areGitFilesReasonable(const std::string& workingTree, const std::string& gitFolder);

// The further folders with objects that the repository needs, also those that they need in turn. Absent when that
// cannot be known.
std::optional<std::vector<std::string>> alternatesOf(const std::string& commonFolder);

// Where the commits of submodules lie, whether or not one is checked out at the moment, also those of linked
// worktrees. Absent when there may be more.
std::optional<std::vector<std::string>> submoduleStoresIn(const std::string& commonFolder);

// Linked worktrees as the repository records them: whether there are any, and whether each path is one line, so that a
// list of lines can be meant in one way only.
struct WorktreeRecords {
    bool areAny = false;
    bool areOneLineEach = true;
};
WorktreeRecords worktreeRecordsIn(const std::string& commonFolder);

// How many entries of the index Git was told not to look at (assume-unchanged, skip-worktree) although their files may
// differ from what was recorded. Absent when the index cannot be understood. `hashBytes`: 20, or 32 for SHA-256.
std::optional<std::int64_t> hiddenChanges(const std::string& gitFolder, const std::string& workingTree,
                                          std::size_t hashBytes);

}  // namespace brindle
