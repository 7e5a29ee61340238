// All that is known of one item, as a page.
#pragma once

#include <string>

#include "cli/item_view.h"

namespace brindle {

// Ends with a line feed. Paths in `home` are written with "~".
std::string itemPage(const CleanupItem& item, const std::string& home, const Look& look);

}  // namespace brindle
