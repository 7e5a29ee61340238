// When something last happened in a project, as far as times on disk tell.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "core/text/calendar.h"

namespace brindle {

// The latest of: the system's own record of when the folder was last used (macOS keeps one), the modification times of
// the folder itself, of its manifests and README.md, and of Git's index, HEAD and FETCH_HEAD, also where a linked
// worktree keeps them elsewhere. `entries` are the names in the folder. Absent when none can be read. It is no proof
// that the project is closed.
std::optional<TimePoint> lastActivity(const std::string& folder, const std::vector<std::string>& entries);

// The same for a folder that has not been listed.
std::optional<TimePoint> lastActivity(const std::string& folder);

}  // namespace brindle
