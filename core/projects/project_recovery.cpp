#include "core/projects/project_recovery.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "core/platform/file_status.h"
#include "core/platform/path_text.h"
#include "core/text/ascii.h"
#include "core/text/core_strings.h"

namespace brindle {

namespace {

constexpr std::string_view kOrigin = "origin";
constexpr std::chrono::minutes kUploadTime{10};

// Nobody is there to answer: a tool that needs a password fails at once. Variables that lead git to another repository,
// or to another program than its own, are left behind.
RunOptions runOptions(const std::string& folder, const std::function<bool()>& isCancelled) {
    RunOptions options;
    options.timeout = kUploadTime;
    options.isCancelled = isCancelled;
    options.removedVariables = {"GIT_*"};
    // What was this folder's repository a moment ago must not be one above it now.
    options.setVariables = {{"GIT_CEILING_DIRECTORIES", folderOf(folder)},
                            {"GIT_TERMINAL_PROMPT", "0"},
                            {"GH_PROMPT_DISABLED", "1"}};
    return options;
}

RecoveryFailure failureOf(const ProcessError& error, const std::string& program) {
    switch (error.kind) {
        case ProcessError::Kind::notFound:
        case ProcessError::Kind::couldNotRun:
            return {RecoveryFailure::Kind::couldNotRun, program};
        case ProcessError::Kind::failed:
            return {RecoveryFailure::Kind::failed, error.text};
        case ProcessError::Kind::waiting:
        case ProcessError::Kind::timedOut:
        case ProcessError::Kind::cancelled:
        case ProcessError::Kind::tooMuchOutput:
            return {RecoveryFailure::Kind::failed, error.errorDescription()};
    }
    std::unreachable();
}

// What git says of a push it writes to the error stream.
void append(std::string& output, const ProcessResult& result) {
    for (const std::string_view part : {trimmed(result.output), trimmed(result.errors)}) {
        if (!part.empty()) output.append(output.empty() ? "" : "\n").append(part);
    }
}

// A push takes the branches along, and nothing else.
bool isWorkToPush(const GitState& git) {
    return git.unpushedCommits > 0 || git.localOnlyCommits > git.commitsOnNoBranch;
}

bool holdsWhatNoPushTakes(const GitState& git) {
    return git.hasStashes || git.commitsOnNoBranch > 0 ||
           std::ranges::any_of(git.worktrees, &Worktree::carriesWork);
}

std::optional<ProjectRecovery::Step> nextStep(const GitState& git, Forge forge) {
    using Step = ProjectRecovery::Step;
    if (!git.inspectionComplete || !git.repositoriesWithWork.empty()) return std::nullopt;
    if (git.modifiedFiles > 0 || git.untrackedFiles > 0) return Step::commit;
    if (git.localBranches.empty()) return std::nullopt;
    // A remote that is no place elsewhere stands in the way of another one.
    if (!git.hasRemote() && !git.remoteURLs.empty()) return std::nullopt;
    if (!git.hasRemote()) return forge == Forge::gitHubCLI ? Step::publish : Step::push;
    // With several remotes it is the user's to say where the work belongs.
    const bool isOriginAlone = git.remotes.size() == 1 && git.remotes.front() == kOrigin;
    return isOriginAlone && isWorkToPush(git) ? std::optional(Step::push) : std::nullopt;
}

}  // namespace

Forge detectForge(const Toolbox& tools) {
    return tools.locate("gh") ? Forge::gitHubCLI : Forge::plainGit;
}

std::optional<std::string> enclosingRepository(const std::string& folder) {
    for (std::string above = folder; above.starts_with('/') && above != "/";) {
        above = folderOf(above);
        if (statusOf(above + "/.git")) return above;
    }
    return std::nullopt;
}

std::string RecoveryFailure::description() const {
    switch (kind) {
        case Kind::refused:
            return localized("Refused:") + " " + text;
        case Kind::couldNotRun:
            return localized("Could not start %@.", text);
        case Kind::failed:
            return localized("The command failed.") + (text.empty() ? "" : " " + text);
        case Kind::notOurs:
            return localized("Brindle does not run this step. Copy the command and run it yourself.");
    }
    std::unreachable();
}

std::string ProjectRecovery::explanation() const {
    switch (step) {
        case Step::publish:
            return localized(
                "There is no remote to clone from. The GitHub CLI on this Mac can create a private "
                "repository and push to it — Brindle does not do it for you, and never sees your "
                "credentials.");
        case Step::initialise:
            return localized(
                "This folder is not a repository, so there is nothing to push anywhere. That is the first "
                "step.");
        case Step::commit:
            return localized(
                "Work that is not committed cannot be pushed. Commit it first, then this project can go "
                "somewhere else.");
        case Step::push:
            if (hasOrigin && leavesWork) {
                return localized(
                    "What the branches hold is not on the remote yet. A push does not take along stashes, "
                    "tags, "
                    "commits on no branch and changes in linked worktrees.");
            }
            return hasOrigin ? localized("Everything is committed. What is here is not on the remote yet.")
                             : localized(
                                   "There is no remote to clone from. Create an empty repository on "
                                   "whichever host you use — GitHub, GitLab, your own — and point this "
                                   "folder at it.");
    }
    std::unreachable();
}

std::vector<RecoveryCommand> ProjectRecovery::commands() const {
    const RecoveryCommand push = {"git", {"-C", path, "push", "-u", std::string(kOrigin), "--all"}};
    switch (step) {
        case Step::publish:
            return {{"gh", {"repo", "create", name, "--private", "--source=" + path, "--push"}}};
        case Step::initialise:
            return {{"git", {"-C", path, "init"}},
                    {"git", {"-C", path, "add", "."}},
                    {"git", {"-C", path, "commit", "-m", "First commit"}}};
        case Step::commit:
            return {{"git", {"-C", path, "add", "-A"}},
                    {"git", {"-C", path, "commit", "-m", "Work in progress"}}};
        case Step::push:
            if (hasOrigin) return {push};
            return {{"git", {"-C", path, "remote", "add", std::string(kOrigin), "<url>"}}, push};
    }
    std::unreachable();
}

bool ProjectRecovery::isRunnable() const {
    return step == Step::publish || (step == Step::push && hasOrigin);
}

std::optional<ProjectRecovery> ProjectRecovery::next(const Project& project, Forge forge) {
    if (!project.safety) return std::nullopt;
    const GitState& git = project.safety->git;
    ProjectRecovery recovery{.step = Step::initialise, .name = project.name, .path = project.path};
    if (!git.isRepository) {
        return enclosingRepository(project.path) ? std::nullopt : std::optional(std::move(recovery));
    }
    const auto step = nextStep(git, forge);
    if (!step) return std::nullopt;
    recovery.step = *step;
    recovery.hasOrigin = *step == Step::push && git.hasRemote();
    if (recovery.hasOrigin) {
        recovery.addresses = git.remoteURLs;
        recovery.leavesWork = holdsWhatNoPushTakes(git);
    }
    return recovery;
}

std::expected<std::string, RecoveryFailure> ProjectRecovery::run(
    const Toolbox& tools, const std::string& home, const std::function<bool()>& isCancelled) const {
    if (!isRunnable()) return std::unexpected(RecoveryFailure{RecoveryFailure::Kind::notOurs});
    std::string output;
    for (const RecoveryCommand& command : commands()) {
        const SafetyVerdict verdict = recoveryVerdict(command, path, home);
        if (!verdict.isAllowed())
            return std::unexpected(RecoveryFailure{RecoveryFailure::Kind::refused, *verdict.reason()});
        const auto result =
            requireSuccess(tools.run(command.executable, command.arguments, runOptions(path, isCancelled)));
        if (!result) return std::unexpected(failureOf(result.error(), command.executable));
        append(output, *result);
    }
    return output;
}

}  // namespace brindle
