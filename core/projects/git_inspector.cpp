#include "core/projects/git_inspector.h"

#include <algorithm>
#include <map>

#include "core/measure/directory_sizer.h"
#include "core/platform/file_status.h"
#include "core/platform/machine.h"
#include "core/platform/path_text.h"
#include "core/projects/git_folder.h"
#include "core/projects/git_output.h"
#include "core/projects/git_records.h"
#include "core/projects/project_activity.h"

namespace brindle {

namespace {

bool isRepository(const std::string& folder) {
    return statusOf(folder + "/.git").has_value();
}

// Where a filter of the repository's own was kept out, what it would have made equal looks changed.
void noteChanges(GitFolder& git, bool areFiltersOfRepository, std::int64_t modified) {
    if (areFiltersOfRepository && modified > 0) git.giveUp();
}

// Which commit a submodule stands at is a change whatever its settings say; what is in it is read by itself.
std::vector<std::string> statusQuestion(const std::vector<std::string>& further) {
    std::vector<std::string> question = {"status", "--porcelain=v2", "--untracked-files=normal",
                                         "--ignore-submodules=dirty"};
    question.insert(question.end(), further.begin(), further.end());
    return question;
}

struct Changes {
    std::int64_t modified = 0;
    std::int64_t untracked = 0;

