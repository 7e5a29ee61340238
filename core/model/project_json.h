// The JSON forms of projects, their Git state and the evidence about them, by the rules of model_json.h. Sentences that
// were localised when they were made are written as they are; headlines and states are in the interface language, which
// whoever writes a document for a script sets to English first.
#pragma once

#include "core/model/model_json.h"
#include "core/model/project.h"
#include "core/model/project_relation.h"

namespace brindle {

Json toJson(const Worktree& worktree);
Json toJson(const GitState& git);  // addresses of remotes without credentials
Json toJson(const SafetySignal& signal);
Json toJson(const ProjectSafety& safety);
Json toJson(const ProjectArtifact& artifact);
Json toJson(const ArtifactGroup& group);
Json toJson(const Project& project);
Json toJson(const ProjectRelation& relation);
Json toJson(const RelatedProjects& related);  // the fields that a project gets

}  // namespace brindle
