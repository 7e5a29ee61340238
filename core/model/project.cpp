#include "core/model/project.h"

#include <algorithm>
#include <iterator>

#include "core/model/byte_sum.h"
#include "core/text/byte_format.h"
#include "core/text/core_strings.h"
#include "core/text/relative_age.h"

namespace brindle {

namespace {

using std::chrono::sys_seconds;

std::optional<sys_seconds> wholeSeconds(std::optional<TimePoint> moment) {
    if (!moment) return std::nullopt;
    return std::chrono::floor<std::chrono::seconds>(*moment);
}

std::vector<ArtifactGroup> groupsOf(const std::vector<ProjectArtifact>& artifacts) {
    std::vector<ArtifactGroup> groups;
    for (const ProjectArtifact& artifact : artifacts) {
        auto group = std::ranges::find(groups, artifact.name, &ArtifactGroup::name);
        if (group == groups.end()) {
            groups.push_back({.name = artifact.name,
                              .category = artifact.category,
                              .regeneratedBy = artifact.regeneratedBy,
                              .paths = {}});
            group = groups.end() - 1;
        }
        group->count += 1;
        group->bytes = addBytes(group->bytes, artifact.bytes());
        group->paths.push_back(artifact.path);
    }
    std::ranges::stable_sort(groups, std::greater{}, &ArtifactGroup::bytes);
    return groups;
}

}  // namespace

std::string_view sourceName(ProjectKind kind) {
    switch (kind) {
        case ProjectKind::node:
            return "Node";
        case ProjectKind::xcode:
            return "Xcode";
        case ProjectKind::swift:
            return "Swift";
        case ProjectKind::python:
            return "Python";
        case ProjectKind::rust:
            return "Rust";
        case ProjectKind::go:
            return "Go";
        case ProjectKind::java:
            return "Gradle";
        case ProjectKind::ruby:
            return "Ruby";
        case ProjectKind::php:
            return "PHP";
        case ProjectKind::dart:
            return "Flutter / Dart";
        case ProjectKind::terraform:
            return "Terraform";
    }
    return "";
}

std::string displayName(ProjectKind kind) {
    return localized(sourceName(kind));
}

std::string ArtifactGroup::label() const {
    return count == 1 ? name : name + " ×" + ByteFormat::count(count);
}

std::vector<ProjectArtifact> Project::rebuildableArtifacts() const {
    std::vector<ProjectArtifact> rebuildable;
    std::ranges::copy_if(artifacts, std::back_inserter(rebuildable), [](const ProjectArtifact& artifact) {
        return artifact.category != ArtifactCategory::sourceAndHistory;
    });
    return rebuildable;
}

std::uint64_t Project::rebuildableBytes() const {
    std::uint64_t sum = 0;
    for (const ProjectArtifact& artifact : rebuildableArtifacts()) sum = addBytes(sum, artifact.bytes());
    return sum;
}

std::uint64_t Project::keptBytes() const {
    const std::uint64_t rebuildable = rebuildableBytes();
    return rebuildable < totalBytes() ? totalBytes() - rebuildable : 0;
}

std::vector<ArtifactGroup> Project::artifactGroups() const {
    return groupsOf(artifacts);
}

std::vector<ArtifactGroup> Project::rebuildableGroups() const {
    return groupsOf(rebuildableArtifacts());
}

std::optional<int> Project::daysSinceUse(TimePoint now) const {
    if (!lastUsed) return std::nullopt;
    return wholeDaysBetween(*wholeSeconds(lastUsed), *wholeSeconds(now));
}

bool Project::isDormant(TimePoint now) const {
    const auto days = daysSinceUse(now);
    return days && *days >= kDormantAfterDays;
}

std::string Project::relativeAge(TimePoint now) const {
    if (daysSinceUse(now).value_or(0) < 0) return localized("in the future");
    return brindle::relativeAge(wholeSeconds(lastUsed), now);
}

}  // namespace brindle
