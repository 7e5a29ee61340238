// What Brindle knows of kinds of projects and of the folders that their tools generate.
#pragma once

#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/model/project.h"

namespace brindle {

// A marker that begins with "." is the end of an entry's name, any other one is the whole name.
std::span<const std::string_view> markersOf(ProjectKind kind);

// Those with a marker among the names in a folder, in the order of the kinds.
std::vector<ProjectKind> kindsAmong(const std::vector<std::string>& entries);

// Whether an entry of this name makes a folder a project: ".git", or a marker of any kind.
bool marksProject(std::string_view entry);

// Names, but for ".git", that mark a folder whose times tell of activity.
std::span<const std::string_view> activityFiles();

// A folder name that stands for generated data.
struct ArtifactRule {
    std::string_view name;
    ArtifactCategory category;
    Regeneration::Kind kind;
    std::string_view regeneration;  // English source
};

std::span<const ArtifactRule> artifactRules();
const ArtifactRule* artifactRuleFor(std::string_view name);  // null for any other name
std::set<std::string> artifactNames();

// A lockfile and the command that installs exactly what it pins.
struct Installer {
    std::string_view lockfile;
    std::string_view command;
};

// Best first; empty for folders that no such command makes.
std::span<const Installer> installersFor(std::string_view artifactName);

// The lockfiles that pin what the folder holds; empty for folders without such.
std::span<const std::string_view> lockfilesFor(std::string_view artifactName);

// Names that no removal may pass through: a folder that holds one is never offered, whatever it is called.
bool isKeptName(std::string_view name);

}  // namespace brindle
