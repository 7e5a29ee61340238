// A project in the best of states, and ways to spoil it.
#pragma once

#include <map>
#include <string>

#include "core/model/project.h"
#include "core/text/core_strings.h"
#include "tests/support/test_home.h"

namespace brindle::test {

// Plural phrases stand in the catalogue only.
inline void speakEnglish() {
    CoreStrings::setBundles(ResourceBundle(resourcesFolder(), "core", {"en"}), {});
}

// A clean repository, pushed and tracking origin/main, but for these words: "local -upstream". One that counts may
// come several times.
inline GitState repository(std::string words = "") {
    static const std::map<std::string, void (*)(GitState&)> kWords = {
        {"modified", [](GitState& git) { git.modifiedFiles += 1; }},
        {"untracked", [](GitState& git) { git.untrackedFiles += 1; }},
        {"ahead", [](GitState& git) { git.unpushedCommits += 1; }},
        {"local", [](GitState& git) { git.localOnlyCommits += 1; }},
        {"loose", [](GitState& git) { git.commitsOnNoBranch += 1; }},
        {"inside", [](GitState& git) { git.repositoriesWithWork = {"/h/in"}; }},
        {"side", [](GitState& git) { git.localBranches.emplace_back("side"); }},
        {"new", [](GitState& git) { git.remotes = {"new"}, git.upstream.reset(); }},
        {"stash", [](GitState& git) { git.hasStashes = true; }},
        {"unread", [](GitState& git) { git.inspectionComplete = false; }},
        {"-remote", [](GitState& git) { git.remotes.clear(), git.upstream.reset(); }},
        {"-upstream", [](GitState& git) { git.upstream.reset(); }},
        {"-branch", [](GitState& git) { git.branch.reset(), git.upstream.reset(); }},
        {"-commits", [](GitState& git) { git.localBranches.clear(), git.upstream.reset(); }},
        {"-git", [](GitState& git) { git = GitState::notARepository(); }},
    };
    GitState git;
    git.isRepository = git.inspectionComplete = true;
    git.remotes = {"origin"};
    git.branch = "main";
    git.upstream = "origin/main";
    git.localBranches = {"main"};
    for (words += ' '; words.size() > 1; words.erase(0, words.find(' ') + 1))
        kWords.at(words.substr(0, words.find(' ')))(git);
    return git;
}

inline ProjectArtifact artifact(const std::string& path, std::uint64_t bytes, ArtifactCategory category,
                                const std::string& command = "") {
    const std::string name = path.substr(path.find_last_of('/') + 1);
    return {path, name, category, {.allocatedBytes = bytes}, {Regeneration::Kind::command, command}};
}

// 5 MB with 3 MB of packages, not judged yet.
inline Project lantern() {
    Project project;
    project.path = "/home/u/Projects/lantern";
    project.name = "lantern";
    project.measurement.allocatedBytes = 5'000'000;
    project.artifacts = {artifact(project.path + "/node_modules", 3'000'000, ArtifactCategory::dependencies)};
    return project;
}

}  // namespace brindle::test
