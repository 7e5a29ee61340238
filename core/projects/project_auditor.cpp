#include "core/projects/project_auditor.h"

#include <algorithm>

#include "core/projects/project_tables.h"
#include "core/projects/shown_names.h"
#include "core/text/core_strings.h"
#include "core/text/printable.h"

namespace brindle {

namespace {

using Confidence = ProjectSafety::Confidence;
using Weight = SafetySignal::Weight;

// A build that runs writes more often than this.
constexpr std::chrono::seconds kQuietTime{600};

class Signals {
  public:
    void reassure(std::string sentence) { add(Weight::reassuring, std::move(sentence)); }
    void caution(std::string sentence) { add(Weight::caution, std::move(sentence)); }
    void block(std::string sentence) { add(Weight::blocking, std::move(sentence)); }

    std::vector<SafetySignal> list;

  private:
    void add(Weight weight, std::string sentence) { list.push_back({weight, std::move(sentence)}); }
};

void weighCurrentBranch(const GitState& git, Signals& signals) {
    if (git.isFullyBackedUp()) {
        signals.reassure(
            localized("Current branch matches the locally recorded upstream on %@", shownNames(git.remotes)));
        return;
    }
    if (git.unpushedCommits > 0) {
        signals.caution(localized("%@ not pushed to the remote",
                                  CoreStrings::plural("count.commits", git.unpushedCommits)));
    }
    if (!git.inspectionComplete) return;
    if (!git.branch) {
        signals.caution(localized("No branch is checked out, so nothing here is tracking a remote branch"));
    } else if (!git.upstream) {
        signals.caution(localized("Branch %@ is not tracking a remote branch", printable(*git.branch)));
    }
}

// Where Git did not answer everything, what it found is told, and what it did not find is no claim.
void weighRepository(const GitState& git, Signals& signals) {
    if (!git.hasRemote() && git.inspectionComplete)
        signals.caution(localized("No git remote — the only copy of this work is on this Mac"));
    weighCurrentBranch(git, signals);
    if (git.modifiedFiles > 0) {
        signals.caution(
            localized("%@ in the working tree", CoreStrings::plural("count.changes", git.modifiedFiles)));
    }
    if (git.hasStashes) signals.caution(localized("There are stashed changes, which exist only on this Mac"));
    const std::int64_t onBranches = git.localOnlyCommits - git.commitsOnNoBranch;
    if (onBranches > git.unpushedCommits)
        signals.caution(CoreStrings::plural("count.localOnlyCommits", onBranches));
    if (git.commitsOnNoBranch > 0) {
        signals.caution(localized(
            "%@ on no known remote: a tag, a detached HEAD or another ref holds what no branch does",
            CoreStrings::plural("count.commits", git.commitsOnNoBranch)));
    }
    if (!git.repositoriesWithWork.empty()) {
        signals.caution(localized("Some of this work lies in repositories inside it: %@",
                                  shownNames(git.repositoriesWithWork)));
    }
}

void weighGit(const GitState& git, Signals& signals) {
    if (git.isRepository && !git.inspectionComplete) {
        signals.block(localized("Git inspection could not finish — scan again before cleaning this project"));
    }
    if (git.untrackedFiles > 0) {
        signals.caution(
            localized("%@ not backed up by Git", CoreStrings::plural("count.untracked", git.untrackedFiles)));
    }
    if (git.isRepository) {
        weighRepository(git, signals);
    } else {
        signals.caution(localized("Not a git repository — nothing here is backed up by version control"));
    }
}

void weighIgnoreStatus(const std::vector<ProjectArtifact>& artifacts, const std::set<std::string>& ignored,
                       Signals& signals) {
    if (artifacts.empty()) return;
    std::vector<std::string> unconfirmed;
    for (const ProjectArtifact& artifact : artifacts) {
        const bool isTold = std::ranges::find(unconfirmed, artifact.name) != unconfirmed.end();
        if (!ignored.contains(artifact.path) && !isTold) unconfirmed.push_back(artifact.name);
    }
    if (unconfirmed.empty()) {
        signals.reassure(localized("Every directory to be removed is in .gitignore"));
    } else if (unconfirmed.size() == 1) {
        signals.block(
            localized("%@ contains tracked files or is not confirmed ignored by Git; cleanup is blocked",
                      shownNames(unconfirmed)));
    } else {
        signals.block(
            localized("%@ contain tracked files or are not confirmed ignored by Git; cleanup is blocked",
                      shownNames(unconfirmed)));
    }
}

// Only the project folder's own lockfiles count: a nested one pins a part, and which part is not known here.
void weighLockfiles(const ProjectEvidence& evidence, Signals& signals) {
    for (const ArtifactGroup& group : evidence.project.rebuildableGroups()) {
        const auto lockfiles = lockfilesFor(group.name);
        if (group.category != ArtifactCategory::dependencies || lockfiles.empty()) continue;
        const auto lockfile = std::ranges::find_if(lockfiles, [&](std::string_view name) {
            return std::ranges::find(evidence.entries, name) != evidence.entries.end();
        });
        const std::string folder = printable(group.name);
        if (lockfile != lockfiles.end()) {
            signals.reassure(localized("%@ pins every version %@ would reinstall", *lockfile, folder));
        } else {
            signals.caution(localized(
                "No lockfile for %@ — reinstalling gives you current versions, not the ones you had",
                folder));
        }
    }
}

// A time to come counts as recent, too: that clock says nothing about quiet.
void weighRecentWrites(const std::vector<ProjectArtifact>& artifacts, TimePoint now, Signals& signals) {
    const auto quietSince = std::chrono::floor<std::chrono::seconds>(now) - kQuietTime;
    const bool isWrittenTo = std::ranges::any_of(artifacts, [&](const ProjectArtifact& artifact) {
        const auto newest = artifact.measurement.newestModified;
        return newest && *newest > quietSince;
    });
    if (!isWrittenTo) return;
    signals.block(
        localized("Something wrote to this project in the last few minutes — a build or dev server is "
                  "probably running"));
}

}  // namespace

ProjectSafety auditProject(const ProjectEvidence& evidence) {
    const std::vector<ProjectArtifact> artifacts = evidence.project.rebuildableArtifacts();
    Signals signals;
    weighGit(evidence.git, signals);
    weighIgnoreStatus(artifacts, evidence.ignoredArtifacts, signals);
    weighLockfiles(evidence, signals);
    weighRecentWrites(artifacts, evidence.now, signals);
    const Confidence confidence = confidenceOf(signals.list, evidence.git);
    return {.confidence = confidence, .signals = std::move(signals.list), .git = evidence.git};
}

Confidence confidenceOf(const std::vector<SafetySignal>& signals, const GitState& git) {
    const auto holds = [&](Weight weight) {
        return std::ranges::find(signals, weight, &SafetySignal::weight) != signals.end();
    };
    if (holds(Weight::blocking)) return Confidence::risky;
    if (!holds(Weight::caution)) return git.isFullyBackedUp() ? Confidence::certain : Confidence::likely;
    return git.isRepository && git.hasRemote() ? Confidence::likely : Confidence::unproven;
}

}  // namespace brindle
