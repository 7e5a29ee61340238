#include "core/projects/project_outline.h"

#include <algorithm>
#include <atomic>

#include "core/platform/path_text.h"
#include "core/projects/git_folder.h"
#include "core/projects/git_output.h"
#include "core/projects/project_manifest.h"
#include "core/projects/project_relations.h"
#include "core/projects/worker_threads.h"

namespace brindle {

namespace {

GitState addressesOf(const std::string& folder, GitUse& use) {
    GitState state;
    GitFolder git(folder, use);
    if (!git.open()) return state;
    state.isRepository = true;
    if (const auto text = git.ask({"remote", "-v"})) state.remoteURLs = remoteURLs(*text);
    if (!git.isLinkedWorktree()) return state;
    const auto text = git.ask({"worktree", "list", "--porcelain"});
    const std::vector<Worktree> trees = parseWorktrees(text.value_or(""));
    if (!trees.empty()) state.mainWorktreePath = trees.front().path;
    return state;
}

bool hasGit(const ProjectFolder& folder) {
    return std::ranges::find(folder.entries, ".git") != folder.entries.end();
}

// Several at once, for most of the time Git is waited for.
void askGit(const std::vector<Project*>& projects, const ProjectSearch& search, const Toolbox& tools) {
    GitUse use(tools, search.isCancelled);
    std::atomic<std::size_t> next = 0;
    const auto askSome = [&] {
        for (std::size_t index = next++; index < projects.size() && !search.isCancelled(); index = next++)
            projects[index]->safety.emplace().git = addressesOf(projects[index]->path, use);
    };
    runOnWorkers(projects.size(), askSome);
}

}  // namespace

std::vector<Project> outlinesFor(const Project& project, const std::vector<ProjectFolder>& found,
                                 const ProjectSearch& search, const Toolbox& tools) {
    // Addresses tell something only beside addresses, and which checkout is the main one only beside a likeness.
    const bool hasAddresses = project.safety && !project.safety->git.remoteURLs.empty();
    std::vector<Project> outlines;
    outlines.reserve(found.size());
    std::vector<Project*> asked;
    for (const ProjectFolder& folder : found) {
        if (search.isCancelled()) return outlines;
        if (folder.path == project.path) continue;
        Project& other = outlines.emplace_back();
        other.path = folder.path;
        other.name = std::string(lastComponent(folder.path));
        other.declaredName = declaredName(folder.path, folder.entries);
        if (hasGit(folder) && (hasAddresses || !relationsOf(project, {other}).strongest.empty()))
            asked.push_back(&other);
    }
    askGit(asked, search, tools);
    return outlines;
}

}  // namespace brindle
