// All that is known of one item, as a page.
#pragma once

#include <optional>
#include <string>

#include "cli/item_view.h"
#include "core/model/safety_verdict.h"

namespace brindle {

// Ends with a line feed. Paths in `home` are written with "~". `verdict`: whether the safety guard would let it go now;
// absent when it was not asked.
std::string itemPage(const CleanupItem& item, const std::string& home, const Look& look,
                     const std::optional<SafetyVerdict>& verdict = std::nullopt);

}  // namespace brindle
