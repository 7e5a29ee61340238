#include "core/projects/project_tables.h"

#include <algorithm>
#include <array>

namespace brindle {

namespace {

using Names = std::span<const std::string_view>;
using Kind = Regeneration::Kind;

constexpr std::array<std::string_view, 1> kNode = {"package.json"};
constexpr std::array<std::string_view, 2> kXcode = {".xcodeproj", ".xcworkspace"};
constexpr std::array<std::string_view, 1> kSwift = {"Package.swift"};
constexpr std::array<std::string_view, 3> kPython = {"pyproject.toml", "requirements.txt", "setup.py"};
constexpr std::array<std::string_view, 1> kRust = {"Cargo.toml"};
constexpr std::array<std::string_view, 1> kGo = {"go.mod"};
constexpr std::array<std::string_view, 3> kJava = {"build.gradle", "build.gradle.kts", "pom.xml"};
constexpr std::array<std::string_view, 1> kRuby = {"Gemfile"};
constexpr std::array<std::string_view, 1> kPhp = {"composer.json"};
constexpr std::array<std::string_view, 1> kDart = {"pubspec.yaml"};
constexpr std::array<std::string_view, 1> kTerraform = {".tf"};

// In the order of the kinds.
constexpr std::array<Names, 11> kMarkers = {kNode, kXcode, kSwift, kPython, kRust,     kGo,
                                            kJava, kRuby,  kPhp,   kDart,   kTerraform};

constexpr std::array<std::string_view, 6> kActivityFiles = {"package.json",   "Cargo.toml",    "go.mod",
                                                            "pyproject.toml", "Package.swift", "README.md"};

constexpr auto kDependencies = ArtifactCategory::dependencies;
constexpr auto kBuild = ArtifactCategory::build;

constexpr std::array<ArtifactRule, 18> kArtifacts = {{
    {"node_modules", kDependencies, Kind::command, "npm install"},
    {"vendor", kDependencies, Kind::command, "composer install"},
    {"Pods", kDependencies, Kind::command, "pod install"},
    {".venv", kDependencies, Kind::command, "python -m venv .venv && pip install -r requirements.txt"},
    {"venv", kDependencies, Kind::command, "python -m venv venv && pip install -r requirements.txt"},
    {"build", kBuild, Kind::action, "Build the project again"},
    {"dist", kBuild, Kind::action, "Build the project again"},
    {"out", kBuild, Kind::action, "Build the project again"},
    {".next", kBuild, Kind::command, "next build"},
    {".nuxt", kBuild, Kind::command, "nuxt build"},
    {".svelte-kit", kBuild, Kind::command, "vite build"},
    {"target", kBuild, Kind::command, "cargo build"},
    {".build", kBuild, Kind::command, "swift build"},
    {"DerivedData", kBuild, Kind::action, "Build the project again in Xcode"},
    {"__pycache__", kBuild, Kind::automatic, "Written again the next time Python runs"},
    {".gradle", kBuild, Kind::command, "./gradlew build"},
    {".turbo", kBuild, Kind::automatic, "Rebuilt by the next turbo run"},
    {".parcel-cache", kBuild, Kind::automatic, "Rebuilt by the next parcel run"},
}};

constexpr std::array<Installer, 6> kNodeInstallers = {{
    {"pnpm-lock.yaml", "pnpm install"},
    {"bun.lock", "bun install"},
    {"bun.lockb", "bun install"},
    {"yarn.lock", "yarn install"},
    {"package-lock.json", "npm install"},
    {"npm-shrinkwrap.json", "npm install"},
}};
constexpr std::array<Installer, 3> kPythonInstallers = {{
    {"uv.lock", "uv sync"},
    {"poetry.lock", "poetry install"},
    {"Pipfile.lock", "pipenv install"},
}};
constexpr std::array<Installer, 3> kVendorInstallers = {{
    {"composer.lock", "composer install"},
    {"Gemfile.lock", "bundle install"},
    {"go.mod", "go mod vendor"},
}};

constexpr std::array<std::string_view, 6> kNodeLockfiles = {
    "pnpm-lock.yaml", "package-lock.json", "yarn.lock", "bun.lockb", "bun.lock", "npm-shrinkwrap.json"};
constexpr std::array<std::string_view, 3> kPythonLockfiles = {"poetry.lock", "uv.lock", "Pipfile.lock"};
constexpr std::array<std::string_view, 1> kPodLockfiles = {"Podfile.lock"};
constexpr std::array<std::string_view, 2> kVendorLockfiles = {"composer.lock", "Gemfile.lock"};
constexpr std::array<std::string_view, 1> kCargoLockfiles = {"Cargo.lock"};

constexpr std::array<std::string_view, 6> kKeptNames = {".git", ".ssh",  ".gnupg",
                                                        ".aws", ".kube", "Keychains"};

bool isMarkedBy(std::string_view entry, std::string_view marker) {
    return marker.starts_with('.') ? entry.ends_with(marker) : entry == marker;
}

bool isPythonEnvironment(std::string_view artifactName) {
    return artifactName == ".venv" || artifactName == "venv";
}

}  // namespace

Names markersOf(ProjectKind kind) {
    return kMarkers.at(static_cast<std::size_t>(kind));
}

std::vector<ProjectKind> kindsAmong(const std::vector<std::string>& entries) {
    std::vector<ProjectKind> kinds;
    for (const ProjectKind kind : allCases<ProjectKind>()) {
        const bool isMarked = std::ranges::any_of(markersOf(kind), [&](std::string_view marker) {
            return std::ranges::any_of(entries, [&](const auto& entry) { return isMarkedBy(entry, marker); });
        });
        if (isMarked) kinds.push_back(kind);
    }
    return kinds;
}

bool marksProject(std::string_view entry) {
    if (entry == ".git") return true;
    return std::ranges::any_of(kMarkers, [&](const Names& markers) {
        return std::ranges::any_of(markers,
                                   [&](std::string_view marker) { return isMarkedBy(entry, marker); });
    });
}

Names activityFiles() {
    return kActivityFiles;
}

std::span<const ArtifactRule> artifactRules() {
    return kArtifacts;
}

const ArtifactRule* artifactRuleFor(std::string_view name) {
    const auto* rule = std::ranges::find(kArtifacts, name, &ArtifactRule::name);
    return rule == kArtifacts.end() ? nullptr : rule;
}

std::set<std::string> artifactNames() {
    std::set<std::string> names;
    for (const ArtifactRule& rule : kArtifacts) names.emplace(rule.name);
    return names;
}

std::span<const Installer> installersFor(std::string_view artifactName) {
    if (artifactName == "node_modules") return kNodeInstallers;
    if (isPythonEnvironment(artifactName)) return kPythonInstallers;
    if (artifactName == "vendor") return kVendorInstallers;
    return {};
}

Names lockfilesFor(std::string_view artifactName) {
    if (artifactName == "node_modules") return kNodeLockfiles;
    if (isPythonEnvironment(artifactName)) return kPythonLockfiles;
    if (artifactName == "Pods") return kPodLockfiles;
    if (artifactName == "vendor") return kVendorLockfiles;
    if (artifactName == "target") return kCargoLockfiles;
    return {};
}

// Asked of every entry of every project: most names are ruled out by their first letter.
bool isKeptName(std::string_view name) {
    if (!name.starts_with('.') && !name.starts_with('K')) return false;
    return std::ranges::find(kKeptNames, name) != kKeptNames.end() || name == ".env" ||
           name.starts_with(".env.");
}

}  // namespace brindle
