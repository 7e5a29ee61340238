#include "core/projects/project_detector.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>

#include "core/platform/files.h"
#include "core/platform/machine.h"
#include "core/platform/path_text.h"
#include "core/projects/git_inspector.h"
#include "core/projects/lockfile_search.h"
#include "core/projects/project_activity.h"
#include "core/projects/project_auditor.h"
#include "core/projects/project_collector.h"
#include "core/projects/project_manifest.h"
#include "core/projects/project_tables.h"
#include "core/projects/worker_threads.h"

namespace brindle {

namespace {

using Clock = std::chrono::steady_clock;
using Reason = UnreachableLocation::Reason;

// What the inspection of all projects of one search shares.
struct Work {
    Work(const ProjectSearch& shared, const Toolbox& tools)
        : search(shared), git(tools, shared.isCancelled) {}

    const ProjectSearch& search;
    GitUse git;
    std::atomic<std::int64_t> walking = 0;  // nanoseconds
};

// Other tools' repositories: nobody asks them what they hold.
bool isForeignHistory(std::string_view name) {
    static constexpr std::array<std::string_view, 8> kNames = {".hg",    ".svn",   ".jj",       ".bzr",
                                                               ".pijul", "_darcs", ".fslckout", "_FOSSIL_"};
    return (name.starts_with('.') || name.starts_with('_')) &&
           std::ranges::find(kNames, name) != kNames.end();
}

// Outside generated folders only repositories matter; a file HEAD is the sign of a bare one.
bool isMark(std::string_view name, bool isInArea) {
    return isInArea ? isKeptName(name) || isForeignHistory(name) || name == "HEAD" : name == ".git";
}

MeasuredTree walk(const std::string& folder, Work& work) {
    const auto start = Clock::now();
    HardlinkTracker own;
    const AreaRule rule{.isArea = [](std::string_view name) { return artifactRuleFor(name) != nullptr; },
                        .isMark = isMark,
                        .hardlinks = work.search.artifactHardlinks};
    MeasuredTree tree =
        DirectorySizer().measureWithAreas(folder, {&own, work.search.isCancelled, work.search.mounts}, rule);
    work.walking += std::chrono::nanoseconds(Clock::now() - start).count();
    for (const std::string& path : tree.whole.unreadablePaths)
        work.search.report(path, reasonUnreadable(path));
    for (const std::string& path : tree.whole.otherVolumePaths)
        work.search.report(path, Reason::differentVolume);
    return tree;
}

// The folders below that hold a repository of their own; absent when there may be more than were listed, or in what the
// walk could not look at.
std::optional<std::vector<std::string>> nestedRepositories(const std::string& folder,
                                                           const MeasuredTree& tree) {
    std::vector<std::string> nested;
    const auto add = [&](const std::vector<std::string>& marks) {
        for (const std::string& mark : marks) {
            const std::string holder = folderOf(mark);
            if (lastComponent(mark) == ".git" && holder != folder) nested.push_back(holder);
        }
        return marks.size() < MeasuredTree::kMostMarks;
    };
    bool areAllListed = add(tree.marks);
    for (const MeasuredArea& area : tree.areas) areAllListed = add(area.marks) && areAllListed;
    if (!areAllListed || !tree.whole.isComplete()) return std::nullopt;
    return nested;
}

// What holds a repository, keys or environment files is more than generated, whatever it is called; and what could not be
// looked at may hold such.
ProjectArtifact artifactOf(const MeasuredArea& area, LockfileSearch& lockfiles) {
    const std::string_view name = lastComponent(area.path);
    const ArtifactRule& rule = *artifactRuleFor(name);
    const bool isGenerated = area.marks.empty() && area.measurement.isComplete();
    const Regeneration byDefault{rule.kind, std::string(rule.regeneration)};
    return {.path = area.path,
            .name = std::string(name),
            .category = isGenerated ? rule.category : ArtifactCategory::sourceAndHistory,
            .measurement = area.measurement,
            .regeneratedBy = lockfiles.regeneration(name, area.path).value_or(byDefault)};
}

std::vector<ProjectArtifact> artifactsOf(const std::string& folder, const MeasuredTree& tree) {
    LockfileSearch lockfiles(folder);
    std::vector<ProjectArtifact> artifacts;
    for (const MeasuredArea& area : tree.areas) artifacts.push_back(artifactOf(area, lockfiles));
    std::ranges::stable_sort(artifacts, std::greater{}, &ProjectArtifact::bytes);
    return artifacts;
}

ProjectSafety safetyOf(const Project& project, const std::vector<std::string>& entries,
                       const std::optional<std::vector<std::string>>& nested, Work& work) {
    GitInspector inspector(project.path, nested, work.git);
    const GitState git = inspector.inspect();
    std::vector<std::string> paths;
    for (const ProjectArtifact& artifact : project.rebuildableArtifacts()) paths.push_back(artifact.path);
    std::set<std::string> ignored;
    if (git.isRepository && !paths.empty()) ignored = inspector.ignoredPaths(paths);
    return auditProject({.project = project,
                         .git = git,
                         .ignoredArtifacts = std::move(ignored),
                         .entries = entries,
                         .now = work.search.now});
}

// Absent when the search was cancelled meanwhile: half a project would look smaller and safer than it is.
std::optional<Project> read(const ProjectFolder& found, Work& work) {
    if (work.search.isCancelled()) return std::nullopt;
    const MeasuredTree tree = walk(found.path, work);
    Project project{.path = found.path,
                    .name = std::string(lastComponent(found.path)),
                    .kinds = kindsAmong(found.entries),
                    .lastUsed = lastActivity(found.path, found.entries),
                    .measurement = tree.whole,
                    .artifacts = artifactsOf(found.path, tree),
                    .safety = {},
                    .declaredName = declaredName(found.path, found.entries)};
    project.safety = safetyOf(project, found.entries, nestedRepositories(found.path, tree), work);
    if (work.search.isCancelled()) return std::nullopt;
    return project;
}

std::vector<std::optional<Project>> readAll(const std::vector<ProjectFolder>& found, Work& work) {
    std::vector<std::optional<Project>> projects(found.size());
    std::atomic<std::size_t> next = 0;
    const auto readSome = [&] {
        for (std::size_t index = next++; index < found.size(); index = next++) {
            projects[index] = read(found[index], work);
        }
    };
    runOnWorkers(found.size(), readSome);  // while some projects wait for Git, others are walked
    return projects;
}

}  // namespace

std::vector<Project> ProjectDetector::inspectFound(const std::vector<ProjectFolder>& found,
                                                   const ProjectSearch& search, ProjectTimes* times) const {
    Work work(search, tools_);
    std::vector<Project> projects;
    for (std::optional<Project>& project : readAll(found, work)) {
        if (project) projects.push_back(std::move(*project));
    }
    std::ranges::stable_sort(projects, std::greater{}, &Project::totalBytes);
    if (times != nullptr) {
        times->walking = static_cast<double>(work.walking) / 1e9;
        times->git = static_cast<double>(work.git.nanoseconds) / 1e9;
    }
    return projects;
}

std::vector<Project> ProjectDetector::discover(const ProjectSearch& search, ProjectTimes* times) const {
    return inspectFound(collectProjects(search), search, times);
}

std::expected<Project, Error> ProjectDetector::inspect(const std::string& folder,
                                                       const ProjectSearch& search) const {
    const auto path = canonicalPath(folder);
    if (!path) return std::unexpected(path.error());
    auto entries = listFolder(*path);
    if (!entries) return std::unexpected(entries.error());
    const std::vector<Project> projects = inspectFound({{*path, std::move(*entries)}}, search);
    if (projects.empty()) {
        return std::unexpected(errorFrom(EINTR, "read the whole of", *path));
    }
    return projects.front();
}

}  // namespace brindle
