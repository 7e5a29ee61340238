// What Git prints, whatever it prints.
#include "core/projects/git_output.h"
#include "core/projects/git_safety.h"
#include "tests/fuzz/target.h"

void check(std::string_view text) {
    using namespace brindle;
    const GitStatusText status = parseStatus(text);
    require(status.ahead >= 0 && status.modified >= 0 && status.untracked >= 0);
    for (const Worktree& worktree : parseWorktrees(text))
        require(worktree.path.find('\n') == std::string::npos);
    require(remoteURLs(text).size() <= outputLines(text).size());
    (void)remoteNames(text);
    if (const auto settings = parseSettings(text)) {
        // No filter of the repository's own may be left as it was, unless the user has the same.
        const GitFilters filters = filtersAmong(*settings);
        for (const auto& [key, value] : filters.overrides) require(key.starts_with("filter."));
    }
}
