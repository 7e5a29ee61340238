#include "core/model/git_state.h"

#include "core/text/core_strings.h"
#include "core/text/shell_word.h"

namespace brindle {

std::optional<int> Worktree::daysSinceUse(TimePoint now) const {
    if (!lastUsed) return std::nullopt;
    return wholeDaysBetween(std::chrono::floor<std::chrono::seconds>(*lastUsed),
                            std::chrono::floor<std::chrono::seconds>(now));
}

std::string Worktree::state() const {
    if (isPrunable()) return localized("The folder is gone; only git's record of it is left");
    if (!inspectionComplete) {
        return localized("Brindle could not finish reading this worktree, so it makes no claim about it");
    }
    std::string work;
    const auto add = [&work](const char* phrase, std::int64_t count) {
        if (count > 0) work += (work.empty() ? "" : ", ") + CoreStrings::plural(phrase, count);
    };
    add("count.changes", modifiedFiles);
    add("count.untracked", untrackedFiles);
    add("count.commits", localOnlyCommits);
    if (isLocked) {
        const std::string locked = localized("Locked, so git will not remove it");
        return work.empty() ? locked : locked + ": " + work;
    }
    return work.empty() ? localized("Clean, and every commit is on a remote") : work;
}

std::optional<std::string> Worktree::removalCommand() const {
    if (isPrunable()) return "git worktree prune";
    return commandLineOn("git worktree remove", path);
}

bool GitState::isFullyBackedUp() const {
    return isRepository && inspectionComplete && untrackedFiles == 0 && localOnlyCommits == 0 &&
           hasRemote() && upstream && unpushedCommits == 0 && modifiedFiles == 0 && !hasStashes;
}

}  // namespace brindle