    bool areAny() const { return modified > 0 || untracked > 0; }
};

Changes readChanges(GitFolder& git) {
    Changes changes;
    const auto text = git.ask(statusQuestion({}));
    if (!text) return changes;
    const GitStatusText status = parseStatus(*text);
    changes = {status.modified, status.untracked};
    noteChanges(git, git.filters().areOfRepository, changes.modified);
    changes.modified += git.askHiddenChanges();
    return changes;
}

bool hasStashes(GitFolder& git) {
    const auto text = git.ask({"for-each-ref", "--format=%(refname)", "refs/stash"});
    return (text && !outputLines(*text).empty()) || git.holdsWorkAside();
}

// Git may look into a repository inside another one by itself: each is asked under the settings of all. False when one
// of them cannot be asked.
bool openTogether(GitFolder& git, std::vector<GitFolder>& inside) {
    if (!git.open()) return false;
    for (GitFolder& each : inside) {
        if (!each.open()) return false;
        git.add(each.filters().overrides);
    }
    for (GitFolder& each : inside) each.add(git.overrides());
    return git.isComplete() && std::ranges::all_of(inside, &GitFolder::isComplete);
}

// The folders below that hold an entry ".git"; absent when there may be more.
std::optional<std::vector<std::string>> repositoriesBelow(const std::string& folder, const GitUse& use) {
    const AreaRule rule{.isArea = [](std::string_view) { return false; },
                        .isMark = [](std::string_view name, bool) { return name == ".git"; }};
    const MeasuredTree tree =
        DirectorySizer().measureWithAreas(folder, {.isCancelled = use.isCancelled}, rule);
    if (!tree.whole.isComplete() || tree.marks.size() > GitInspector::kMostNested) return std::nullopt;
    std::vector<std::string> found;
    for (const std::string& mark : tree.marks) {
        if (folderOf(mark) != folder) found.push_back(folderOf(mark));
    }
    return found;
}

// What no other working tree's questions see.
const std::vector<std::string> kOfWorktree = {"HEAD", "--glob=refs/worktree/*", "--glob=refs/bisect/*",
                                              "--glob=refs/rewritten/*"};

// As the main checkout lists it, filled in. What lies in it is its own, also a clone that it ignores: removing it takes
// that along.
void readWorktree(Worktree& worktree, GitFolder& main, const std::vector<std::string>& within) {
    if (worktree.isPrunable()) {
        worktree.inspectionComplete = true;
        return;
    }
    if (!statusOf(worktree.path)) return;  // locked, on a disk that is not here perhaps
    worktree.lastUsed = lastActivity(worktree.path);
    GitFolder git = main.related(worktree.path);
    if (!git.open() || !isSameFolder(git.commonFolder(), main.commonFolder())) return;
    const auto below = repositoriesBelow(worktree.path, git.use());
    if (!below) return;
    std::vector<GitFolder> inside;
    for (const std::string& each : *below) inside.push_back(main.related(each));
    if (!openTogether(git, inside)) return;
    const auto add = [&worktree](const Changes& changes) {
        worktree.modifiedFiles += changes.modified;
        worktree.untrackedFiles += changes.untracked;
    };
    add(readChanges(git));
    const auto elsewhere = main.remotes(within);
    if (!elsewhere) return;
    worktree.localOnlyCommits = git.askCount(questionForCommitsOnlyHere(kOfWorktree, *elsewhere));
    if (git.holdsWorkAside()) worktree.modifiedFiles += 1;
    worktree.inspectionComplete = git.isComplete();
    for (GitFolder& each : inside) {
        add(readChanges(each));
        worktree.localOnlyCommits += each.askCommitsOnlyHere(allRefs(), within) + (hasStashes(each) ? 1 : 0);
        worktree.inspectionComplete = worktree.inspectionComplete && each.isComplete();
    }
}

// Where the data of a repository lies: its own folders, also where links lead, and those of others that it borrows from.
// Absent when that cannot be known.
std::optional<std::vector<std::string>> foldersNeededBy(const GitFolder& git) {
    auto needed = alternatesOf(git.commonFolder());
    if (!needed) return std::nullopt;
    needed->insert(needed->end(), {git.gitFolder(), git.commonFolder()});
    for (const char* name : {"/objects", "/objects/pack", "/refs", "/modules", "/worktrees"})
        needed->push_back(git.commonFolder() + name);
    for (std::size_t index = needed->size(); index-- > 0;) {
        if (auto real = canonicalPath((*needed)[index])) needed->push_back(*std::move(real));
    }
    return needed;
}

// The path as Git may be told it: relative, and with a beginning that is neither an option nor a pattern's.
std::string asArgument(const std::string& path, const std::string& folder) {
    return "./" + path.substr(folder.size() + 1);
}

// As many as fit into one command line on every system, with room for the environment.
std::size_t endOfBatch(const std::vector<std::string>& arguments, std::size_t begin) {
    constexpr std::size_t kMostArgumentBytes = 400'000;
    std::size_t bytes = 0;
    std::size_t end = begin;
    while (end < arguments.size() && (end == begin || bytes + arguments[end].size() < kMostArgumentBytes)) {
        bytes += arguments[end].size() + 16;
        end += 1;
    }
    return end;
}

// Git up to 2.39 at least refuses the option for this one command. Without it a name is taken for a pattern only when
// tracked files are looked for, where a pattern also stands for itself: at worst a folder is not confirmed.
std::vector<std::string> askIgnored(GitFolder& git, const std::vector<std::string>& arguments) {
    std::vector<std::string> command = {"check-ignore"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    std::optional<ProcessResult> result;
    if (!git.use().refusesLiteral) {
        std::vector<std::string> literal = {"--literal-pathspecs"};
        literal.insert(literal.end(), command.begin(), command.end());
        result = git.run(literal);
        if (result && result->errors.contains("magic not supported")) git.use().refusesLiteral = true;
    }
    if (git.use().refusesLiteral) result = git.run(command);
    if (!result || !result->succeeded()) return {};  // 1: none of them
    return outputLines(result->output);
}

}  // namespace

GitInspector::GitInspector(std::string folder, const std::optional<std::vector<std::string>>& nested,
                           GitUse& use)
    : git_(std::move(folder), use) {
    if (!nested || nested->size() > kMostNested) {
        openness_ = Openness::closed;
        return;
    }
    for (const std::string& each : *nested) nested_.push_back(git_.related(each));
}

bool GitInspector::open() {
    if (openness_ != Openness::unknown) return openness_ == Openness::open;
    openness_ = Openness::closed;
    if (!openTogether(git_, nested_)) return false;
    const auto runsFilters = [](const GitFolder& git) { return git.filters().areOfRepository; };
    areFiltersOfRepository_ = runsFilters(git_) || std::ranges::any_of(nested_, runsFilters);
    within_ = {git_.path(), git_.commonFolder()};
    if (lastComponent(git_.commonFolder()) == ".git") within_.push_back(folderOf(git_.commonFolder()));
    openness_ = Openness::open;
    return true;
}

GitState GitInspector::inspect() {
    if (!isRepository(git_.path())) return GitState::notARepository();
    GitState state;
    state.isRepository = true;
    if (!open()) return state;
    readRemotes(state);
    state.hasStashes = hasStashes(git_);
    readBranches(state);
    readStatus(state);
    readWorktrees(git_, state);
    for (GitFolder& nested : nested_) {
        if (!nested.isLinkedWorktree() && worktreeRecordsIn(nested.commonFolder()).areAny)
            readWorktrees(nested, state);
    }
    for (GitFolder& nested : nested_) {
        const bool isRead = std::ranges::any_of(state.worktrees, [&](const Worktree& worktree) {
            return isSameFolder(worktree.path, nested.path());
        });
        if (!isRead) addNested(state, nested);
    }
    addSubmoduleStores(state);
    const bool areNestedRead = std::ranges::all_of(nested_, &GitFolder::isComplete);
    state.inspectionComplete = git_.isComplete() && areNestedRead;
    return state;
}

void GitInspector::readRemotes(GitState& state) {
    const auto text = git_.ask({"remote", "-v"});
    const auto elsewhere = git_.remotes(within_);
    if (!text || !elsewhere) return;
    for (std::string& name : remoteNames(*text)) {
        if (std::ranges::find(*elsewhere, name, &GitRemote::name) != elsewhere->end())
            state.remotes.push_back(std::move(name));
    }
    state.remoteURLs = remoteURLs(*text);
}

void GitInspector::readBranches(GitState& state) {
    const auto text = git_.ask({"for-each-ref", "--format=%(refname:short)", "refs/heads"});
    if (text) state.localBranches = outputLines(*text);
    const std::int64_t onBranches = git_.askCommitsOnlyHere({"--branches"}, within_);
    state.localOnlyCommits = std::max(onBranches, git_.askCommitsOnlyHere(allRefs(), within_));
    state.commitsOnNoBranch = state.localOnlyCommits - onBranches;
    counted_.insert(git_.commonFolder());
}

void GitInspector::readStatus(GitState& state) {
    const auto text = git_.ask(statusQuestion({"--branch"}));
    if (!text) return;
    GitStatusText status = parseStatus(*text);
    state.branch = std::move(status.branch);
    // A branch may follow another local one, which is no place elsewhere.
    const bool isOnRemote =
        status.upstream && std::ranges::any_of(state.remotes, [&](const std::string& remote) {
            return status.upstream->starts_with(remote + "/");
        });
    if (isOnRemote) state.upstream = std::move(status.upstream);
    // HEAD may stand at a ref that is no branch; Git then prints the whole of its name, or "(null)".
    const bool isBranch = !state.branch ||
                          (!state.branch->starts_with("refs/") && !state.branch->starts_with('(')) ||
                          std::ranges::find(state.localBranches, *state.branch) != state.localBranches.end();
    if (!isBranch) state.branch.reset();
    state.unpushedCommits = status.ahead;
    state.modifiedFiles = status.modified + git_.askHiddenChanges();
    state.untrackedFiles = status.untracked;
    noteChanges(git_, areFiltersOfRepository_, status.modified);
}

void GitInspector::readWorktrees(GitFolder& git, GitState& state) {
    const auto text = git.ask({"worktree", "list", "--porcelain"});
    if (!text) return;
    std::vector<Worktree> records = parseWorktrees(*text);
    if (records.empty() || !worktreeRecordsIn(git.commonFolder()).areOneLineEach) return git.giveUp();
    if (git.isLinkedWorktree()) {
        state.mainWorktreePath = records.front().path;
        return;
    }
    if (records.size() + state.worktrees.size() > kMostWorktrees + 1) git.giveUp();
    for (std::size_t index = 1; index < records.size(); ++index) {
        Worktree& worktree = records[index];
        if (state.worktrees.size() < kMostWorktrees) readWorktree(worktree, git, within_);
        if (!worktree.inspectionComplete && statusOf(worktree.path)) git.giveUp();
        state.worktrees.push_back(std::move(worktree));
    }
}

// What lies in a repository inside the folder is the folder's own. Several working trees may share their commits.
void GitInspector::addNested(GitState& state, GitFolder& nested) {
    const Changes changes = readChanges(nested);
    std::int64_t commits = 0;
    bool isStashed = false;
    if (counted_.insert(nested.commonFolder()).second) {
        commits = nested.askCommitsOnlyHere(allRefs(), within_);
        isStashed = hasStashes(nested);
    }
    state.modifiedFiles += changes.modified;
    state.untrackedFiles += changes.untracked;
    state.localOnlyCommits += commits;
    state.hasStashes = isStashed || state.hasStashes;
    if (changes.areAny() || commits > 0 || isStashed) state.repositoriesWithWork.push_back(nested.path());
}

// A submodule that is not checked out keeps its commits in the repository that it belongs to.
void GitInspector::addSubmoduleStores(GitState& state) {
    std::set<std::string> seen = counted_;
    const auto add = [&](const GitFolder& git) {
        if (!isBelow(git.commonFolder(), git_.path())) return;  // it does not go with this folder
        const auto stores = submoduleStoresIn(git.commonFolder());
        if (!stores) return git_.giveUp();
        for (const std::string& store : *stores) {
            if (!seen.insert(store).second) continue;
            const std::int64_t commits = git_.askCommitsOnlyIn(store, within_);
            state.localOnlyCommits += commits;
            state.commitsOnNoBranch += commits;
        }
    };
    add(git_);
    std::ranges::for_each(nested_, add);
}

GitFolder& GitInspector::innermost(const std::string& path) {
    GitFolder* deepest = &git_;
    for (GitFolder& nested : nested_) {
        if (isAtOrBelow(path, nested.path()) && nested.path().size() > deepest->path().size())
            deepest = &nested;
    }
    return *deepest;
}

// A repository's own data may lie anywhere, also in a folder that it ignores. Absent when that cannot be known.
std::optional<std::vector<std::string>> GitInspector::neededFolders() const {
    auto all = foldersNeededBy(git_);
    for (const GitFolder& nested : nested_) {
        const auto needed = foldersNeededBy(nested);
        if (!all || !needed) return std::nullopt;
        all->insert(all->end(), needed->begin(), needed->end());
    }
    return all;
}

std::set<std::string> GitInspector::ignoredPaths(const std::vector<std::string>& paths) {
    if (!isRepository(git_.path()) || !open()) return {};
    const auto needed = neededFolders();
    if (!needed) return {};
    std::map<GitFolder*, std::vector<std::string>> questions;
    for (const std::string& path : paths) {
        GitFolder& repository = innermost(path);
        const auto lies = [&](const std::string& folder) { return isAtOrBelow(folder, path); };
        if (std::ranges::none_of(*needed, lies) && isBelow(path, repository.path()))
            questions[&repository].push_back(asArgument(path, repository.path()));
    }
    std::set<std::string> ignored;
    for (const auto& [repository, arguments] : questions) {
        for (std::size_t begin = 0; begin < arguments.size();) {
            const auto first = arguments.begin() + static_cast<std::ptrdiff_t>(begin);
            begin = endOfBatch(arguments, begin);
            const auto last = arguments.begin() + static_cast<std::ptrdiff_t>(begin);
            for (const std::string& line : askIgnored(*repository, {first, last})) {
                if (line.starts_with("./")) ignored.insert(repository->path() + line.substr(1));
            }
        }
    }
    return ignored;
}

}  // namespace brindle
