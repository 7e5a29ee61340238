#include "core/model/project_json.h"

namespace brindle {

namespace {

Json timeOrNull(const std::optional<TimePoint>& moment) {
    return moment ? Json(iso8601(*moment)) : Json(nullptr);
}

template <typename Record>
Json arrayOf(const std::vector<Record>& records) {
    Json array = Json::array();
    for (const Record& record : records) array.push_back(toJson(record));
    return array;
}

Json kindTexts(const std::vector<ProjectKind>& kinds) {
    Json array = Json::array();
    for (const ProjectKind kind : kinds) array.push_back(rawText(kind));
    return array;
}

}  // namespace

Json toJson(const Worktree& worktree) {
    return Json{
        {"path", jsonText(worktree.path)},
        {"branch", jsonTextOrNull(worktree.branch)},
        {"isLocked", worktree.isLocked},
        {"prunableReason", jsonTextOrNull(worktree.prunableReason)},
        {"lastUsed", timeOrNull(worktree.lastUsed)},
        {"modifiedFiles", worktree.modifiedFiles},
        {"untrackedFiles", worktree.untrackedFiles},
        {"localOnlyCommits", worktree.localOnlyCommits},
        {"inspectionComplete", worktree.inspectionComplete},
        {"isPrunable", worktree.isPrunable()},
        {"carriesWork", worktree.carriesWork()},
        {"isSpent", worktree.isSpent()},
        {"state", jsonText(worktree.state())},
        {"removalCommand", jsonTextOrNull(worktree.removalCommand())},
    };
}

Json toJson(const GitState& git) {
    return Json{
        {"isRepository", git.isRepository},
        {"remotes", jsonTexts(git.remotes)},
        {"branch", jsonTextOrNull(git.branch)},
        {"upstream", jsonTextOrNull(git.upstream)},
        {"unpushedCommits", git.unpushedCommits},
        {"modifiedFiles", git.modifiedFiles},
        {"untrackedFiles", git.untrackedFiles},
        {"hasStashes", git.hasStashes},
        {"localBranches", jsonTexts(git.localBranches)},
        {"localOnlyCommits", git.localOnlyCommits},
        {"inspectionComplete", git.inspectionComplete},
        {"remoteURLs", jsonTexts(git.remoteURLs)},
        {"worktrees", arrayOf(git.worktrees)},
        {"mainWorktreePath", jsonTextOrNull(git.mainWorktreePath)},
        {"hasRemote", git.hasRemote()},
        {"isFullyBackedUp", git.isFullyBackedUp()},
    };
}

Json toJson(const SafetySignal& signal) {
    return Json{{"weight", rawText(signal.weight)}, {"text", jsonText(signal.storedText)}};
}

Json toJson(const ProjectSafety& safety) {
    return Json{
        {"confidence", rawText(safety.confidence)},
        {"headline", jsonText(safety.headline())},
        {"signals", arrayOf(safety.signals)},
        {"git", toJson(safety.git)},
    };
}

Json toJson(const ProjectArtifact& artifact) {
    return Json{
        {"path", jsonText(artifact.path)},
        {"name", jsonText(artifact.name)},
        {"category", rawText(artifact.category)},
        {"bytes", artifact.bytes()},
        {"measurement", toJson(artifact.measurement)},
        {"regeneratedBy", toJson(artifact.regeneratedBy)},
    };
}

Json toJson(const ArtifactGroup& group) {
    return Json{
        {"name", jsonText(group.name)},
        {"label", jsonText(group.label())},
        {"category", rawText(group.category)},
        {"count", group.count},
        {"bytes", group.bytes},
        {"regeneratedBy", toJson(group.regeneratedBy)},
        {"paths", jsonTexts(group.paths)},
    };
}

Json toJson(const Project& project) {
    return Json{
        {"path", jsonText(project.path)},
        {"name", jsonText(project.name)},
        {"kinds", kindTexts(project.kinds)},
        {"declaredName", jsonTextOrNull(project.declaredName)},
        {"lastUsed", timeOrNull(project.lastUsed)},
        {"measurement", toJson(project.measurement)},
        {"totalBytes", project.totalBytes()},
        {"rebuildableBytes", project.rebuildableBytes()},
        {"keptBytes", project.keptBytes()},
        {"artifacts", arrayOf(project.artifacts)},
        {"artifactGroups", arrayOf(project.artifactGroups())},
        {"safety", project.safety ? toJson(*project.safety) : Json(nullptr)},
    };
}

Json toJson(const ProjectRelation& relation) {
    return Json{
        {"otherPath", jsonText(relation.otherPath)},
        {"otherName", jsonText(relation.otherName)},
        {"basis", rawText(relation.basis)},
        {"detail", relation.detail.empty() ? Json(nullptr) : Json(jsonText(relation.detail))},
        {"isProven", relation.isProven()},
        {"headline", jsonText(relation.headline())},
        {"evidence", jsonText(relation.evidence())},
    };
}

Json toJson(const RelatedProjects& related) {
    return Json{{"relations", arrayOf(related.strongest)}, {"relationsLeftOut", related.leftOut}};
}

}  // namespace brindle
