// What Git prints, whatever it prints.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "core/projects/git_output.h"
#include "core/projects/git_safety.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace brindle;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const GitStatusText status = parseStatus(text);
    if (status.ahead < 0 || status.modified < 0 || status.untracked < 0) std::abort();
    for (const Worktree& worktree : parseWorktrees(text)) {
        if (worktree.path.find('\n') != std::string::npos) std::abort();
    }
    if (remoteURLs(text).size() > outputLines(text).size()) std::abort();
    (void)remoteNames(text);
    if (const auto settings = parseSettings(text)) {
        // No filter of the repository's own may be left as it was, unless the user has the same.
        const GitFilters filters = filtersAmong(*settings);
        for (const auto& [key, value] : filters.overrides) {
            if (!key.starts_with("filter.")) std::abort();
        }
    }
    return 0;
}
