#include "core/projects/git_safety.h"

#include <set>

#include "core/platform/path_text.h"

namespace brindle {

namespace {

// A driver's name may hold dots itself.
bool isFilterSetting(const std::string& key) {
    if (!key.starts_with("filter.")) return false;
    for (const char* end : {".clean", ".smudge", ".process", ".required"}) {
        if (key.ends_with(end)) return true;
    }
    return false;
}

// The repository's files, or a file that they include. Whoever can write the others is the user or the administrator.
bool isOfRepository(const GitSetting& setting) {
    return setting.scope != "system" && setting.scope != "global";
}

std::string blankFor(const std::string& key) {
    return key.ends_with(".required") ? "false" : "";
}

}  // namespace

const GitOverrides& baseGitOverrides() {
    static const GitOverrides kOverrides = {
        {"core.fsmonitor", "false"},
        {"core.hooksPath", "/dev/null"},
        {"core.untrackedCache", "false"},
        {"core.ignoreStat", "false"},
        {"core.quotePath", "false"},
        {"core.alternateRefsCommand", "true"},
        {"core.sshCommand", "false"},
        {"credential.helper", ""},
        {"log.showSignature", "false"},
        {"submodule.recurse", "false"},
        {"status.submoduleSummary", "false"},
        // Submodules are read by themselves, under their own settings: here only which commit each stands at.
        {"diff.ignoreSubmodules", "dirty"},
        // Files that lie outside of a sparse checkout's patterns are the user's, and are looked at.
        {"sparse.expectFilesOutsideOfPatterns", "false"},
        {"safe.bareRepository", "explicit"},
    };
    return kOverrides;
}

GitFilters filtersAmong(const std::vector<GitSetting>& settings) {
    std::map<std::string, std::string> ofUser;
    std::map<std::string, std::string> ofRepository;
    for (const GitSetting& setting : settings) {
        if (!isFilterSetting(setting.key)) continue;
        (isOfRepository(setting) ? ofRepository : ofUser)[setting.key] = setting.value.value_or("true");
    }
    GitFilters filters;
    for (const auto& [key, value] : ofRepository) {
        const auto users = ofUser.find(key);
        const std::string kept = users != ofUser.end() ? users->second : blankFor(key);
        filters.overrides[key] = kept;
        if (value != kept && !key.ends_with(".smudge") && !key.ends_with(".required"))
            filters.areOfRepository = true;
    }
    return filters;
}

RunOptions gitRunOptions(const std::string& folder, const GitOverrides& overrides) {
    RunOptions options;
    options.timeout = std::chrono::seconds(10);
    options.removedVariables = {"GIT_*", "SSH_ASKPASS", "LESS*", "LC_*", "LANGUAGE"};
    options.setVariables = {{"GIT_CEILING_DIRECTORIES", folderOf(folder)},
                            {"GIT_NO_LAZY_FETCH", "1"},
                            {"GIT_ALLOW_PROTOCOL", "none"},
                            {"GIT_TERMINAL_PROMPT", "0"},
                            {"GIT_OPTIONAL_LOCKS", "0"},
                            {"GIT_NO_REPLACE_OBJECTS", "1"},
                            {"GIT_GRAFT_FILE", "/dev/null"},
                            {"GIT_PAGER", "cat"},
                            {"GIT_ASKPASS", "/bin/false"},
                            {"LC_ALL", "C"}};
    std::size_t count = 0;
    for (const auto& [key, value] : overrides) {
        options.setVariables["GIT_CONFIG_KEY_" + std::to_string(count)] = key;
        options.setVariables["GIT_CONFIG_VALUE_" + std::to_string(count)] = value;
        count += 1;
    }
    options.setVariables["GIT_CONFIG_COUNT"] = std::to_string(count);
    return options;
}

}  // namespace brindle
