#include "core/projects/project_disposal.h"

#include <algorithm>
#include <utility>

#include "core/projects/shown_names.h"
#include "core/text/core_strings.h"
#include "core/text/printable.h"

namespace brindle {

namespace {

using Verdict = ProjectDisposal::Verdict;

ProjectDisposal unknown() {
    return {Verdict::unknown, localized("Brindle cannot tell whether this work exists anywhere else"),
            localized("Nothing is claimed either way. Check the project yourself before removing anything.")};
}

ProjectDisposal onlyHere(std::string consequence) {
    return {Verdict::onlyHere, localized("Some of this work exists only on this Mac"),
            std::move(consequence)};
}

// A linked worktree keeps only its files in its own folder; commits and stashes lie in the main checkout.
bool keepsItsHistory(const GitState& git) {
    return !git.mainWorktreePath;
}

std::int64_t commitsOnlyHere(const GitState& git) {
    return std::max(git.unpushedCommits, git.localOnlyCommits);
}

std::int64_t worktreesWithWork(const GitState& git) {
    return keepsItsHistory(git) ? std::ranges::count_if(git.worktrees, &Worktree::carriesWork) : 0;
}

// What goes with the folder, as phrases with ", " between them; empty when Git knows of nothing.
std::string losses(const GitState& git) {
    std::string list;
    const auto add = [&list](const std::string& phrase) { list += (list.empty() ? "" : ", ") + phrase; };
    const auto addCounted = [&add](const char* phrase, std::int64_t count) {
        if (count > 0) add(CoreStrings::plural(phrase, count));
    };
    addCounted("count.changes", git.modifiedFiles);
    addCounted("count.untracked", git.untrackedFiles);
    if (!keepsItsHistory(git)) return list;
    addCounted("count.commits", commitsOnlyHere(git));
    if (git.hasStashes) add(localized("stashed changes"));
    addCounted("count.worktreesWithWork", worktreesWithWork(git));
    return list;
}

bool isOnlyUnpushed(const GitState& git) {
    return git.hasRemote() && commitsOnlyHere(git) > 0 && git.modifiedFiles == 0 && git.untrackedFiles == 0 &&
           !git.hasStashes && worktreesWithWork(git) == 0;
}

// Absent when Git knows of nothing that is only here.
std::optional<std::string> onlyHereConsequence(const GitState& git) {
    if (isOnlyUnpushed(git))
        return localized("Everything is committed. What is here is not on the remote yet.");
    if (const std::string lost = losses(git); !lost.empty())
        return localized("Removing the folder loses %@.", lost);
    if (!keepsItsHistory(git) && (git.hasStashes || !git.hasRemote() || commitsOnlyHere(git) > 0)) {
        return localized("Its history is kept by the main checkout, %@, and not all of it is on a remote.",
                         printable(*git.mainWorktreePath));
    }
    if (!git.hasRemote()) return localized("Removing the folder loses %@.", localized("everything in it"));
    return std::nullopt;
}

// Linked worktrees are checkouts in other folders that need the repository in this one.
bool hasDependants(const GitState& git) {
    return keepsItsHistory(git) && !std::ranges::all_of(git.worktrees, &Worktree::isPrunable);
}

// Whether what Git counted is all there is. Commits that no branch holds are counted nowhere.
bool isCounted(const GitState& git) {
    const auto isRead = [](const Worktree& tree) { return tree.inspectionComplete || tree.isPrunable(); };
    if (!git.inspectionComplete || !std::ranges::all_of(git.worktrees, isRead)) return false;
    return git.isFullyBackedUp() || (git.branch && !git.localBranches.empty());
}

ProjectDisposal elsewhere(const GitState& git) {
    std::string consequence =
        keepsItsHistory(git)
            ? localized("Removing the folder costs a clone from %@.", shownNames(git.remotes))
            : localized(
                  "Its history is kept by the main checkout, %@. Removing the folder costs another checkout.",
                  printable(*git.mainWorktreePath));
    if (hasDependants(git)) consequence += " " + localized("Its linked worktrees would stop working.");
    return {Verdict::elsewhere, localized("Everything that Git tracks here is committed and on a remote"),
            std::move(consequence)};
}

}  // namespace

ProjectDisposal ProjectDisposal::assess(const Project& project) {
    if (!project.safety) return unknown();
    const GitState& git = project.safety->git;
    if (!git.isRepository) {
        return {Verdict::notTracked, localized("This folder is not a repository"),
                localized("There is no remote, no history and no command that brings this back. Whatever is "
                          "here is the only copy.")};
    }
    if (!git.inspectionComplete) return unknown();
    if (auto consequence = onlyHereConsequence(git)) return onlyHere(*std::move(consequence));
    return isCounted(git) ? elsewhere(git) : unknown();
}

}  // namespace brindle
