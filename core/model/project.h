// A software project that a scan found: what kind it is, what in it is generated, and how sure that is.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/model/directory_measurement.h"
#include "core/model/project_safety.h"
#include "core/model/raw_text.h"
#include "core/model/regeneration.h"
#include "core/text/calendar.h"

namespace brindle {

// In the order in which a project's kinds are reported.
enum class ProjectKind { node, xcode, swift, python, rust, go, java, ruby, php, dart, terraform };

template <>
struct RawTexts<ProjectKind> {
    static constexpr std::array<std::string_view, 11> kTexts = {
        "node", "xcode", "swift", "python", "rust", "go", "java", "ruby", "php", "dart", "terraform"};
};

constexpr std::string_view rawText(ProjectKind kind) {
    return rawTextOf(kind);
}
std::string_view sourceName(ProjectKind kind);  // "Flutter / Dart", in English
std::string displayName(ProjectKind kind);      // the same, localised at every call

enum class ArtifactCategory {
    dependencies,      // installed packages that a package manager puts back
    build,             // output that a build tool writes again
    sourceAndHistory,  // never generated, or holding what is not: never offered
};

template <>
struct RawTexts<ArtifactCategory> {
    static constexpr std::array<std::string_view, 3> kTexts = {"dependencies", "build", "sourceAndHistory"};
};

constexpr std::string_view rawText(ArtifactCategory category) {
    return rawTextOf(category);
}

// One generated folder of a project.
struct ProjectArtifact {
    std::string path;  // absolute; also its identity
    std::string name;  // the folder's own: "node_modules"
    ArtifactCategory category = ArtifactCategory::sourceAndHistory;
    DirectoryMeasurement measurement;
    Regeneration regeneratedBy;

    bool operator==(const ProjectArtifact&) const = default;

    std::uint64_t bytes() const { return measurement.allocatedBytes; }
};

// Those of one project that share a name.
struct ArtifactGroup {
    std::string name;  // also its identity
    ArtifactCategory category = ArtifactCategory::sourceAndHistory;
    std::int64_t count = 0;
    std::uint64_t bytes = 0;
    Regeneration regeneratedBy;      // the first member's
    std::vector<std::string> paths;  // in the artifacts' order

    bool operator==(const ArtifactGroup&) const = default;

    std::string label() const;  // "node_modules ×3", or the name alone
};

struct Project {
    static constexpr int kDormantAfterDays = 90;

    std::string path;                         // absolute, links resolved; also its identity
    std::string name;                         // the folder's own name
    std::vector<ProjectKind> kinds;           // empty for what is a Git checkout and nothing else
    std::optional<TimePoint> lastUsed;        // the latest sign of activity
    DirectoryMeasurement measurement;         // of the whole folder, with a hard-link tracker of its own
    std::vector<ProjectArtifact> artifacts;   // largest first
    std::optional<ProjectSafety> safety;      // absent when nobody has judged it
    std::optional<std::string> declaredName;  // by its manifest

    bool operator==(const Project&) const = default;

    std::uint64_t totalBytes() const { return measurement.allocatedBytes; }
    std::vector<ProjectArtifact> rebuildableArtifacts() const;  // in their order
    std::uint64_t rebuildableBytes() const;
    std::uint64_t keptBytes() const;  // what stays; 0 when the artifacts measure more than the whole
    std::vector<ArtifactGroup> artifactGroups() const;  // largest first
    // Groups of the rebuildable ones only.
    std::vector<ArtifactGroup> rebuildableGroups() const;

    std::optional<int> daysSinceUse(TimePoint now) const;  // whole calendar days; negative for a date to come
    bool isDormant(TimePoint now) const;
    std::string relativeAge(TimePoint now) const;  // "3 days ago", localised
};

}  // namespace brindle
