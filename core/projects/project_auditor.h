// Weighs what is known of one project into signals and one verdict. Pure: it looks at nothing but its arguments.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "core/model/project.h"

namespace brindle {

struct ProjectEvidence {
    const Project& project;  // its `safety` is not read
    const GitState& git;
    std::set<std::string> ignoredArtifacts;  // paths that Git confirms to be ignored
    std::vector<std::string> entries;  // the names in the project folder; empty when it could not be listed
    TimePoint now;
};

// Sentences are in the interface language of this moment.
ProjectSafety auditProject(const ProjectEvidence& evidence);

ProjectSafety::Confidence confidenceOf(const std::vector<SafetySignal>& signals, const GitState& git);

}  // namespace brindle
