// What Git prints, understood. Pure functions on text that may be anything: a line that is not understood is no answer.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/model/git_state.h"

namespace brindle {

// git remote -v, in order of first appearance, each once. An address comes without the credentials that it
// may carry (core/model/remote_address.h): it is shown, and pasted into reports.
std::vector<std::string> remoteNames(std::string_view text);
std::vector<std::string> remoteURLs(std::string_view text);

// git status --porcelain=v2 [--branch].
struct GitStatusText {
    std::optional<std::string> branch = {};    // absent when HEAD is detached
    std::optional<std::string> upstream = {};  // absent also when its ref is gone
    std::int64_t ahead = 0;
    std::int64_t modified = 0;
    std::int64_t untracked = 0;

    bool operator==(const GitStatusText&) const = default;
};
GitStatusText parseStatus(std::string_view text);

// git worktree list --porcelain: every record, the main checkout's first. Paths are as Git prints them, so a path with a
// line break is cut off.
std::vector<Worktree> parseWorktrees(std::string_view text);

// The non-empty lines, as they stand.
std::vector<std::string> outputLines(std::string_view text);

// A line that holds nothing but a decimal number.
std::optional<std::int64_t> parseCount(std::string_view text);

// One setting of git config --list -z --show-scope.
struct GitSetting {
    std::string scope;                 // "system", "global", "local", "worktree", "command"
    std::string key;                   // "filter.NAME.clean"
    std::optional<std::string> value;  // absent for a key without "="

    bool operator==(const GitSetting&) const = default;
};

// In Git's order, where a later setting of a key outranks an earlier one. Absent when the text breaks off.
std::optional<std::vector<GitSetting>> parseSettings(std::string_view text);

}  // namespace brindle
