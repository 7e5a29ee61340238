// What could not be measured, why, and what to do about it.
#pragma once

#include <string>
#include <vector>

#include "cli/palette.h"
#include "core/model/unreachable_location.h"

namespace brindle {

// Grouped by reason and remedy, long lists cut with a note of how many more. Empty when there is nothing to
// say. Paths in `home` are written with "~".
std::string unreachableText(const std::vector<UnreachableLocation>& locations, const std::string& home,
                            const Look& look);

// The path with the home folder written "~", safe for a terminal.
std::string shownPath(const std::string& path, const std::string& home);

}  // namespace brindle
